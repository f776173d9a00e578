#include "program.h"

#include <fmt/core.h>
#include <string>

#include "cli/help.h"
#include "cli/usage.h"
#include "commands/commands.h"

namespace dseries {

namespace {

void AddHelp(CLI::App& program) {
  auto name = std::make_shared<std::string>();
  CLI::App& command = *program.add_subcommand("help", "Show the help of a command");
  command.add_option("COMMAND", *name, "The command; default: the program");
  command.footer("Example:\n  dseries help append");
  command.callback([&program, name] {
    const CLI::App* meant = &program;
    if (!name->empty()) {
      const auto fitting =
          program.get_subcommands([&](CLI::App* other) { return other->get_name() == *name; });
      if (fitting.empty()) throw CLI::ValidationError(NoSuchCommand(program, *name));
      meant = fitting.front();
    }
    const std::string usage = program.get_name() + (name->empty() ? "" : ' ' + *name);
    fmt::print("{}", HelpFormatter().make_help(meant, usage, CLI::AppFormatMode::Normal));
  });
}

}  // namespace

std::unique_ptr<CLI::App> MakeProgram() {
  auto program =
      std::make_unique<CLI::App>("Keeps measured data in series files, and finds them again.", "dseries");
  program->formatter(std::make_shared<HelpFormatter>());
  program->set_version_flag("--version", "dseries " DSERIES_VERSION, "Print the version and exit");
  program->require_subcommand(0, 1);
  program->footer(
      "From a text of numbers to a picture:\n"
      "  dseries append spectra.dseries spectrum.txt --new\n"
      "  dseries plot spectra.dseries\n"
      "  dseries plot spectra.dseries -o spectrum.png\n\n"
      "'dseries COMMAND --help' explains a command and shows an example.");
  program->callback([&program = *program] {
    if (program.get_subcommands().empty()) throw CLI::CallForHelp();
  });
  for (const auto add : {AddCreate, AddAppend, AddLabel, AddInfo, AddList, AddWatch, AddGet, AddFind, AddPlot,
                         AddExport, AddMap, AddImage, AddConvert, AddVerify, AddSeal, AddRepair, AddHelp}) {
    add(*program);
  }
  return program;
}

}  // namespace dseries
