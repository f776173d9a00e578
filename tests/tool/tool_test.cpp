#include "tool.h"

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>

#include "cli/table.h"
#include "file/text.h"

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

struct Refusal {
  const char* arguments;
  int status;
  const char* complaint;
};

class Refusals : public Tool {
 protected:
  void Expect(std::initializer_list<Refusal> refusals) {
    for (const auto& [arguments, status, complaint] : refusals) {
      const Result result = Run(arguments);
      EXPECT_EQ(result.status, status) << arguments;
      EXPECT_EQ(result.out, "") << arguments;
      EXPECT_THAT(result.err, StartsWith("dseries: ")) << arguments;
      EXPECT_THAT(result.err, HasSubstr(complaint)) << arguments;
      EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
    }
  }
};

TEST_F(Refusals, OfCommandLines) {
  Expect({{"weigh a.dseries", 2, "there is no command 'weigh' (see dseries --help)"},
          {"creaet a.dseries", 2, "did you mean 'create'?"},
          {"ver a.dseries", 2, "did you mean 'verify'?"},
          {"help appendix", 2, "did you mean 'append'?"},
          {"--vesion", 2, "did you mean '--version'?"},
          {"create a.dseries --dmi n,,1,0,1", 2, "there is no option --dmi; did you mean '--dim'?"},
          {"get a.dseries 0 --precison=3 x", 2,
           "--precison; did you mean '--precision'? (see dseries get --help)"},
          {"list a.dseries -json", 2, "did you mean '--json'?"},
          {"get a.dseries 99999999999999999999", 2,
           "DATUM: '99999999999999999999' is not a linear index, such as 7 or -1"},
          {"get a.dseries -i 0,-1", 2, "'-1' is not a whole number from 0"},
          {"get a.dseries 0 -o ''", 2, "empty"},
          {"create a.dseries", 2, "--dim is required (see dseries create --help)"},
          {"append a.dseries", 2, "INPUT"},
          {"append a.dseries x --type float16", 2, "float16"},
          {"append a.dseries x --raw 0", 2, "'0' is not a whole number from 1"},
          {"append a.dseries x --interleaved", 2, "--raw"},
          {"append a.dseries x --at 1,2 --tag-position", 2, "--at"},
          {"get a.dseries", 2, "one of DATUM, --index, --position, --at and --time"},
          {"get a.dseries 1 --index 1", 2, "only one of DATUM, --index, --position"},
          {"find a.dseries", 2, "--at or --time"}});
}

TEST_F(Refusals, OfSeriesThatCannotBeMade) {
  Write("taken.dseries", "precious");
  Expect({{"create a.dseries --dim x,m,3,0", 1, "write it as name,units,size"},
          {"create a.dseries --dim x,m,3,0,1,backwards", 1, "write it as name,units,size"},
          {"create a.dseries --dim x,m,3.5,0,1", 1, "'3.5' is not a valid size"},
          {"create a.dseries --dim x,m,0,0,1", 1, "not 1 or more"},
          {"create a.dseries --dim x,m,3,inf,1", 1, "not finite"},
          {"create a.dseries --dim x,m,3,0,0", 1, "not above 0"},
          {"create a.dseries --dim x,m,3,0,nan", 1, "not above 0"},
          {"create a.dseries --dim x,m,300000000,0,1", 1, "would pass 2 GiB"},
          {"create a.dseries --dim x,m,65536,0,1 --dim y,m,65536,0,1", 1, "would pass 2 GiB"},
          {"create . --dim x,m,3,0,1", 1, "is a folder"},
          {"create nowhere/a.dseries --dim x,m,3,0,1", 1, "nowhere/a.dseries cannot be made: No such"},
          {"create taken.dseries --dim x,m,3,0,1", 1, "exists already"},
          {"create taken.dseries --force --dim x,m,0,0,1", 1, "not 1 or more"}});
  EXPECT_FALSE(bExists("a.dseries"));
  EXPECT_EQ(Read("taken.dseries"), "precious");

  // A failed create removes its new file, and keeps the one to be replaced.
  for (const char* arguments :
       {"create a.dseries --dim x,m,3000,0,1", "create taken.dseries --force --dim x,m,3000,0,1"}) {
    const Result result = Run(arguments, "ulimit -f 4;");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("Can't write to series file " + std::string(arguments).substr(7, 7)));
  }
  EXPECT_EQ(Files(), "err.txt out.txt taken.dseries ");
  EXPECT_EQ(Read("taken.dseries"), "precious");

  Succeed("create taken.dseries --force --dim x,m,3,0,1");
  EXPECT_THAT(Read("taken.dseries"), StartsWith("II"));
}

TEST_F(Refusals, OfFilesThatAreNoSeries) {
  Write("short.dseries", "II");
  Write("text.dseries", std::string(40, 'x'));
  Write("newer.dseries", std::string("IIDS\x20\x02", 6) + std::string(40, '\0'));
  Write("nothing.dseries", "");
  for (const std::string command : {"info ", "list ", "verify ", "get -i 0 ", "find --at 1,2 ", "append "}) {
    const std::string input = command == "append " ? " short.dseries" : "";
    const std::string missing = command + "none.dseries" + input, folder = command + "." + input,
                      cut = command + "short.dseries" + input, text = command + "text.dseries" + input,
                      newer = command + "newer.dseries" + input,
                      nothing = command + "nothing.dseries" + input;
    Expect({{missing.c_str(), 1, "there is no file none.dseries"},
            {folder.c_str(), 1, ". is a folder"},
            {cut.c_str(), 1, "not a series file: it ends after 2 bytes"},
            {text.c_str(), 1, "not a series file: it does not begin like one"},
            {newer.c_str(), 1, "version 0220"},
            {nothing.c_str(), 1, "nothing.dseries is empty; 'dseries create' makes series files"}});
    EXPECT_FALSE(bExists("none.dseries"));
  }
}

TEST_F(Refusals, OfDataThatCannotBeStored) {
  Write("words.txt", "1 5\n2 6\n3 7 note\n");
  Write("glued.txt", "1\n2\n\n3-4\n");
  Write("huge.txt", "1\n1e999\n");
  Write("odd.txt", "1 5\n2 6\n3\n");
  Write("good.txt", "1 5\n2 6\n");
  Write("raw.f32", std::string(20, '\0'));
  Succeed("create a.dseries --dim n,,2,0,1");
  const std::string empty = Read("a.dseries");
  Expect({{"append a.dseries good.txt words.txt", 1, "words.txt: line 3: 'note' is not a number"},
          {"append a.dseries glued.txt", 1, "glued.txt: line 4: '3-4' is not a number"},
          {"append a.dseries huge.txt", 1, "huge.txt: line 2: '1e999' is not a number"},
          {"append a.dseries odd.txt", 1, "odd.txt: line 3 has 1 field, and those before it have 2"},
          {"append a.dseries none.txt", 1, "there is no file none.txt"},
          {"append a.dseries -", 1, "- holds no numbers"},
          {"append a.dseries good.txt --offset 3", 1, "positions of its own"},
          {"append a.dseries good.txt --type sbin8", 1, "type sbin8 cannot be read back"},
          {"append a.dseries good.txt --type complex128", 1, "complex128 cannot be read back"},
          {"append a.dseries raw.f32 --raw 2", 1,
           "20 bytes are not a whole number of data with 2 elements of 4"},
          {"append a.dseries raw.f32 --raw 5 --delta 0", 1, "delta"},
          {"append a.dseries good.txt --time 2038-01-19T03:14:08Z", 2, "to 2038-01-19T03:14:07Z"},
          {"append a.dseries good.txt --time 99999999999999999999", 2, "does not fit"},
          {"append a.dseries good.txt --time 2024-02-30", 2, "is not a time"},
          {"append a.dseries good.txt --at nan,1", 1, "finite"},
          {"append a.dseries good.txt --tag-position", 1, "two dimensions"},
          {"append a.dseries good.txt good.txt good.txt", 1, "room for 2 more data, and 3 were given"}});
  EXPECT_EQ(Read("a.dseries"), empty);

  Succeed("append a.dseries good.txt");
  Expect({{"append a.dseries good.txt --at 1,2", 1, "tagged with time; leave out --at"}});
  Succeed("append a.dseries good.txt");
  Expect({{"append a.dseries good.txt", 1, "is full"}});
  EXPECT_EQ(Succeed("get a.dseries 1 -o -"), "1\t5\n2\t6\n");
  EXPECT_EQ(Run("get a.dseries 1 -o a.dseries").status, 1);
  EXPECT_EQ(Run("get a.dseries 1 -o - >/dev/full").status, 1);
  Succeed("verify a.dseries");
}

TEST_F(Tool, ReadsBackWhatWasStored) {
  Write("falling.txt", "4 7\n2 +6\n0 5");
  Write("column.txt", "0.1\n0.30000000000000004 \t\n -1e-320\n");
  Write("words.raw", std::string("\1\0\2\0\3\0\4\0\5\0\6\0", 12));
  Succeed("create a.dseries --dim n,,8,0,1,reverse");
  Succeed("append a.dseries falling.txt --time 2024-02-29T12:00+01:00");
  Succeed("append a.dseries - --offset 3 --delta 0.5 --time -1 <column.txt");
  Write("slower.txt", "0 1\n1 2\n2 3\n");
  Succeed("append a.dseries slower.txt");
  Succeed("append a.dseries words.raw --raw 3 --type ubin16");
  Succeed("append a.dseries words.raw --raw 3 --type ubin16 --interleaved");
  const char* const expected[] = {
      "0\t5\n2\t6\n4\t7\n", "3\t0.10000000000000001\n3.5\t0.30000000000000004\n4\t-9.9998886718268301e-321\n",
      "0\t1\n1\t2\n2\t3\n", "0\t1\n1\t2\n2\t3\n",
      "0\t4\n1\t5\n2\t6\n", "0\t1\n1\t3\n2\t5\n",
      "0\t2\n1\t4\n2\t6\n"};
  for (int i = 0; i < 7; ++i) EXPECT_EQ(Succeed("get a.dseries -o - " + std::to_string(i)), expected[i]);
  // Data are taken from the highest index down.
  EXPECT_EQ(Succeed("get a.dseries -o - --index 7"), expected[0]);
  EXPECT_EQ(Succeed("get a.dseries -o - --position 6"), expected[1]);
  EXPECT_EQ(Succeed("get a.dseries 1 -o - --precision 3"), "3\t0.1\n3.5\t0.3\n4\t-1e-320\n");
  EXPECT_THAT(Succeed("get a.dseries 0"), HasSubstr("time    2024-02-29T11:00:00Z"));
  EXPECT_THAT(Succeed("find a.dseries --time 1969-12-31T23:59:59"), HasSubstr("\n    1 "));

  EXPECT_THAT(Run("get a.dseries 7").err, HasSubstr("slot 7 is empty: 7 of 8"));
  EXPECT_THAT(Run("get a.dseries 8").err, HasSubstr("no slot 8"));
  EXPECT_THAT(Run("get a.dseries -i 8").err, HasSubstr("outside n, which has 0 to 7"));
  EXPECT_THAT(Run("get a.dseries -p 9").err, HasSubstr("outside n, which goes from 0 to 7"));
  EXPECT_THAT(Run("get a.dseries -p nan").err, HasSubstr("outside n"));
  EXPECT_THAT(Run("get a.dseries -i 1,1").err, HasSubstr("1 dimension, and 2 numbers were given"));
}

TEST_F(Tool, FindsTheSeaAtAPlace) {
  Succeed("create sst.dseries --dim longitude,°E,180,21,2 --dim latitude,°N,90,-89,2");
  Succeed("append sst.dseries " EXAMPLE_DATA
          "/sea_surface_temperature.f32 --raw 12 --interleaved --tag-position "
          "--time 1990-01-01");
  std::istringstream place(Succeed("get sst.dseries --position 181,1 -o -"));
  std::ifstream raw(EXAMPLE_DATA "/sea_surface_temperature.f32", std::ios::binary);
  for (int month = 0; month < 12; ++month) {
    int position;
    float value, measured;
    ASSERT_TRUE(place >> position >> value);
    raw.seekg(4 * ((month * 90 + 45) * 180 + 80));
    raw.read(reinterpret_cast<char*>(&measured), sizeof measured);
    EXPECT_EQ(position, month);
    EXPECT_EQ(value, measured);
  }
  EXPECT_THAT(Succeed("find sst.dseries --at 181,1"),
              HasSubstr(" 8180  80,45        181         1  1990-01-01T00:"));
  EXPECT_THAT(Run("find sst.dseries --at 180.5,1").err,
              HasSubstr("nearest: dseries find sst.dseries --at 181,1\n"));
  EXPECT_THAT(
      Run("find sst.dseries --at 181,1 --time 5").err,
      HasSubstr(
          "181,1 at 1970-01-01T00:00:05Z; this finds the nearest: dseries find sst.dseries --at 181,1 --time "
          "1990-01-01T00:00:00Z"));
  EXPECT_THAT(Run("find sst.dseries --time 1990-01-01").err, HasSubstr("find them by --at"));
  EXPECT_THAT(Run("append sst.dseries x").err, HasSubstr("is full"));

  const auto info = nlohmann::json::parse(Succeed("info sst.dseries --json"));
  EXPECT_EQ(info["filled"], 16200);
  EXPECT_EQ(info["tags"], "time and 2D position");
  EXPECT_EQ(info["dimensions"][1]["units"], "°N");
  EXPECT_EQ(info["dimensions"][1]["offset"], -89);
  const auto list = nlohmann::json::parse(Succeed("list sst.dseries --json"));
  ASSERT_EQ(list.size(), 16200u);
  EXPECT_EQ(list[8180]["index"], nlohmann::json({80, 45}));
  EXPECT_EQ(list[8180]["tag_position"], nlohmann::json({181, 1}));
  EXPECT_EQ(list[8180]["bytes"], 26 + 12 * 4);
}

TEST_F(Tool, FindsWhatItLists) {
  Write("one.txt", "1\n");
  Succeed("create 'a b.dseries' --dim x,,3,-0.3,0.1 --dim y,,3,1700000000.123,0.0001");
  for (int i = 0; i < 8; ++i) {
    Succeed("append 'a b.dseries' one.txt --tag-position --time " + std::to_string(10 * i));
  }
  std::istringstream list(Succeed("list 'a b.dseries'"));
  std::string word, x, y, time, tag_x, tag_y;
  std::getline(list, word);
  for (std::string datum; list >> datum >> word >> x >> y >> time >> tag_x >> tag_y;) {
    const std::string get = "get 'a b.dseries' -p " + x + ',' + y,
                      find = "find 'a b.dseries' --at " + tag_x + ',' + tag_y;
    EXPECT_THAT(Succeed(get), StartsWith("datum " + datum + " of")) << get;
    EXPECT_THAT(Succeed(find), HasSubstr("\n    " + datum + "    ")) << find;
    EXPECT_EQ(Succeed(find + " --time " + time), Succeed(find)) << find;
  }
  EXPECT_EQ(word, "1,2");
  // For numbers that were rounded further, the command that finds them is shown.
  const std::string refused = Run("find 'a b.dseries' --at -0.19,1700000000 --time 31").err;
  const std::string offered = refused.substr(refused.find("dseries find") + 8);
  EXPECT_EQ(offered, "find 'a b.dseries' --at -0.2,1700000000.123 --time 1970-01-01T00:00:10Z\n");
  EXPECT_THAT(Succeed(offered.substr(0, offered.size() - 1)), HasSubstr("\n    1    1,0"));
  Succeed("create c.dseries --dim n,,2,0,1");
  EXPECT_THAT(Run("find c.dseries --time 7").err, HasSubstr("no datum of c.dseries has such a tag"));
  Succeed("append c.dseries one.txt --time 7");
  EXPECT_THAT(Run("find c.dseries --time 6").err,
              HasSubstr("dseries find c.dseries --time 1970-01-01T00:00:07Z\n"));
}

TEST_F(Tool, NeedsNoPermissionToWriteWhereItOnlyReads) {
  Write("one.txt", "1\n2\n");
  Succeed("create a.dseries --dim n,,1,0,1");
  Succeed("append a.dseries one.txt --at 1,2");
  std::filesystem::permissions(folder_ / "a.dseries", std::filesystem::perms(0444));
  std::filesystem::permissions(folder_, std::filesystem::perms(0777));
  const std::string nobody = geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups" : "";
  if (Run("--help", nobody).status != 0) GTEST_SKIP() << "cannot become a user without permissions";
  for (const char* command : {"info", "list", "get -i 0", "find --at 1,2", "verify"}) {
    std::filesystem::remove(folder_ / "out.txt");
    std::filesystem::remove(folder_ / "err.txt");
    EXPECT_EQ(Run(std::string(command) + " a.dseries", nobody).status, 0) << command << Read("err.txt");
  }
  EXPECT_THAT(Run("append a.dseries one.txt --at 1,2", nobody).err,
              HasSubstr("Can't open series file a.dseries: it can be read, but not written"));
  EXPECT_THAT(Run("get a.dseries 0 -o one.txt", nobody).err,
              HasSubstr("one.txt cannot be written: Permission denied"));
}

TEST_F(Tool, SaysHowMuchWasStoredWhenTheDiskIsFull) {
  std::string numbers;
  for (int i = 0; i < 100; ++i) numbers += "1\n";
  Write("many.txt", numbers);
  Succeed("create a.dseries --dim n,,9,0,1");
  const Result result = Run("append a.dseries many.txt many.txt many.txt", "ulimit -f 2;");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "dseries: Can't write to series file a.dseries. 1 of 3 data were stored\n");
  EXPECT_THAT(Succeed("verify a.dseries"), HasSubstr("1 of 9 slots filled"));
  Succeed("append a.dseries many.txt");
  EXPECT_THAT(Succeed("verify a.dseries"), HasSubstr("2 of 9 slots filled"));
}

TEST_F(Tool, ShowsTextsFromFilesWithoutTheirControlCharacters) {
  Succeed("create a.dseries --dim \"$(printf '\\033[2J'),$(printf '\\377'),1,0,1\"");
  EXPECT_THAT(Succeed("info a.dseries"), Not(HasSubstr("\033")));
  EXPECT_EQ(nlohmann::json::parse(Succeed("info a.dseries --json"))["dimensions"][0]["units"], "\uFFFD");
}

TEST(Format, Values) {
  using dseries::ParseTime;
  EXPECT_EQ(ParseTime("2024-02-29"), 1709164800);
  EXPECT_EQ(ParseTime("2024-02-29T00:00:01-02:30"), 1709164800 + 9001);
  EXPECT_EQ(ParseTime("2024-02-29 00:01Z"), 1709164860);
  EXPECT_EQ(ParseTime("-5"), -5);
  EXPECT_EQ(ParseTime("1901-12-13T20:45:52Z"), std::numeric_limits<std::int32_t>::min());
  for (const long time : {0L, -2147483648L, 2147483647L}) EXPECT_EQ(ParseTime(dseries::TimeText(time)), time);
  for (const char* text : {"", "now", "2024-13-01", "2024-2-9", "2024-02-29T24:00", "12:00", "5 "}) {
    EXPECT_ANY_THROW(ParseTime(text)) << text;
  }
  EXPECT_EQ(dseries::SizeText(1), "1 byte");
  EXPECT_EQ(dseries::SizeText(1536), "1.5 KiB");
  EXPECT_EQ(dseries::SizeText(std::int64_t{2} << 40), "2.0 TiB");
  using dseries::Table;
  Table table({Table::Left, Table::Right});
  table.Row({"°E", "1"});
  table.Row({"mm", "10"});
  EXPECT_EQ(table.Text(1), " °E   1\n mm  10\n");
  Table wide({Table::Name, Table::Right, Table::Left});  // the numbers are not shortened: too wide
  wide.Heading({"°°°°°°°°°", "heading", "1"});
  wide.Row({"name", std::string(75, '7'), "x"});
  EXPECT_EQ(wide.Text(),
            "°°°°°…  " + std::string(68, ' ') + "heading  1\nname    " + std::string(75, '7') + "  x\n");
  EXPECT_EQ(dseries::Printable(std::string_view("\xB0\t\xC3\xA9\0\xC3", 6)), "°?é?Ã");
}

TEST_F(Tool, TakesSeveralFilesInTheirNaturalOrder) {
  for (const char* number : {"10", "2", "1"}) {
    Write(std::string("run_") + number + ".txt", std::string(number) + '\n');
    Succeed(std::string("create run_") + number + ".dseries --dim n,,3,0,1");
  }
  Write("x[1].txt", "7\n");
  Succeed("append run_1.dseries 'run_*.txt'");
  EXPECT_EQ(Succeed("get run_1.dseries 1 -o -") + Succeed("get run_1.dseries 2 -o -"), "0\t2\n0\t10\n");
  Succeed("append run_2.dseries 'x[1].txt' - --time 7 <run_10.txt");
  EXPECT_THAT(Run("append run_2.dseries 'y*.txt'").err, HasSubstr("there is no file y*.txt"));
  EXPECT_EQ(Succeed("list 'run_[2]*.dseries'").substr(0, 5), "datum");
  const auto list = nlohmann::json::parse(Succeed("list --json 'run_*.dseries'"));
  EXPECT_EQ(list["run_2.dseries"][1]["time"], "1970-01-01T00:00:07Z");
  Write("run_3.dseries", "damaged");
  const Result result = Run("verify 'run_*.dseries'");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.out, HasSubstr("run_10.dseries: whole"));  // the last one is checked as well
  EXPECT_EQ(result.err, "dseries: 1 of 4 files are not whole\n");
}

/// Runs the examples of the help, on files with the names that it uses.
TEST_F(Tool, DoesWhatItsHelpShows) {
  const std::string data = EXAMPLE_DATA;
  for (const auto& [from, to] :
       {std::pair("diffraction_sic_zn.dat", "first.dat"), std::pair("diffraction_nacl.dat", "second.dat"),
        std::pair("sea_surface_temperature.f32", "sst.f32"),
        std::pair("phase_contrast_cell.pgm", "cell.pgm")}) {
    std::filesystem::copy_file(data + '/' + from, folder_ / to);
  }
  Succeed("create spectra.dseries --dim sample,,2,1,1");
  Succeed("create cells.dseries --images --dim cell,,1,0,1");
  for (const char* command : {"create", "append", "label", "info", "list", "get", "find", "plot", "export",
                              "map", "image", "convert", "verify", "repair", "help"}) {
    if (command == std::string("repair"))
      std::filesystem::copy_file(folder_ / "sst.dseries", folder_ / "broken.dseries");
    std::istringstream help(Succeed(std::string(command) + " --help"));
    int examples = 0;
    for (std::string line; std::getline(help, line);) {
      EXPECT_LE(dseries::Width(line), 80u) << line;
      if (!line.starts_with("  dseries ")) continue;
      for (std::string more; line.ends_with('\\') && std::getline(help, more);)
        line.replace(line.size() - 1, 1, more);
      Succeed(line.substr(10));
      ++examples;
    }
    EXPECT_GT(examples, 0) << command;
  }
}

}  // namespace
