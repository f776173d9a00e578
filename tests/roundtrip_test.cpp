#include "reference.h"
#include "test.h"
#include <DataStorage/interfaces/persistent.h>
#include <DataStorage/series/datatag.h>
#include <DataStorage/series/dimension.h>

using namespace fuzz;

namespace {

/// One atom of each kind that no other object writes.
struct Atoms : tgio_cTaggedStreamObject {
  std::tuple<unsigned char, int, str_cString, arr_c1DNumberArray<type_cBoolean>,
             arr_c2DNumberArray<type_cBoolean>>
      values;

  using tgio_cTaggedStreamObject::Read;
  type_cBoolean Write(tgio_cBinary_ostream& out) const override { return WriteAtoms(out); }
  type_cBoolean Write(tgio_cASCII_ostream& out) const override { return WriteAtoms(out); }
  type_cBoolean ReadAtom(tgio_cBinary_istream& in) override { return TakeAtom(in); }
  type_cBoolean ReadAtom(tgio_cASCII_istream& in) override { return TakeAtom(in); }

 private:
  static constexpr detail::AtomId ids[] = {
      {1, "byte"}, {2, "integer"}, {3, "text"}, {4, "mask"}, {5, "plane"}};

  template <class Stream>
  bool WriteAtoms(Stream& out) const {
    const detail::AtomId* id = ids;
    return std::apply([&](const auto&... value) { return (detail::WriteAtom(out, value, *id++) && ...); },
                      values);
  }
  template <class Stream>
  bool TakeAtom(Stream& in) {
    const detail::AtomId* id = ids;
    return std::apply([&](auto&... value) { return ((detail::bAtAtom(in, *id++) && in.Read(value)) || ...); },
                      values);
  }
};

/// Everything that an object holds, in all forms, as one may lose what another one keeps.
template <class Object>
std::string Form(const Object& object) {
  if constexpr (std::is_base_of_v<tgio_cTaggedStreamObject, Object> &&
                !std::is_base_of_v<dtsr_cDataTag, Object>) {
    return TaggedForm<Binary>(object) + TaggedForm<Ascii>(object);
  } else {
    return RawForm(object);
  }
}

/// Makes random objects, with edge values more often than others.
class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}

  int Below(int n) { return std::uniform_int_distribution(0, n - 1)(engine_); }
  /// 0 and 1 more often than others.
  int Count() { return Below(1 + Below(9)); }

  void Make(type_cBoolean& value) { value = Below(2) == 1; }
  template <class T>
  requires std::is_arithmetic_v<T>
  void Make(T& value) {
    using Limits = std::numeric_limits<T>;
    const T edges[] = {T(0),
                       T(-0.0),
                       T(1),
                       T(0.1),
                       Limits::lowest(),
                       Limits::max(),
                       Limits::denorm_min(),
                       T(Limits::min() / 3),
                       T(-Limits::infinity()),
                       Limits::quiet_NaN()};
    const std::uint64_t bits = engine_();
    std::memcpy(&value, &bits, sizeof value);
    // Text has only one not-a-number.
    if (Below(2) == 0 || !(value == value)) value = edges[bits % std::size(edges)];
  }
  template <class T>
  void Make(comp_cComplex<T>& value) {
    value = {Made<T>(), Made<T>()};
  }
  void Make(str_cString& text) {
    std::string bytes(static_cast<std::size_t>(Count() * Below(4)), ' ');
    for (char& c : bytes) c = Below(2) == 0 ? "\"\\{}\n\r\0 "[Below(8)] : Made<char>();
    text = str_cString(bytes);
  }
  template <class T>
  void Make(arr_c1DNumberArray<T>& array) {
    array = arr_c1DNumberArray<T>(Count(), nullptr);
    MakeElements(array);
  }
  template <class T>
  void Make(arr_c2DNumberArray<T>& array) {
    array = arr_c2DNumberArray<T>(Count(), Count(), nullptr);
    MakeElements(array);
  }
  void Make(parr_c1DNumberArray& array) { MakeOf<arr_c1DNumberArray>(array); }
  void Make(parr_c2DNumberArray& array) { MakeOf<arr_c2DNumberArray>(array); }
  void Make(darr_c1DArray& array) { array = {Made<parr_c1DNumberArray>(), Made<cal_c1DArrayCal>()}; }
  void Make(darr_c2DArray& array) { array = {Made<parr_c2DNumberArray>(), Made<cal_c2DArrayCal>()}; }
  void Make(cal_cArrayCal& cal) { cal = {Made<double>(), Made<double>(), Made<int>()}; }
  void Make(cal_c1DArrayCal& cal) { cal = cal_c1DArrayCal(Made<cal_cArrayCal>()); }
  void Make(cal_c2DArrayCal& cal) { cal = {Made<cal_cArrayCal>(), Made<cal_cArrayCal>()}; }
  void Make(pos_c1DPosition& position) { position = Made<double>(); }
  void Make(pos_c2DPosition& position) { position = {Made<double>(), Made<double>()}; }
  void Make(pos_c2DPositionList& list) {
    for (int n = Count(); n > 0; --n) list.AddAtTail(new pos_c2DPosition(Made<pos_c2DPosition>()));
  }
  void Make(rnge_c1DRange& range) { range = {Made<double>(), Made<double>()}; }
  void Make(rnge_c2DRange& range) {
    range = {Made<double>(), Made<double>(), Made<double>(), Made<double>(), Made<double>()};
  }
  void Make(dtsr_cDataTag& tag) { tag = Made<int>(); }
  void Make(dtsr_c2DPosition& tag) { tag = {Made<pos_c2DPosition>(), Made<int>()}; }
  void Make(dtsr_cDimensionArray& dimensions) {
    dimensions = dtsr_cDimensionArray(Count());
    for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
      const auto cal = Made<cal_c1DArrayCal>();
      // In files a negative step marks an axis in reverse order, whose own step is positive.
      const bool reverse = Below(2) == 1;
      const cal_c1DArrayCal natural(cal.OffsetX(), std::abs(cal.DeltaX()), cal.CalIndexX());
      dimensions.Dimension(d) = {Made<int>(), natural, Made<str_cString>(), Made<str_cString>(),
                                 reverse && natural.DeltaX() > 0};
    }
  }
  void Make(Atoms& atoms) {
    std::apply([this](auto&... value) { (this->Make(value), ...); }, atoms.values);
  }

 private:
  template <class T>
  T Made() {
    T value;
    Make(value);
    return value;
  }
  template <class Array>
  void MakeElements(Array& array) {
    std::for_each(array.WriteAccess(), array.WriteAccess() + array.NumIndices(),
                  [this](auto& each) { this->Make(each); });
  }
  template <template <class> class Container, class Array>
  void MakeOf(Array& array) {
    const auto type = static_cast<dtyp_eDataType>(1 + Below(detail::ElementTypes::size));
    array = detail::VisitElementType(
        type, [this]<class T>(std::type_identity<T>) { return Array(this->Made<Container<T>>()); });
  }

  std::mt19937_64 engine_;
};

/// Checks a property with many objects.
void Repeat(const std::function<void(Random&)>& property) {
  Random random(RandomSeed());
  for (int i = 0; i < 1000 && !testing::Test::HasFailure(); ++i) property(random);
}

template <class Kind, class... Object>
void CheckTagged(Random& random) {
  const auto check = [&](auto object, auto again) {
    random.Make(object);
    SCOPED_TRACE(static_cast<const tgio_cTaggedStreamObject&>(object).ObjectType().Name());
    const std::string form = TaggedForm<Kind>(object);
    std::istringstream stream(form);
    typename Kind::In in(stream);
    EXPECT_TRUE(in.Read(static_cast<tgio_cTaggedStreamObject&>(again)));
    EXPECT_EQ(Form(again), Form(object));
    EXPECT_TRUE(in.eof());

    const int needed = static_cast<int>(form.size()) - (form.back() == '\n');
    std::istringstream cut(form.substr(0, static_cast<std::size_t>(random.Below(needed))));
    typename Kind::In in_cut(cut);
    EXPECT_FALSE(in_cut.Read(static_cast<tgio_cTaggedStreamObject&>(again)));
    EXPECT_EQ(Form(again), Form(object));
    EXPECT_TRUE(in_cut.eof());
  };
  (check(Object(), Object()), ...);
}

template <class Kind>
void CheckAllTagged(Random& random) {
  CheckTagged<Kind, Atoms, cal_c1DArrayCal, cal_c2DArrayCal, pos_c1DPosition, pos_c2DPosition, rnge_c1DRange,
              rnge_c2DRange, darr_c1DArray, darr_c2DArray>(random);
}

TEST(RoundTrip, TaggedStreams) {
  Repeat([](Random& random) {
    CheckAllTagged<Binary>(random);
    CheckAllTagged<Ascii>(random);
    CheckTagged<Binary, pos_c2DPositionList>(random);
  });
}

/// Changes, cuts off, doubles, swaps or inserts bytes at a few places.
std::string Damaged(Random& random, std::string form) {
  const auto place = [&](std::size_t room) {
    return static_cast<std::size_t>(random.Below(static_cast<int>(room) + 1));
  };
  for (int n = 1 + random.Below(3); n > 0 && !form.empty(); --n) {
    const std::size_t at = place(form.size() - 1), length = place(std::min<std::size_t>(form.size() - at, 8));
    switch (random.Below(5)) {
      case 0:
        form[at] = static_cast<char>(form[at] ^ (1 << random.Below(8)));
        break;
      case 1:
        form[at] = "\0\1\5 ,.-0123456789{}\"\n\\xe"[random.Below(25)];
        break;
      case 2:
        form.erase(at, length);
        break;
      case 3:
        form.insert(place(form.size()), form.substr(at, length));
        break;
      default:
        form.resize(at);
    }
  }
  return form;
}

TEST(RoundTrip, DamagedTaggedStreams) {
  Repeat([](Random& random) {
    const auto check = [&](auto object) {
      using Object = decltype(object);
      const Object old(object);
      random.Make(object);
      SCOPED_TRACE(Object::_ObjectType.Name());
      for (int i = 0; i < 5; ++i) {
        const std::string binary = Damaged(random, TaggedForm<Binary>(object)),
                          text = Damaged(random, TaggedForm<Ascii>(object));
        EXPECT_TRUE(bReadsAsExpected<Binary>(old, binary, Parse<Binary>(binary)))
            << testing::PrintToString(binary);
        EXPECT_TRUE(bReadsAsExpected<Ascii>(old, text, Parse<Ascii>(text))) << text;
      }
    };
    std::apply([&](const auto&... object) { (check(object), ...); }, PersistentObjects());
  });
}

/// The raw forms of some element types are written but not read.
template <class Object>
bool bWriteOnly(const Object& object) {
  if constexpr (requires { object.IsComplex(); }) {
    return object.IsComplex() || object.DataType() == dtyp_SBin8;
  }
  return false;
}

template <class... Object>
void CheckRaw(Random& random) {
  const auto check = [&](auto object, auto again) {
    random.Make(object);
    const std::string form = RawForm(object), expected = Form(bWriteOnly(object) ? again : object);
    bstr_cMemory_istream in(form.data(), static_cast<std::int64_t>(form.size()));
    if constexpr (std::is_void_v<decltype(object.Read(in))>) {
      again.Read(in);
    } else {
      EXPECT_EQ(again.Read(in), !bWriteOnly(object));
    }
    EXPECT_TRUE(bWriteOnly(object) || (in.bGood() && in.Position() == in.Size()));
    EXPECT_EQ(Form(again), expected);
  };
  (check(Object(), Object()), ...);
}

TEST(RoundTrip, RawStreams) {
  Repeat([](Random& random) {
    CheckRaw<parr_c1DNumberArray, parr_c2DNumberArray, darr_c1DArray, darr_c2DArray, dtsr_cDimensionArray,
             dtsr_cDataTag, dtsr_c2DPosition>(random);
  });
}

}  // namespace
