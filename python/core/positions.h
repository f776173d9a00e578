#pragma once

#include <pybind11/pybind11.h>

namespace core {

namespace py = pybind11;

/// Defines positions, ranges and lists of positions, whose changes are offered to functions of Python.
void DefinePositions(py::module_& module);

}  // namespace core
