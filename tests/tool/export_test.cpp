#include <cmath>
#include <cstring>

#include "io/npy.h"
#include "tool.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace {

class Exports : public Tool {
 protected:
  /// Splits a .npy file into its header and its records.
  std::pair<std::string, std::string> ReadNpy(const std::string& name) {
    const std::string bytes = Read(name);
    const bool third = bytes.substr(6, 2) == std::string("\3\0", 2);
    EXPECT_TRUE(bytes.starts_with("\x93NUMPY") && (third || bytes.substr(6, 2) == std::string("\1\0", 2)));
    const auto byte = [&](std::size_t i) {
      return static_cast<std::size_t>(static_cast<unsigned char>(bytes[i]));
    };
    const std::size_t start = third ? 12 : 10, length = byte(8) + 256 * byte(9);
    EXPECT_EQ((start + length) % 64, 0u);
    EXPECT_EQ(bytes[start + length - 1], '\n');
    return {bytes.substr(start, length), bytes.substr(start + length)};
  }
  template <class... T>
  static std::string Bytes(T... values) {
    std::string bytes;
    (bytes.append(reinterpret_cast<const char*>(&values), sizeof values), ...);
    return bytes;
  }
};

TEST_F(Exports, Curves) {
  Write("a.txt", "10 1.5\n10.1 nan\n10.2 -3\n");
  Write("b.txt", "10 0.1\n10.1 2\n");
  // Difficult names, reverse order, and a position that is not exact in text.
  Succeed("create a.dseries --dim \"value,°,2,0.1,0.2,reverse\" --dim \"it's \\\"Länge\\\",m,2,5,1\"");
  Succeed("append a.dseries a.txt --type float32 --at 0.1,2 --time 7");
  EXPECT_EQ(Succeed("export a.dseries 0 -o -"), "position,value\n10,1.5\n10.1,nan\n10.2,-3\n");
  Succeed("append a.dseries b.txt --at 0.1,2 --time 8");
  Succeed("export a.dseries -o a.csv");
  EXPECT_EQ(Read("a.csv"),
            "datum,value,\"it's \"\"Länge\"\"\",time,tag_x,tag_y,position,value_2\n"
            "0,0.3,5,1970-01-01T00:00:07Z,0.1,2,10,1.5\n"
            "0,0.3,5,1970-01-01T00:00:07Z,0.1,2,10.1,nan\n"
            "0,0.3,5,1970-01-01T00:00:07Z,0.1,2,10.2,-3\n"
            "1,0.1,5,1970-01-01T00:00:08Z,0.1,2,10,0.1\n"
            "1,0.1,5,1970-01-01T00:00:08Z,0.1,2,10.1,2\n");

  Succeed("export a.dseries --at 0.1,2 -o a.npy");
  const auto [header, record] = ReadNpy("a.npy");
  EXPECT_THAT(header,
              StartsWith("{'descr': [('datum', '<i4'), ('value', '<f8'), ('it\\'s \"Länge\"', '<f8'), "
                         "('time', '<M8[s]'), ('tag_x', '<f8'), ('tag_y', '<f8'), "
                         "('position', '<f8', (3,)), ('value_2', '<f4', (3,)), ], "
                         "'fortran_order': False, 'shape': ()}"));
  EXPECT_EQ(record.substr(0, 44), Bytes(0, 0.1 + 0.2, 5.0, std::int64_t{7}, 0.1, 2.0));
  EXPECT_EQ(record.substr(44),
            Bytes(10.0, 10.1, 10.0 + 2 * (10.1 - 10.0)) + Bytes(1.5F, std::nanf(""), -3.0F));
  const Result result = Run("export a.dseries -o b.npy");
  EXPECT_THAT(result.err, HasSubstr("need 3 of type float32"));
  EXPECT_FALSE(bExists("b.npy"));
  EXPECT_THAT(Run("export a.dseries -o a.txt").err, HasSubstr(".csv and .npy"));
}

TEST_F(Exports, Planes) {
  Write("a.pgm", std::string("P5\n3 2\n255\n\1\2\3\4\5\6"));
  Succeed("create a.dseries --images --dim x,m,2,0,1");
  Succeed("append a.dseries a.pgm a.pgm --offset 10,-1 --delta 2,0.5 --time 7");
  EXPECT_EQ(Succeed("export a.dseries 1 -o -"),
            "position_x,position_y,value\n10,-1,4\n12,-1,5\n14,-1,6\n10,-0.5,1\n12,-0.5,2\n14,-0.5,3\n");
  Succeed("export a.dseries -o a.npy");
  const auto [header, records] = ReadNpy("a.npy");
  EXPECT_THAT(header, HasSubstr("('x', '<f8'), ('time', '<M8[s]'), ('position_x', '<f8', (3,)), "
                                "('position_y', '<f8', (2,)), ('value', '|u1', (2,3,)), ], "
                                "'fortran_order': False, 'shape': (2,)}"));
  const std::string elements = Bytes(10.0, 12.0, 14.0, -1.0, -0.5) + "\4\5\6\1\2\3";
  EXPECT_EQ(records, Bytes(0, 0.0, std::int64_t{7}) + elements + Bytes(1, 1.0, std::int64_t{7}) + elements);
}

TEST(Npy, KnowsEveryElementType) {
  const std::string kinds = "uuuiiiffcc";
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    const dtyp_cDataType type(static_cast<dtyp_eDataType>(i + 1));
    EXPECT_EQ(dseries::NpyType(type),
              (type.SizeOf() == 1 ? "|" : "<") + kinds.substr(i, 1) + std::to_string(type.SizeOf()));
  }
}

}  // namespace
