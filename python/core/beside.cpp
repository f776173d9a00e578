#include "beside.h"

#include <chrono>
#include <cstdint>
#include <file/check.h>
#include <file/labels.h>
#include <file/seal.h>
#include <io/system.h>
#include <pybind11/stl.h>
#include <string>

#include "errors.h"

namespace core {

namespace {

py::list TextsOf(const std::vector<std::string>& texts) {
  py::list list;
  for (const std::string& text : texts) list.append(TextOf(text));
  return list;
}

}  // namespace

void DefineBeside(py::module_& module) {
  py::class_<dseries::FileChanges>(module, "FileChanges",
                                   "Changes of a file, as far as the system reports them.")
      .def(py::init<std::string>(), py::arg("path"))
      .def("arm", &dseries::FileChanges::bArmed)
      .def(
          "wait",
          [](dseries::FileChanges& changes, double seconds) {
            const py::gil_scoped_release released;
            changes.bChanged(std::chrono::nanoseconds(static_cast<std::int64_t>(seconds * 1e9)));
          },
          py::arg("seconds"));
  module.def(
      "labels_path", [](const std::string& path) { return py::bytes(dseries::LabelsPath(path)); },
      py::arg("path"));
  module.def(
      "discard_beside",
      [](const std::string& path) {
        dseries::WriteLabels(path, {});
        dseries::RemoveChecksums(path);
      },
      py::arg("path"), "Removes what lies beside a series and is of an earlier one.");
  module.def(
      "read_labels",
      [](const std::string& path) { return py::str(dseries::ReadLabels(path).AsJson().dump()); },
      py::arg("path"));
  module.def(
      "write_labels",
      [](const std::string& path, const std::string& json) {
        dseries::WriteLabels(path, dseries::ParseLabels(json));
      },
      py::arg("path"), py::arg("json"));
  module.def(
      "check",
      [](const std::string& path) {
        dseries::Findings findings;
        {
          const py::gil_scoped_release released;
          findings = dseries::Check(path, [](int, int) {});
        }
        return py::make_tuple(findings.fault_count, TextsOf(findings.faults), TextsOf(findings.notes),
                              findings.slots, findings.valid, findings.whole);
      },
      py::arg("path"));
}

}  // namespace core
