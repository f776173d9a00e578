#include "cli/labels.h"

#include <set>

#include "file/failure.h"
#include "file/text.h"
#include "io/console.h"
#include "io/files.h"
#include <DataStorage/interfaces/constants.h>

namespace dseries {

namespace {

std::string Utf8(const std::string& text) { return Printable(text); }

}  // namespace

void AddLabelEdits(CLI::App& command, LabelEdits& edits) {
  command.add_option("--title", edits.title, "What the data are; the title of figures")->type_name("TEXT");
  command
      .add_option("--x", edits.x,
                  "Name and units of the X axis within a datum, such as 'Energy (eV)'; '' removes it")
      ->type_name("LABEL");
  command.add_option("--y", edits.y, "The same of the Y axis, for 2D data")->type_name("LABEL");
  command.add_option("--value", edits.value, "The same of the values, such as counts")->type_name("LABEL");
  command
      .add_option("--set", edits.set,
                  "Any other attribute, such as operator='J. Doe'; may be repeated. true, false and numbers "
                  "are stored as such")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false);
}

void Edit(Labels& labels, const LabelEdits& edits, unsigned int data_type) {
  if (edits.y && !edits.y->empty() && data_type == obty_1DDataArrayType) {
    Fail("1D data have no Y axis: --x is that of their positions, --value that of their values");
  }
  if (edits.title) labels.title = Utf8(*edits.title);
  if (edits.x) labels.x = ParseLabel(Utf8(*edits.x));
  if (edits.y) labels.y = ParseLabel(Utf8(*edits.y));
  if (edits.value) labels.value = ParseLabel(Utf8(*edits.value));
  for (const std::string& given : edits.set) {
    const std::string text = Utf8(given);
    const std::size_t equals = text.find('=');
    if (equals == text.npos || equals == 0) Fail("'{}' is not an attribute; write it as name=value", text);
    labels.attributes[text.substr(0, equals)] = ParseAttribute(text.substr(equals + 1));
  }
  for (const std::string& name : edits.unset) {
    if (labels.attributes.erase(Utf8(name)) == 0) Fail("there is no attribute '{}'", Utf8(name));
  }
}

Labels LabelsOf(const std::string& series) {
  static std::set<std::string> reported;
  try {
    return ReadLabels(series);
  } catch (const Failure& failure) {
    if (reported.insert(series).second) Complain("warning: {}", failure.what());
    return {};
  }
}

std::string TitleOf(const Labels& labels, const std::string& file) {
  return labels.title.empty() ? FileName(file) : Utf8(labels.title);
}

void SaveLabels(const std::string& series, const Labels& labels) {
  const Deferral deferral;
  WriteLabels(series, labels);
}

}  // namespace dseries
