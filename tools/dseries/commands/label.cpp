#include <cstdint>
#include <fmt/format.h>
#include <memory>
#include <string>
#include <utility>

#include "cli/labels.h"
#include "cli/show.h"
#include "cli/table.h"
#include "commands/commands.h"
#include "file/header.h"
#include "file/text.h"

namespace dseries {

namespace {

struct Options {
  std::string file;
  LabelEdits edits;
  bool json = false;
};

void Show(const std::string& file, const Labels& labels) {
  Table table({Table::Left, Table::Left});
  if (!labels.title.empty()) table.Row({"title", Printable(labels.title)});
  for (const auto& [name, label] : {std::pair("x", &labels.x), {"y", &labels.y}, {"value", &labels.value}}) {
    if (!label->bEmpty()) table.Row({name, LabelText(*label)});
  }
  AddAttributes(table, labels);
  const std::string text = table.Text(2);
  fmt::print("{}{}\n{}", file, text.empty() ? ": no labels" : "", text);
}

void ShowOrChange(const Options& options) {
  const std::uint32_t data_type = ReadHeader(options.file).dataType;
  Labels labels = ReadLabels(options.file);  // damaged ones are not replaced
  if (!options.edits.bNone()) {
    Edit(labels, options.edits, data_type);
    SaveLabels(options.file, labels);
  }
  options.json ? Print(labels.AsJson()) : Show(options.file, labels);
}

}  // namespace

void AddLabel(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command =
      *program.add_subcommand("label", "Name the axes, the values and the circumstances of a series");
  command.add_option("FILE", options->file, "The series file")->required();
  AddLabelEdits(command, options->edits);
  command.add_option("--unset", options->edits.unset, "Remove an attribute; may be repeated")
      ->type_name("NAME")
      ->allow_extra_args(false);
  command.add_flag("--json", options->json, "Write JSON");
  command.footer(
      "Shows the labels, after a change or without one. They appear in figures, tables\n"
      "and 'info'. They lie in a text beside the series, NAME.dseries.json, that can\n"
      "also be written by hand. 'convert' and 'repair' copy it; copy it along with the\n"
      "series.\n\n"
      "Example:\n"
      "  dseries label spectra.dseries --x 'Energy (eV)' --value counts \\\n"
      "    --set operator='J. Doe' --set exposure_s=0.5\n"
      "  dseries label spectra.dseries");
  command.callback([options] { ShowOrChange(*options); });
}

}  // namespace dseries
