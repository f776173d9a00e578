#include <pybind11/pybind11.h>

#include "array.h"
#include "beside.h"
#include "elements.h"
#include "errors.h"
#include "file.h"
#include "positions.h"

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
}
