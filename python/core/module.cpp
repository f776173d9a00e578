#include <pybind11/pybind11.h>
#include <string>

#include "array.h"
#include "beside.h"
#include "elements.h"
#include "errors.h"
#include "file.h"
#include "positions.h"

namespace core {

namespace {

/// The way of protocol 2 for all of them: older ones make objects without a constructor, which aborts the
/// process for compiled classes.
void PickleByProtocol2(const py::module_& module) {
  const py::object make = py::module_::import("copyreg").attr("__newobj__");
  for (const auto& [name, type] : py::dict(module.attr("__dict__"))) {
    if (!py::isinstance<py::type>(type) || type.is(module.attr("Error"))) continue;
    type.attr("__reduce__") = py::cpp_function(
        [make](const py::object& self) {
          const py::type kind = py::type::of(self);
          if (!py::hasattr(self, "__setstate__"))
            throw py::type_error("cannot pickle " + std::string(py::repr(kind)));
          return py::make_tuple(make, py::make_tuple(kind), self.attr("__getstate__")());
        },
        py::is_method(type));
  }
}

}  // namespace

}  // namespace core

PYBIND11_MODULE(_core, module) {
  pybind11::options options;
  options.disable_function_signatures();  // the docstrings begin with them
  module.doc() = "The compiled part of datastorage.";
  module.attr("__version__") = DATASTORAGE_VERSION;
  core::DefineErrors(module);
  core::DefineElements(module);
  core::DefineArray(module);
  core::DefineFile(module);
  core::DefineBeside(module);
  core::DefinePositions(module);
  core::PickleByProtocol2(module);
}
