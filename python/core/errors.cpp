#include "errors.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <file/failure.h>

#include <DataStorage/interfaces/arrerror.h>
#include <DataStorage/interfaces/expt.h>
#include <DataStorage/series/fileseries.h>

namespace core {

namespace {

PyObject* error_class = nullptr;  // owned by the module, which is never unloaded

void Raise(PyObject* type, std::string_view message) { PyErr_SetObject(type, TextOf(message).ptr()); }

/// What went wrong, without the place in the sources of the library.
std::string_view WithoutPlace(std::string_view what) {
  const std::size_t place = what.find(": ");
  return place == what.npos ? what : what.substr(place + 2);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature that pybind11 calls
void Translate(std::exception_ptr thrown) {
  try {
    if (thrown) std::rethrow_exception(thrown);
  } catch (const SystemFailure& failure) {
    const py::tuple arguments =
        py::make_tuple(failure.Number(), TextOf(failure.what()), TextOf(failure.Path()));
    PyErr_SetObject(PyExc_OSError, arguments.ptr());
  } catch (const arr_cIndexException& exception) {
    Raise(PyExc_IndexError, WithoutPlace(exception.what()));
  } catch (const arr_cSizeException& exception) {
    Raise(PyExc_ValueError, WithoutPlace(exception.what()));
  } catch (const expt_cUserException& exception) {
    Raise(error_class, std::string_view(exception.Message()));
  } catch (const expt_cProgramException& exception) {
    Raise(error_class, WithoutPlace(exception.what()));
  } catch (const dseries::Failure& failure) {
    Raise(error_class, failure.what());
  }
}

}  // namespace

py::str TextOf(std::string_view bytes) {
  PyObject* text = PyUnicode_DecodeFSDefaultAndSize(bytes.data(), static_cast<py::ssize_t>(bytes.size()));
  if (text == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(text);
}

void DefineErrors(py::module_& module) {
  error_class = PyErr_NewExceptionWithDoc(
      "datastorage.Error",
      "A failure that no exception of Python describes: a damaged file, a disk that is full, limits that\n"
      "contradict each other. The text says what happened.",
      nullptr, nullptr);
  if (error_class == nullptr) throw py::error_already_set();
  module.attr("Error") = py::handle(error_class);
  py::register_exception_translator(Translate);
}

}  // namespace core
