#include <cmath>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <sstream>
#include <string>

#include <DataStorage/interfaces/arr.h>
#include <DataStorage/interfaces/comp.h>
#include <DataStorage/interfaces/tgio.h>

namespace {

using namespace std::string_literals;

// The two stream kinds under one roof: atom i has tag i, or the name "a" and the letter of i.
struct Binary {
  using Out = tgio_cBinary_ostream;
  using In = tgio_cBinary_istream;
};
struct ASCII {
  using Out = tgio_cASCII_ostream;
  using In = tgio_cASCII_istream;
};
template <class T>
bool Put(tgio_cBinary_ostream& out, const T& value, int i) {
  return out.Write(value, static_cast<unsigned short>(i));
}
template <class T>
bool Put(tgio_cASCII_ostream& out, const T& value, int i) {
  return out.Write(value, str_cString(("a"s + static_cast<char>('a' + i)).c_str()), false);
}
int At(const tgio_cBinary_istream& in) { return in.Tag(); }
int At(const tgio_cASCII_istream& in) { return in.Name().CString()[1] - 'a'; }

/// An object whose atoms are given by functions, for both kinds.
template <class Kind>
struct Object : tgio_cTaggedStreamObject {
  using Out = typename Kind::Out;
  using In = typename Kind::In;
  const tgio_cObjectType& ObjectType() const override { return type; }
  type_cBoolean Write(Out& out) const override { return write(out); }
  type_cBoolean Read(In& in) override { return ++reads, read(in); }
  using tgio_cTaggedStreamObject::Read;
  using tgio_cTaggedStreamObject::Write;

  tgio_cObjectType type{"a thing", 0x1234};
  std::function<bool(Out&)> write = [](Out&) { return true; };
  std::function<bool(In&)> read = [](In&) { return true; };
  int reads = 0;
};

struct Values {
  unsigned char byte = 0;
  int integer = 0;
  double real = 0;
  str_cString text;
  arr_c1DNumberArray<float> array;
  arr_c2DNumberArray<comp_cComplex<double>> image;
  Values* inner = nullptr;
};

/// Takes the atoms it knows, in any order, and passes over all others.
template <class Kind>
struct Thing : Object<Kind> {
  explicit Thing(Values& v) {
    this->write = [&v](typename Kind::Out& out) {
      return Put(out, v.byte, 1) && Put(out, v.integer, 2) && Put(out, v.real, 3) && Put(out, v.text, 4) &&
             Put(out, v.array, 5) && Put(out, v.image, 6) &&
             (v.inner == nullptr || Put(out, Thing(*v.inner), 7));
    };
    this->read = [&v](typename Kind::In& in) {
      while (in.bHasAtom()) {
        if (!Take(in, v) && !in.SkipObject()) return false;
      }
      return true;
    };
  }
  static bool Take(typename Kind::In& in, Values& v) {
    switch (At(in)) {
      case 1:
        return in.Read(v.byte);
      case 2:
        return in.Read(v.integer);
      case 3:
        return in.Read(v.real);
      case 4:
        return in.Read(v.text);
      case 5:
        return in.Read(v.array);
      case 6:
        return in.Read(v.image);
      case 7:
        if (v.inner != nullptr) return Thing(*v.inner).Taken(in);
    }
    return false;
  }
  bool Taken(typename Kind::In& in) { return in.Read(*this); }
};

template <class Kind>
std::string Written(const tgio_cTaggedStreamObject& object) {
  std::ostringstream stream;
  typename Kind::Out out(stream);
  EXPECT_TRUE(out.Write(object));
  return stream.str();
}

template <class Kind>
class TaggedStreams : public testing::Test {};
using Kinds = testing::Types<Binary, ASCII>;
TYPED_TEST_SUITE(TaggedStreams, Kinds);

Values Sample() {
  Values v{200, -70000, 0.1, str_cString("a \"b\"\\\n\0\xff{", 10), {}, {}, nullptr};
  const float few[] = {1.5f, -0.0f, std::numeric_limits<float>::infinity()};
  v.array = arr_c1DNumberArray<float>(3, few);
  const comp_cComplex<double> pixels[] = {{1, 2}, {3, 4}, {5, 6}, {7, 8}, {9, -1}, {5e-324, 1e308}};
  v.image = arr_c2DNumberArray<comp_cComplex<double>>(3, 2, pixels);
  return v;
}

TYPED_TEST(TaggedStreams, ReadBackWhatTheyWrote) {
  Values inner = Sample();
  Values outer = Sample();
  outer.inner = &inner;
  std::stringstream stream;
  typename TypeParam::Out out(stream);
  ASSERT_TRUE(out.Write(Thing<TypeParam>(outer)) && out.Write(Thing<TypeParam>(inner)));

  Values read_inner;
  Values read;
  read.inner = &read_inner;
  Thing<TypeParam> thing(read);
  typename TypeParam::In in(stream);
  EXPECT_FALSE(in.eof());
  ASSERT_TRUE(in.Read(thing));
  for (const Values* v : {&read, &read_inner}) {
    EXPECT_EQ(v->byte, 200);
    EXPECT_EQ(v->integer, -70000);
    EXPECT_EQ(v->real, 0.1);
    EXPECT_TRUE(v->text == inner.text);
    ASSERT_EQ(v->array.NumIndices(), 3);
    EXPECT_EQ(std::memcmp(v->array.Data(), inner.array.Data(), 3 * sizeof(float)), 0);
    ASSERT_EQ(v->image.NumIndicesX(), 3);
    ASSERT_EQ(v->image.NumIndicesY(), 2);
    EXPECT_EQ(std::memcmp(v->image.Data(), inner.image.Data(), 6 * 16), 0);
  }
  EXPECT_TRUE(in.SkipObject());
  EXPECT_TRUE(in.eof());
  EXPECT_FALSE(in.SkipObject());
}

TYPED_TEST(TaggedStreams, RefuseWhatIsOfAnotherTypeOrKindAndGoOn) {
  Values v = Sample();
  Object<TypeParam> other;
  other.type = tgio_cObjectType("another thing", 7);
  std::stringstream stream;
  typename TypeParam::Out out(stream);
  ASSERT_TRUE(out.Write(Thing<TypeParam>(v)) && out.Write(Thing<TypeParam>(v)));

  typename TypeParam::In in(stream);
  EXPECT_FALSE(in.Read(other));
  EXPECT_EQ(other.reads, 0);
  Object<TypeParam> thing;
  thing.read = [&](typename TypeParam::In& atoms) {
    unsigned char byte = 3;
    int integer = 3;
    arr_c1DNumberArray<int> array(2);
    EXPECT_FALSE(atoms.Read(integer) || atoms.Read(v.real) || atoms.Read(array) || atoms.Read(other));
    EXPECT_TRUE(atoms.Read(byte));
    EXPECT_EQ(integer, 3);
    EXPECT_EQ(byte, 200);
    while (At(atoms) != 5) EXPECT_TRUE(atoms.SkipObject());
    EXPECT_FALSE(atoms.Read(array));  // of another element type
    EXPECT_EQ(array.NumIndices(), 2);
    EXPECT_TRUE(atoms.Read(v.array));
    return true;  // the rest is passed over
  };
  EXPECT_TRUE(in.Read(thing));
  thing.read = [](typename TypeParam::In&) -> bool { throw 1; };
  EXPECT_THROW(in.Read(thing), int);
  EXPECT_TRUE(in.SkipObject());
  EXPECT_TRUE(in.eof());
}

TYPED_TEST(TaggedStreams, WriteNothingOfAnObjectThatFails) {
  std::ostringstream stream;
  typename TypeParam::Out out(stream);
  EXPECT_FALSE(Put(out, 1, 1));  // no object is open
  Object<TypeParam> failing;
  failing.write = [](typename TypeParam::Out& atoms) { return Put(atoms, 1, 1) && false; };
  EXPECT_FALSE(out.Write(failing));
  EXPECT_EQ(stream.str(), "");

  Object<TypeParam> outer;
  outer.write = [&](typename TypeParam::Out& atoms) { return !Put(atoms, failing, 1) && Put(atoms, 2, 2); };
  Object<TypeParam> plain;
  plain.write = [](typename TypeParam::Out& atoms) { return Put(atoms, 2, 2); };
  EXPECT_EQ(Written<TypeParam>(outer), Written<TypeParam>(plain));
  stream.setstate(std::ios::badbit);
  EXPECT_FALSE(out.Write(plain));
}

TYPED_TEST(TaggedStreams, NestToALimit) {
  int deepest = 1;
  int limit = tgio_MaxNesting;
  Object<TypeParam> object;
  object.write = [&](typename TypeParam::Out& out) {
    if (deepest == limit) return true;
    ++deepest;
    return Put(out, object, 1);
  };
  object.read = [&](typename TypeParam::In& in) {
    ++deepest;
    return !in.bHasAtom() || in.Read(object);
  };
  const std::string written = Written<TypeParam>(object);
  std::istringstream stream(written);
  typename TypeParam::In in(stream);
  deepest = 0;
  EXPECT_TRUE(in.Read(object));
  EXPECT_EQ(deepest, limit);

  deepest = 1;
  ++limit;
  std::ostringstream deep;
  EXPECT_FALSE(typename TypeParam::Out(deep).Write(object));
}

TYPED_TEST(TaggedStreams, SurviveTruncationAndFlippedBits) {
  Values inner = Sample();
  Values outer = Sample();
  outer.inner = &inner;
  const std::string whole = Written<TypeParam>(Thing<TypeParam>(outer));
  Values read_inner;
  Values read;
  read.inner = &read_inner;
  Thing<TypeParam> thing(read);

  const std::size_t needed = whole.size() - (whole.back() == '\n' ? 1 : 0);
  for (std::size_t n = 0; n < needed; ++n) {
    std::istringstream stream(whole.substr(0, n));
    typename TypeParam::In in(stream);
    EXPECT_FALSE(in.Read(thing)) << n;
    EXPECT_TRUE(in.eof());
  }
  EXPECT_EQ(thing.reads, 0);
  for (std::size_t bit = 0; bit < 8 * whole.size(); ++bit) {
    std::string damaged = whole;
    damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << bit % 8));
    std::istringstream stream(damaged + whole);
    typename TypeParam::In in(stream);
    for (int left = 1000; !in.eof() && left > 0; --left) {
      if (!in.Read(thing)) in.SkipObject();
    }
    EXPECT_TRUE(in.eof()) << bit;
  }
}

/// Reads one object out of `text` and says which integers it found in known atoms.
template <class Kind>
std::string ReadIntegers(const std::string& text) {
  Values v;
  Thing<Kind> thing(v);
  std::istringstream stream(text);
  typename Kind::In in(stream);
  if (!in.Read(thing)) return in.SkipObject() ? "damaged" : "cut off";
  return std::to_string(v.byte) + " " + std::to_string(v.integer);
}

TEST(BinaryTaggedStreams, HaveTheseBytes) {
  const std::string five = "\2\0\2\4\0\0\0\0\0\0\0\5\0\0\0"s;  // tag 2, an integer
  const auto object = [](const std::string& atoms) {
    return "\0\0\5"s + static_cast<char>(atoms.size() + 2) + "\0\0\0\0\0\0\0\x34\x12"s + atoms;
  };
  Object<Binary> thing;
  thing.write = [](tgio_cBinary_ostream& out) { return out.Write(5, 2); };
  EXPECT_EQ(Written<Binary>(thing), object(five));
  const arr_c1DNumberArray<short> array(1, nullptr, -2, true);
  thing.write = [&](tgio_cBinary_ostream& out) { return out.Write(array, 5); };
  EXPECT_EQ(Written<Binary>(thing), object("\5\0\6\7\0\0\0\0\0\0\0\x22\1\0\0\0\xfe\xff"s));

  EXPECT_EQ(ReadIntegers<Binary>(object("\1\0\xee\2\0\0\0\0\0\0\0xy"s + five)), "0 5");     // unknown kind
  EXPECT_EQ(ReadIntegers<Binary>(object("\2\0\2\3\0\0\0\0\0\0\0xyz"s + five)), "0 5");      // of a wrong size
  EXPECT_EQ(ReadIntegers<Binary>(object("\1\0\1\2\0\0\0\0\0\0\x80x"s + five)), "damaged");  // a wild length
  EXPECT_EQ(ReadIntegers<Binary>(object("\7\0\5\1\0\0\0\0\0\0\0x"s + five)), "damaged");    // without a type
  EXPECT_EQ(ReadIntegers<Binary>("\0\0\5\xff\xff\xff\xff\xff\xff\xff\x7f"s + five), "cut off");
}

TEST(ASCIITaggedStreams, HaveThisText) {
  Values v = Sample();
  v.image = arr_c2DNumberArray<comp_cComplex<double>>(1, 1);
  Values inner;
  inner.real = std::nan("");
  v.inner = &inner;
  EXPECT_EQ(Written<ASCII>(Thing<ASCII>(v)), R"(object "a thing" {
  ab byte 200
  ac int -70000
  ad double 0.1
  ae string "a \"b\"\\\n\x00)"
                                             "\xff"
                                             R"({"
  af data { 3 1.5 -0 inf }
  ag data { 70010000000100000000000000000000000000000000000000 }
  ah object "a thing" {
    ab byte 0
    ac int 0
    ad double nan
    ae string ""
    af data { 0 }
    ag data { 700000000000000000 }
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
      {"zz\nab\nac int 5", "0 5"},
      {"ab int 7\nac int 5", "0 5"},
      {"ab byte 256\nac int 5 5", "0 0"},
      {"ab byte 7x\nac int 2147483648", "0 0"},
      {"ah object other {\nab byte 7\n}\nac int 5", "0 5"},
      {"{ }\nac int 5", "damaged"},
      {"\"\" int 5\nac int 5", "damaged"},
      {"ah object {\n}\nac int 5", "damaged"},
      {"ah object \"a thing\" {\n} x\nac int 5", "damaged"},
      {"ah object \"a thing\" { } {\n}", "damaged"},
      {"ab string \"\nac int 5", "cut off"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(ReadIntegers<ASCII>(object(each.atoms)), each.read) << each.atoms;
  }
  EXPECT_EQ(ReadIntegers<ASCII>("what is this\n" + object("")), "damaged");
  EXPECT_EQ(ReadIntegers<ASCII>("}" + object("")), "damaged");
}

TEST(NumberArrays, RefuseContentsThatDoNotFit) {
  const auto read = [](const char* data) {
    std::istringstream stream("object \"a thing\" {\nx data {"s + data + "}\n}");
    tgio_cASCII_istream in(stream);
    arr_c1DNumberArray<short> array(1, nullptr, 9, true);
    Object<ASCII> thing;
    thing.read = [&](tgio_cASCII_istream& atoms) { return bool{atoms.Read(array)} || atoms.SkipObject(); };
    EXPECT_TRUE(in.Read(thing));
    EXPECT_EQ(array.FillValue(), 9);
    return array;
  };
  EXPECT_EQ(read("2 -32768\n32767")[1], 32767);
  EXPECT_EQ(read("0").NumIndices(), 0);
  for (const char* bad : {"", "-1", "1", "1 32768", "1 1.5", "1 1 1", "2147483647 1", "1 \"1\""}) {
    EXPECT_EQ(read(bad)[0], 9) << bad;
  }
}

}  // namespace
