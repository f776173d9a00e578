#include <cmath>
#include <cstdint>

#include <DataStorage/interfaces/expt.h>
#include <DataStorage/numbers/pnumber.h>

namespace {

constexpr detail::SourceFile source_file{"pnumber"};

template <class T>
str_cString Text(const T& value, int width, int precision) {
  return {value, width, precision};
}

/// The sum of both parts as written by hand: without a zero part and without a factor of one.
template <class T>
str_cString Text(const comp_cComplex<T>& value, int width, int precision) {
  constexpr T smallest = std::numeric_limits<T>::min();
  const T re = value.Real();
  const T im = value.Imaginary();
  const auto text = [&](T part) { return str_cString(static_cast<double>(part), width, precision); };

  if (std::abs(im) < smallest) return text(re);
  const str_cString factor = std::abs(im) == 1 ? str_cString::Null : text(std::abs(im));
  const str_cString imaginary = factor + "i";
  if (std::abs(re) < smallest) return im < 0 ? "-" + imaginary : imaginary;
  return text(re) + (im < 0 ? " - " : " + ") + imaginary;
}

/// `value` in a type that streams write as a number: not a character, and floats with the digits of doubles.
const auto& Printable(const auto& value) { return value; }
short Printable(const char& value) { return value; }
unsigned short Printable(const unsigned char& value) { return value; }
double Printable(const float& value) { return value; }

template <std::integral T>
T FromDouble(double value, std::type_identity<T>) {
  constexpr double limit = 9223372036854775808.0;  // 2^63
  return -limit <= value && value < limit ? static_cast<T>(static_cast<std::int64_t>(value)) : T(0);
}

template <std::floating_point T>
T FromDouble(double value, std::type_identity<T>) {
  return static_cast<T>(value);
}

template <class T>
comp_cComplex<T> FromDouble(double value, std::type_identity<comp_cComplex<T>>) {
  return static_cast<T>(value);
}

}  // namespace

constinit const dtyp_cDataType pnum_cNumber::tComplexNumber = dtyp_Complex128;
constinit const dtyp_cDataType pnum_cNumber::tValueNumber = dtyp_Float64;
constinit const dtyp_cDataType pnum_cNumber::tCountNumber = dtyp_SBin32;

pnum_cLetter::~pnum_cLetter() = default;

template <detail::ElementType T>
str_cString pnum_cTypedNumber<T>::StringOut(int width, int precision) const {
  return Text(value_, width, precision);
}

template <detail::ElementType T>
std::ostream& pnum_cTypedNumber<T>::Output(std::ostream& out) const {
  return out << Printable(value_);
}

#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) \
  template class DATASTORAGE_INSTANCE pnum_cTypedNumber<type>;
#include <DataStorage/interfaces/elementtypes.def>

pnum_cNumber::pnum_cNumber(dtyp_cDataType type) : pnum_cNumber(0.0, type) {}

pnum_cNumber::pnum_cNumber(double value, dtyp_cDataType type) {
  detail::VisitElementType(type.Type(),
                           [&](auto element_type) { return Store(FromDouble(value, element_type)); });
  if (!DataType().HasDataType()) source_file.ThrowProgramError();
}

str_cString pnum_cNumber::StringOut(int width, int precision) const {
  return detail::VisitElementType(type_, [&]<class T>(std::type_identity<T>) {
    return pnum_cTypedNumber<T>(*static_cast<const T*>(Data())).StringOut(width, precision);
  });
}

std::ostream& operator<<(std::ostream& out, const pnum_cNumber& number) {
  detail::VisitElementType(number.type_, [&]<class T>(std::type_identity<T>) {
    pnum_cTypedNumber<T>(*static_cast<const T*>(number.Data())).Output(out);
  });
  return out;
}

int pnum_cNumber::Count() const {
  const double value = Value();
  if (!(std::numeric_limits<int>::min() <= value && value <= std::numeric_limits<int>::max()))
    source_file.ThrowUserError("Cannot convert to integer - out of range.");
  return static_cast<int>(value);
}

void pnum_cNumber::Convert(dtyp_cDataType type, conv_eComplexConversion conversion) {
  if (type == DataType()) return;
  const bool converted = detail::VisitElementType(type.Type(), [&]<class T>(std::type_identity<T>) {
    T value;
    conv_ConvertElements(type_, detail::DataTypeOf<T>, 1, conversion, Data(), &value);
    Store(value);
    return true;
  });
  if (!converted) source_file.ThrowProgramError();
}
