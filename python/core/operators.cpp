#include <string>

#include "array.h"

namespace core {

void DefineOperators(py::class_<Array>& array) {
  const auto define = [&](const std::string& name) {
    array.def(("__" + name + "__").c_str(),
              [name = "__" + name + "__"](Array& a, const py::object& other) {
                return py::object(ViewOf(a.Free()).attr(name.c_str())(other));
              },
              py::is_operator());
  };
  for (const char* const name : {"eq", "ne", "lt", "le", "gt", "ge"}) define(name);
  for (const char* const name : {"add", "sub", "mul", "truediv", "floordiv", "mod", "pow"}) {
    define(name);
    define(std::string("r") + name);
    array.def((std::string("__i") + name + "__").c_str(),
              [name = std::string("__") + name + "__"](const py::object& self, const py::object& other) {
                auto& a = self.cast<Array&>();
                SetItem(a, py::ellipsis(), ViewOf(a.Free()).attr(name.c_str())(other));
                return self;
              },
              py::is_operator());
  }
  for (const char* const name : {"__neg__", "__pos__", "__abs__"}) {
    array.def(name, [name](Array& a) { return py::object(ViewOf(a.Free()).attr(name)()); });
  }
  array.attr("__hash__") = py::none();
}

}  // namespace core
