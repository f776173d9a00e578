#pragma once

#include <pybind11/numpy.h>

#include <DataStorage/numbers/datatype.h>
#include <DataStorage/numbers/pnumber.h>

namespace core {

namespace py = pybind11;

/// Makes the tables of element types; called once, when the module is imported.
void DefineElements(py::module_& module);

/// The NumPy type of elements.
py::dtype NumpyType(dtyp_cDataType type);
/// The element type of a NumPy type in the byte order of this machine; dtyp_NoType for all others.
dtyp_cDataType ElementType(const py::dtype& type);
/// The element type that a caller names: a NumPy type or what numpy.dtype takes, or a name of the library
/// such as "ubin16". Throws TypeError, which lists the types, for others.
dtyp_cDataType ElementTypeNamed(const py::object& type);

/// The elements of any array-like object: a contiguous array of one of the ten types, of one or two
/// dimensions. Without a type, a sequence of Python numbers takes a type that holds them. Throws TypeError
/// for other types and ValueError for values that the requested integer type does not hold exactly.
py::array ElementsOf(const py::object& data, const py::object& type);

/// The same, to be stored among elements of a type: ints of Python take that type if it holds them exactly.
py::array ElementsAmong(const py::object& data, dtyp_cDataType among);

/// The smallest element type that holds every value of both exactly; of 4-byte and 8-byte types that need
/// more, the largest one.
dtyp_cDataType CommonType(dtyp_cDataType a, dtyp_cDataType b);

/// A number as Python has it, to be stored among elements of a type: that type where it holds an int exactly,
/// the type of a NumPy scalar, or else what the library takes for an int, a float and a complex number.
pnum_cNumber NumberOf(const py::handle& value, dtyp_cDataType among);
/// The value as int, float or complex.
py::object ValueOf(const pnum_cNumber& number);

}  // namespace core
