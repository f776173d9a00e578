#include <algorithm>
#include <cstddef>

#include <DataStorage/numbers/datatype.h>

namespace {

/// The properties that determine the common type of two types.
struct Kind {
  detail::Family family;
  int size;
  bool operator==(const Kind&) const = default;
};

struct Element {
  dtyp_eDataType type;
  Kind kind;
  const char* long_name;
  const char* short_name;
};

/// Indexed by the value of the type.
constexpr Element elements[] = {
    {dtyp_NoType, {detail::Family::Unsigned, 0}, "No type", ""},
#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) \
  {dtyp_##name, {detail::FamilyOf<type>, sizeof(type)}, long_name, short_name},
#include <DataStorage/interfaces/elementtypes.def>
};

/// The entry of `type`, or that of `dtyp_NoType` when `type` is not in the list.
constexpr const Element& ElementOf(dtyp_eDataType type) {
  const auto i = static_cast<std::size_t>(type);
  return elements[i < std::size(elements) ? i : 0];
}

/// The type whose `member` is `key`, or `dtyp_NoType`.
constexpr dtyp_eDataType TypeWith(auto Element::*member, const auto& key) {
  const auto* found =
      std::ranges::find_if(elements, [&](const Element& element) { return key == element.*member; });
  return found != std::end(elements) ? found->type : dtyp_NoType;
}

/// The type of the later family; of two types of one family, or two integers, with the larger size.
constexpr dtyp_eDataType CommonType(const Element& a, const Element& b) {
  Kind common = a.kind.family > b.kind.family ? a.kind : b.kind;
  if (a.kind.family == b.kind.family || common.family <= detail::Family::Signed)
    common.size = std::max(a.kind.size, b.kind.size);
  return TypeWith(&Element::kind, common);
}

constexpr bool bListIsSound() {
  int value = 0;
  for (const Element& a : elements) {
    if (a.type != value++ || CommonType(a, a) != a.type) return false;
    for (const Element& b : elements) {
      if (a.type != b.type && CommonType(a, b) == dtyp_NoType) return false;
    }
  }
  return true;
}
static_assert(bListIsSound(), "values count from 1, no two types are alike, and any two have a common type");

}  // namespace

dtyp_cDataType::dtyp_cDataType(str_cString name) : type_(TypeWith(&Element::long_name, name)) {}

str_cString dtyp_cDataType::StringOut() const { return ElementOf(type_).long_name; }

dtyp_cDataType dtyp_Max(const dtyp_cDataType& a, const dtyp_cDataType& b) {
  if (a.SizeOf() == 0 || b.SizeOf() == 0) return std::max(a.Type(), b.Type());
  return CommonType(ElementOf(a.Type()), ElementOf(b.Type()));
}

namespace detail {

const char* ShortName(dtyp_eDataType type) { return ElementOf(type).short_name; }

dtyp_eDataType TypeOfShortName(const str_cString& name) { return TypeWith(&Element::short_name, name); }

}  // namespace detail
