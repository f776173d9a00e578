#include "elements.h"

#include <array>
#include <complex>
#include <cstdint>
#include <file/text.h>
#include <limits>
#include <string>

#include "errors.h"
#include <DataStorage/interfaces/elementtypes.h>

namespace core {

namespace {

/// The NumPy types by element type. They live as long as the interpreter.
std::array<PyObject*, dtyp_Complex128 + 1> numpy_types{};

template <class T>
struct NumpyElement {
  using type = T;
};
template <>
struct NumpyElement<char> {
  using type = std::int8_t;
};
template <class T>
struct NumpyElement<comp_cComplex<T>> {
  using type = std::complex<T>;
};

/// A function of Python that is looked up when it is first called, and then kept.
class Imported {
 public:
  constexpr Imported(const char* module, const char* name) noexcept : module_(module), name_(name) {}
  template <class... Arguments>
  py::object operator()(const Arguments&... arguments) {
    if (function_ == nullptr)
      function_ = py::object(py::module_::import(module_).attr(name_)).release().ptr();
    return py::reinterpret_borrow<py::object>(function_)(arguments...);
  }

 private:
  const char *module_, *name_;
  PyObject* function_ = nullptr;  // never released: the interpreter ends before this object
};
constinit Imported element_dtype("datastorage._elements", "element_dtype");
constinit Imported elements_of("datastorage._elements", "elements_of");
constinit Imported elements_among("datastorage._elements", "elements_among");
constinit Imported promote_types("numpy", "promote_types");

/// Whether elements of a type hold an integer exactly.
bool bHolds(dtyp_cDataType type, std::int64_t value) {
  return detail::VisitElementType(type.Type(), [value]<class T>(std::type_identity<T>) {
    if constexpr (std::numeric_limits<T>::is_integer) {
      return value >= std::int64_t{std::numeric_limits<T>::min()} &&
             value <= std::int64_t{std::numeric_limits<T>::max()};
    } else {  // up to the number of bits in the fraction
      constexpr bool single = std::is_same_v<T, float> || std::is_same_v<T, comp_cComplex<float>>;
      constexpr auto most = std::int64_t{1} << (single ? std::numeric_limits<float>::digits
                                                       : std::numeric_limits<double>::digits);
      return -most <= value && value <= most;
    }
  });
}

/// An int: of the type of its neighbours where that holds it, otherwise of the type that the library takes,
/// or of the smallest one beyond.
pnum_cNumber IntegerAmong(const py::handle& value, dtyp_cDataType among) {
  int overflow = 0;
  const long long integer = PyLong_AsLongLongAndOverflow(value.ptr(), &overflow);
  if (integer == -1 && PyErr_Occurred() != nullptr) throw py::error_already_set();
  for (const dtyp_cDataType type : {among, dtyp_cDataType(dtyp_SBin32), dtyp_cDataType(dtyp_UBin32)}) {
    if (overflow == 0 && bHolds(type, integer)) return pnum_cNumber(static_cast<double>(integer), type);
  }
  const double number = PyLong_AsDouble(value.ptr());
  if (number == -1 && PyErr_Occurred() != nullptr) throw py::error_already_set();
  if (!py::int_(py::float_(number)).equal(value)) {
    throw py::value_error(std::string(py::str(value)) + " cannot be stored exactly by any element type");
  }
  return pnum_cNumber(number);
}

/// The number at the address of an element.
pnum_cNumber NumberAt(dtyp_cDataType type, const void* element) {
  if (!type.HasDataType()) return pnum_cNumber(0.0);
  pnum_cNumber number{type};
  detail::VisitElementType(type.Type(), [&]<class T>(std::type_identity<T>) {
    number = pnum_cNumber(*static_cast<const T*>(element));
    return true;
  });
  return number;
}

}  // namespace

void DefineElements(py::module_& module) {
  py::dict names;
  detail::ElementTypes::ForEach([&]<class T>(std::type_identity<T>) {
    const dtyp_eDataType type = detail::DataTypeOf<T>;
    py::dtype numpy = py::dtype::of<typename NumpyElement<T>::type>();
    names[dseries::ElementName(type).c_str()] = numpy;
    numpy_types.at(type) = numpy.release().ptr();
  });
  module.attr("ELEMENT_TYPES") = names;
}

py::dtype NumpyType(dtyp_cDataType type) {
  return py::reinterpret_borrow<py::dtype>(numpy_types.at(static_cast<std::size_t>(type.Type())));
}

dtyp_cDataType ElementType(const py::dtype& type) {
  for (int i = dtyp_UBin8; i <= dtyp_Complex128; ++i) {
    const auto candidate = static_cast<dtyp_eDataType>(i);
    if (py::detail::npy_api::get().PyArray_EquivTypes_(type.ptr(),
                                                       numpy_types.at(static_cast<std::size_t>(i)))) {
      return candidate;
    }
  }
  return dtyp_NoType;
}

dtyp_cDataType ElementTypeNamed(const py::object& type) {
  return ElementType(element_dtype(type).cast<py::dtype>());
}

py::array ElementsAmong(const py::object& data, dtyp_cDataType among) {
  return elements_among(data, NumpyType(among)).cast<py::array>();
}

py::array ElementsOf(const py::object& data, const py::object& type) {
  return elements_of(data, type).cast<py::array>();
}

dtyp_cDataType CommonType(dtyp_cDataType a, dtyp_cDataType b) {
  if (a == b) return a;
  // NumPy's rules, which keep every value but those of integers of more than 53 bits, which there are none
  // of.
  const py::object common = promote_types(NumpyType(a), NumpyType(b));
  const dtyp_cDataType type = ElementType(common.cast<py::dtype>());
  return type.HasDataType() ? type : dtyp_cDataType(dtyp_Float64);  // signed and unsigned of 4 bytes: int64
}

pnum_cNumber NumberOf(const py::handle& value, dtyp_cDataType among) {
  if (PyFloat_CheckExact(value.ptr())) return pnum_cNumber(PyFloat_AS_DOUBLE(value.ptr()));
  if (PyLong_Check(value.ptr())) return IntegerAmong(value, among);
  if (PyComplex_CheckExact(value.ptr())) {
    const Py_complex number = PyComplex_AsCComplex(value.ptr());
    return pnum_cNumber(comp_cComplex<double>(number.real, number.imag));
  }
  if (py::hasattr(value, "dtype")) {
    const auto object = py::reinterpret_borrow<py::object>(value);
    auto array = py::array::ensure(object);
    if (array && array.ndim() == 0) {
      const char kind = array.dtype().kind();
      const bool element = ElementType(array.dtype()).HasDataType();
      if (!element && (kind == 'i' || kind == 'u' || kind == 'b')) {
        return IntegerAmong(py::int_(array.attr("item")()), among);
      }
      if (!element || (py::isinstance<py::array>(value) && py::hasattr(value, "mask")))
        array = ElementsAmong(object, among);
      return NumberAt(ElementType(array.dtype()), array.data());
    }
  } else if (PyIndex_Check(value.ptr())) {
    return IntegerAmong(py::int_(py::reinterpret_borrow<py::object>(value)), among);
  }
  throw py::type_error("an element is a number, not " +
                       std::string(py::str(py::type::of(value).attr("__name__"))));
}

py::object ValueOf(const pnum_cNumber& number) {
  return detail::VisitElementType(number.DataType().Type(),
                                  [&]<class T>(std::type_identity<T>) -> py::object {
                                    const T& value = *static_cast<const T*>(number.Data());
                                    if constexpr (detail::FamilyOf<T> == detail::Family::Complex) {
                                      return py::cast(std::complex<double>(value.Real(), value.Imaginary()));
                                    } else if constexpr (detail::FamilyOf<T> == detail::Family::Float) {
                                      return py::float_(static_cast<double>(value));
                                    } else {
                                      return py::int_(static_cast<long long>(value));
                                    }
                                  });
}

}  // namespace core
