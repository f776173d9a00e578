#include "objects.h"
#include "tagged.h"

namespace {

using detail::AtomId;
using detail::WriteAtom;
using fuzz::Ascii;
using fuzz::Binary;
using fuzz::TaggedForm;

constexpr tgio_cObjectType a_thing("a thing", 0x1234);
constexpr AtomId byte_atom{1, "ab"}, int_atom{2, "ac"}, double_atom{3, "ad"}, text_atom{4, "ae"},
    array_atom{5, "af"}, image_atom{6, "ag"}, inner_atom{7, "ah"};

/// An object that functions write and read.
template <class Kind>
struct Thing : tgio_cTaggedStreamObject {
  using Out = typename Kind::Out;
  using In = typename Kind::In;
  const tgio_cObjectType& ObjectType() const override { return a_thing; }
  type_cBoolean Write(Out& out) const override { return write(out); }
  type_cBoolean Read(In& in) override { return read(in); }
  using tgio_cTaggedStreamObject::Read;
  using tgio_cTaggedStreamObject::Write;

  std::function<bool(Out&)> write;
  std::function<bool(In&)> read;
};

template <class Kind>
class TaggedStreams : public testing::Test {};
using Kinds = testing::Types<Binary, Ascii>;
TYPED_TEST_SUITE(TaggedStreams, Kinds);

TYPED_TEST(TaggedStreams, RefuseWhatIsOfAnotherTypeOrKindAndGoOn) {
  const float few[] = {1.5f, -0.0f};
  const arr_c1DNumberArray<float> floats(2, few);
  const HandWritten written(a_thing, {{byte_atom, static_cast<unsigned char>(200)},
                                      {text_atom, str_cString("text")},
                                      {array_atom, &floats},
                                      {int_atom, 7}});
  std::stringstream stream;
  typename TypeParam::Out out(stream);
  ASSERT_TRUE(out.Write(written) && out.Write(written));
  typename TypeParam::In in(stream);
  EXPECT_FALSE(in.eof());
  pos_c1DPosition other;
  EXPECT_FALSE(in.Read(other));
  Thing<TypeParam> thing;
  thing.read = [&](typename TypeParam::In& atoms) {
    unsigned char byte = 3;
    int integer = 3;
    double real = 3;
    arr_c1DNumberArray<int> integers(5);
    arr_c1DNumberArray<float> array;
    EXPECT_FALSE(atoms.Read(integer) || atoms.Read(real) || atoms.Read(integers) || atoms.Read(other));
    EXPECT_TRUE(atoms.Read(byte));
    EXPECT_EQ(integer, 3);
    EXPECT_EQ(byte, 200);
    EXPECT_TRUE(atoms.SkipObject());
    EXPECT_FALSE(atoms.Read(integers));
    EXPECT_EQ(integers.NumIndices(), 5);
    EXPECT_TRUE(atoms.Read(array));
    EXPECT_TRUE(detail::bAtAtom(atoms, int_atom));
    return true;  // the rest is skipped
  };
  EXPECT_TRUE(in.Read(thing));
  thing.read = [](typename TypeParam::In&) -> bool { throw 1; };
  EXPECT_THROW(in.Read(thing), int);
  EXPECT_FALSE(in.eof());
  EXPECT_TRUE(in.SkipObject());
  EXPECT_TRUE(in.eof());
  EXPECT_FALSE(in.SkipObject());
}

TYPED_TEST(TaggedStreams, PassOverNoAtomThatCouldNotBeRead) {
  std::stringstream stream;
  typename TypeParam::Out(stream).Write(HandWritten(a_thing, {{int_atom, 7}, {byte_atom, 5}}));
  typename TypeParam::In in(stream);
  Thing<TypeParam> thing;
  double real = 0;
  thing.read = [&](auto& atoms) {
    while (atoms.bHasAtom())
      if (!atoms.Read(real)) atoms.SkipObject();
    return true;
  };
  EXPECT_FALSE(in.Read(thing)) << "ignores that an atom could not be skipped";
  thing.read = [&](auto& atoms) { return atoms.SkipObject() && !atoms.Read(real); };
  EXPECT_FALSE(in.Read(thing)) << "leaves the atom unread";
  thing.read = [&](auto& atoms) {
    int integer = 0;
    return !atoms.Read(real) && atoms.Read(integer) && atoms.SkipObject() && !atoms.Read(real);
  };
  EXPECT_TRUE(in.Read(thing)) << "reads it as another type, and reads past the last atom";
}

TYPED_TEST(TaggedStreams, WriteNothingOfAnObjectThatFails) {
  std::ostringstream stream;
  typename TypeParam::Out out(stream);
  const HandWritten plain(a_thing, {{int_atom, 2}});
  if constexpr (std::is_same_v<TypeParam, Binary>) {
    EXPECT_FALSE(out.WriteBytes("", 1) || out.WriteBytes(nullptr, "", 1)) << "no array is open";
  }
  EXPECT_FALSE(WriteAtom(out, 1, int_atom) || WriteAtom(out, plain, inner_atom)) << "no object is open";
  Thing<TypeParam> failing, outer;
  failing.write = [](auto& atoms) { return WriteAtom(atoms, 1, int_atom) && false; };
  EXPECT_FALSE(out.Write(failing));
  EXPECT_EQ(stream.str(), "");

  outer.write = [&](auto& atoms) {
    return !atoms.Write(plain) && !WriteAtom(atoms, failing, inner_atom) && WriteAtom(atoms, 2, int_atom);
  };
  EXPECT_EQ(TaggedForm<TypeParam>(outer), TaggedForm<TypeParam>(plain));
  stream.setstate(std::ios::badbit);
  EXPECT_FALSE(out.Write(plain));
  EXPECT_THROW(stream.exceptions(std::ios::badbit), std::ios::failure);
  EXPECT_THROW(out.Write(plain), std::ios::failure);
  stream.clear();
  EXPECT_TRUE(out.Write(plain));
  EXPECT_EQ(stream.str(), TaggedForm<TypeParam>(plain));
}

TYPED_TEST(TaggedStreams, HoldLargeArraysAmongOtherAtoms) {
  constexpr int count = 20'000;  // more than is copied into the draft of a binary object
  const auto filled = [](double value) {
    return darr_c1DArray(count, pnum_cNumber(value), cal_c1DArrayCal::Default);
  };
  arr_c1DNumberArray<double> frame(count);
  double* const elements = frame.WriteAccess();
  Thing<TypeParam> failing, outer;
  failing.write = [&](auto& out) { return WriteAtom(out, filled(7), inner_atom) && false; };
  outer.write = [&](auto& out) {
    darr_c1DArray changed = filled(1);  // ends, or changes, before the object is complete
    bool written = WriteAtom(out, 1, int_atom) && WriteAtom(out, changed, inner_atom);
    changed = pnum_cNumber(2.0);
    written = written && !WriteAtom(out, failing, inner_atom) && WriteAtom(out, 2, int_atom);
    written = written && WriteAtom(out, changed, inner_atom) && WriteAtom(out, frame, array_atom);
    std::fill_n(elements, count, 3.0);
    return written && WriteAtom(out, frame, array_atom) && WriteAtom(out, 3, int_atom);
  };
  int i = 0, j = 0, k = 0;
  darr_c1DArray a, b;
  arr_c1DNumberArray<double> c, d;
  outer.read = [&](auto& in) {
    return in.Read(i) && in.Read(a) && in.Read(j) && in.Read(b) && in.Read(c) && in.Read(d) && in.Read(k);
  };
  std::stringstream stream;
  ASSERT_TRUE(typename TypeParam::Out(stream).Write(outer) && typename TypeParam::In(stream).Read(outer));
  EXPECT_EQ(std::vector({i, j, k}), std::vector({1, 2, 3}));
  const std::pair<parr_c1DNumberArray, double> arrays[] = {{a, 1}, {b, 2}, {c, 0}, {d, 3}};
  for (const auto& [array, value] : arrays) {
    ASSERT_EQ(array.NumIndices(), count);
    const auto* const read = static_cast<const double*>(array.Data());
    EXPECT_EQ(std::count(read, read + count, value), count);
  }
}

TYPED_TEST(TaggedStreams, NestToALimit) {
  int depth = 1;
  int limit = tgio_MaxNesting;
  Thing<TypeParam> thing;
  thing.write = [&](auto& out) { return depth == limit || (++depth, WriteAtom(out, thing, inner_atom)); };
  thing.read = [&](auto& in) { return ++depth, !in.bHasAtom() || in.Read(thing); };
  const std::string form = TaggedForm<TypeParam>(thing);
  const auto bRead = [&](const std::string& bytes) {
    std::istringstream stream(bytes);
    return bool{typename TypeParam::In(stream).Read(thing)};
  };
  depth = 0;
  EXPECT_TRUE(bRead(form));
  EXPECT_EQ(depth, limit);
  const std::size_t length = form.size() + 2;
  const std::string header = "\0\0\5"s + static_cast<char>(length % 256) + static_cast<char>(length / 256);
  const bool binary = std::is_same_v<TypeParam, Binary>;
  EXPECT_FALSE(
      bRead(binary ? header + "\0\0\0\0\0\0\x34\x12"s + form : "object \"a thing\" {\nah " + form + "}\n"));

  depth = 1;
  ++limit;
  std::ostringstream deeper;
  EXPECT_FALSE(typename TypeParam::Out(deeper).Write(thing));
}

/// Writes given bytes as the contents of an array.
struct Contents : tgio_cStreamObject {
  explicit Contents(std::string its_bytes) : bytes(std::move(its_bytes)) {}
  using tgio_cStreamObject::WriteStream;
  type_cBoolean ReadStream(tgio_cBinary_istream&) override { return false; }
  type_cBoolean WriteStream(tgio_cBinary_ostream& out) const override {
    return out.WriteBytes(bytes.data(), bytes.size());
  }
  std::string bytes;
};

TYPED_TEST(TaggedStreams, TakeContentsOfAnArraysTypeAndSizeOnly) {
  arr_c1DNumberArray<type_cBoolean> line;
  arr_c2DNumberArray<type_cBoolean> plane;
  const auto read = [](auto& array, const std::string& bytes) {
    const Contents contents(bytes);
    Thing<TypeParam> thing;
    thing.read = [&](auto& in) { return bool{in.Read(array)}; };
    std::istringstream stream(TaggedForm<TypeParam>(HandWritten(a_thing, {{array_atom, &contents}})));
    return bool{typename TypeParam::In(stream).Read(thing)};
  };
  EXPECT_TRUE(read(plane, "\x81\1\0\0\0\2\0\0\0\2\0"s));
  EXPECT_EQ(*reinterpret_cast<const unsigned char*>(plane.Data()), 1) << "true for any byte but 0";
  for (const std::string& bad : {"\x81\1\0\0\0\2\0\0\0\1"s, "\x81\1\0\0\0\2\0\0\0\1\1\1"s, "\x81\1\0"s,
                                 "\x01\1\0\0\0\1\0\0\0\1"s, "\x81\xff\xff\xff\xff\xff\xff\xff\xff\1"s})
    EXPECT_FALSE(read(plane, bad));
  for (const std::string& bad : {"\x81\1\0\0\0"s, "\x81\1\0\0\0\1\1"s, "\x01\1\0\0\0\1"s})
    EXPECT_FALSE(read(line, bad));
}

/// Reads one object and returns its byte, integer and text.
template <class Kind>
std::string ReadAll(const std::string& bytes) {
  unsigned char byte = 0;
  int integer = 0;
  str_cString text;
  Thing<Kind> thing;
  thing.read = [&](auto& in) {
    while (in.bHasAtom()) {
      const bool taken = (detail::bAtAtom(in, byte_atom) && in.Read(byte)) ||
                         (detail::bAtAtom(in, int_atom) && in.Read(integer)) ||
                         (detail::bAtAtom(in, text_atom) && in.Read(text));
      if (!taken && !in.SkipObject()) return false;
    }
    return true;
  };
  std::istringstream stream(bytes);
  typename Kind::In in(stream);
  if (!in.Read(thing)) return in.SkipObject() ? "damaged" : "cut off";
  return std::to_string(byte) + " " + std::to_string(integer) + text.CString();
}

TEST(BinaryTaggedStreams, HaveTheseBytes) {
  const std::string five = "\2\0\2\4\0\0\0\0\0\0\0\5\0\0\0"s;  // tag 2, an integer
  const auto object = [](const std::string& atoms) {
    return "\0\0\5"s + static_cast<char>(atoms.size() + 2) + "\0\0\0\0\0\0\0\x34\x12"s + atoms;
  };
  EXPECT_EQ(TaggedForm<Binary>(HandWritten(a_thing, {{int_atom, 5}})), object(five));
  const arr_c1DNumberArray<short> array(1, nullptr, -2, true);
  EXPECT_EQ(TaggedForm<Binary>(HandWritten(a_thing, {{array_atom, &array}})),
            object("\5\0\6\7\0\0\0\0\0\0\0\x22\1\0\0\0\xfe\xff"s));

  EXPECT_EQ(ReadAll<Binary>(object("\xee\0\xee\2\0\0\0\0\0\0\0xy"s + five)), "0 5");   // unknown kind
  EXPECT_EQ(ReadAll<Binary>(object(five + "\2\0\2\3\0\0\0\0\0\0\0xyz"s)), "damaged");  // wrong size
  EXPECT_EQ(ReadAll<Binary>(object("\1\0\1\2\0\0\0\0\0\0\x80x"s + five)), "damaged");  // invalid length
  EXPECT_EQ(ReadAll<Binary>(object("\7\0\5\1\0\0\0\0\0\0\0x"s + five)), "damaged");    // no type
  EXPECT_EQ(ReadAll<Binary>("\0\0\5\xff\xff\xff\xff\xff\xff\xff\x7f"s + five), "cut off");
}

TEST(ASCIITaggedStreams, HaveThisText) {
  const float few[] = {1.5f, -0.0f, std::numeric_limits<float>::infinity()};
  const arr_c1DNumberArray<float> floats(3, few), no_floats;
  const arr_c2DNumberArray<comp_cComplex<double>> pixel(1, 1);
  const HandWritten inner(a_thing, {{double_atom, std::nan("")}, {array_atom, &no_floats}});
  const HandWritten thing(a_thing, {{byte_atom, static_cast<unsigned char>(200)},
                                    {int_atom, -70000},
                                    {double_atom, 0.1},
                                    {text_atom, str_cString("a \"b\"\\\n\0\xff{", 10)},
                                    {array_atom, &floats},
                                    {image_atom, &pixel},
                                    {inner_atom, &inner}});
  EXPECT_EQ(TaggedForm<Ascii>(thing), R"(object "a thing" {
  ab byte 200
  ac int -70000
  ad double 0.1
  ae string "a \"b\"\\\n\x00)"
                                      "\xff"
                                      R"({"
  af data { 3 1.5 -0 inf }
  ag data { 70010000000100000000000000000000000000000000000000 }
  ah object "a thing" {
    ad double nan
    af data { 0 }
  }
}
)");
}

TEST(ASCIITaggedStreams, AreReadHoweverTheyAreLaidOut) {
  const auto object = [](const std::string& atoms) { return "object \"a thing\" {" + atoms + "}"; };
  const struct {
    std::string atoms;
    const char* read;
  } cases[] = {
      {"ab byte 7\nac int 5", "7 5"},
      {"\r\n\t \"ab\"   byte\t7\r\n\r\nac int 5\r\n", "7 5"},
      {"zz unknown { {\n } \"}\" x\n} y \nac int 5", "0 5"},
      {"zz\nac int 5", "0 5"},
      {"ab\nac int 5", "damaged"},
      {"ab int 7\nac int 5", "damaged"},
      {"ab byte 256", "damaged"},
      {"ab byte 7x", "damaged"},
      {"ac int 5 5", "damaged"},
      {"ac int 2147483648", "damaged"},
      {"ah object other {\nab byte 7\n} \t\nac int 5", "0 5"},
      {"{ }\nac int 5", "damaged"},
      {"\"\" int 5\nac int 5", "damaged"},
      {"ah object {\n}\nac int 5", "damaged"},
      {"ah object \"a thing\" {\n} x\nac int 5", "damaged"},
      {"ah object \"a thing\" { } {\n}", "damaged"},
      {"ab string \"\nac int 5", "cut off"},
      {"ae string word", "damaged"},
      {"ae string \"\\x5g\"", "damaged"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(ReadAll<Ascii>(object(each.atoms)), each.read) << each.atoms;
  }
  EXPECT_EQ(ReadAll<Ascii>("what is this\n" + object("")), "damaged");
  EXPECT_EQ(ReadAll<Ascii>("}" + object("")), "damaged");
}

TEST(NumberArrays, RefuseContentsThatDoNotFit) {
  const auto read = [](const char* data) {
    std::istringstream stream("object \"a thing\" {\nx data {"s + data + "}\n}");
    tgio_cASCII_istream in(stream);
    arr_c1DNumberArray<short> array(1, nullptr, 9, true);
    Thing<Ascii> thing;
    thing.read = [&](tgio_cASCII_istream& atoms) { return bool{atoms.Read(array)}; };
    const bool success = in.Read(thing);
    EXPECT_EQ(success, array.NumIndices() != 1);
    EXPECT_EQ(array.FillValue(), 9);
    return array;
  };
  EXPECT_EQ(read("2 -32768\n32767")[1], 32767);
  EXPECT_EQ(read("0").NumIndices(), 0);
  for (const char* bad :
       {"", "-1", "1", "1 32768", "1 1.5", "1 1 1", "2147483647 1", "1 \"1\"", "1 1 \"\"", "1 1 } { 1"}) {
    EXPECT_EQ(read(bad)[0], 9) << bad;
  }
}

}  // namespace
