#include <algorithm>
#include <compare>

#include <DataStorage/numbers/datatype.h>

namespace {

/// What decides about common types, in the order of the comparison.
struct Kind {
  detail::Family family;
  int size;
  auto operator<=>(const Kind&) const = default;
};

struct Element {
  dtyp_eDataType type;
  Kind kind;
  const char* long_name;
  const char* short_name;
};

constexpr Element elements[] = {
#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) \
  {dtyp_##name, {detail::FamilyOf<type>, sizeof(type)}, long_name, short_name},
#include <DataStorage/interfaces/elementtypes.def>
};

constexpr Element no_element{dtyp_NoType, {detail::Family::Unsigned, 0}, "No type", ""};

/// The element type whose `member` is `key`.
constexpr const Element& ElementWith(auto Element::*member, const auto& key) {
  const Element* found =
      std::ranges::find_if(elements, [&](const Element& element) { return key == element.*member; });
  return found != std::end(elements) ? *found : no_element;
}

/// The later family with its larger size. Integers keep the size of the wider one, whatever its sign.
constexpr dtyp_eDataType CommonType(const Element& a, const Element& b) {
  Kind common = std::max(a.kind, b.kind);
  if (common.family <= detail::Family::Signed) common.size = std::max(a.kind.size, b.kind.size);
  return ElementWith(&Element::kind, common).type;
}

constexpr bool bListIsSound() {
  int value = 0;
  for (const Element& a : elements) {
    if (a.type != ++value || CommonType(a, a) != a.type) return false;
    for (const Element& b : elements) {
      if (CommonType(a, b) == dtyp_NoType) return false;
    }
  }
  return true;
}
static_assert(bListIsSound(), "values count from 1, no two types are alike, and any two have a common type");

}  // namespace

dtyp_cDataType::dtyp_cDataType(str_cString name) : type_(ElementWith(&Element::long_name, name).type) {}

str_cString dtyp_cDataType::StringOut() const { return ElementWith(&Element::type, type_).long_name; }

dtyp_cDataType dtyp_Max(const dtyp_cDataType& a, const dtyp_cDataType& b) {
  if (a.SizeOf() == 0 || b.SizeOf() == 0) return std::max(a.Type(), b.Type());
  return CommonType(ElementWith(&Element::type, a.Type()), ElementWith(&Element::type, b.Type()));
}

namespace detail {

const char* ShortName(dtyp_eDataType type) { return ElementWith(&Element::type, type).short_name; }

dtyp_eDataType TypeOfShortName(const str_cString& name) {
  return ElementWith(&Element::short_name, name).type;
}

}  // namespace detail
