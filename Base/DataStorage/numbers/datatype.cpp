#include <algorithm>

#include <DataStorage/numbers/datatype.h>

namespace {

struct Names {
  dtyp_eDataType type;
  const char* long_name;
  const char* short_name;
};

constexpr Names all_names[] = {
#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) \
  {dtyp_##name, long_name, short_name},
#include <DataStorage/numbers/elementtypes.def>
};

constexpr Names no_names{dtyp_NoType, "No type", ""};

const Names& NamesOf(dtyp_eDataType type) {
  const Names* found = std::ranges::find(all_names, type, &Names::type);
  return found != std::end(all_names) ? *found : no_names;
}

dtyp_eDataType TypeNamed(const str_cString& name, const char* Names::*kind) {
  const Names* found =
      std::ranges::find_if(all_names, [&](const Names& names) { return name == names.*kind; });
  return found != std::end(all_names) ? found->type : dtyp_NoType;
}

bool IsUnsigned(dtyp_eDataType type) { return type >= dtyp_UBin8 && type <= dtyp_UBin32; }
bool IsSigned(dtyp_eDataType type) { return type >= dtyp_SBin8 && type <= dtyp_SBin32; }

dtyp_eDataType SignedOfSameWidth(dtyp_eDataType type) {
  return IsUnsigned(type) ? static_cast<dtyp_eDataType>(type + (dtyp_SBin8 - dtyp_UBin8)) : type;
}

}  // namespace

dtyp_cDataType::dtyp_cDataType(str_cString name) : type_(TypeNamed(name, &Names::long_name)) {}

str_cString dtyp_cDataType::StringOut() const { return NamesOf(type_).long_name; }

dtyp_cDataType dtyp_Max(const dtyp_cDataType& a, const dtyp_cDataType& b) {
  const dtyp_eDataType x = a.Type();
  const dtyp_eDataType y = b.Type();
  const bool mixed_signs = (IsUnsigned(x) && IsSigned(y)) || (IsSigned(x) && IsUnsigned(y));
  return mixed_signs ? std::max(SignedOfSameWidth(x), SignedOfSameWidth(y)) : std::max(x, y);
}

namespace detail {

const char* ShortName(dtyp_eDataType type) { return NamesOf(type).short_name; }

dtyp_eDataType TypeOfShortName(const str_cString& name) { return TypeNamed(name, &Names::short_name); }

}  // namespace detail
