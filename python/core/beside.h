#pragma once

#include <pybind11/pybind11.h>

namespace core {

namespace py = pybind11;

/// Defines what concerns a series file as a whole: its labels, and its check.
void DefineBeside(py::module_& module);

}  // namespace core
