#include "program.h"

#include "commands.h"
#include "help.h"

namespace dseries {

std::unique_ptr<CLI::App> MakeProgram() {
  auto program =
      std::make_unique<CLI::App>("Keeps measured data in series files, and finds them again.", "dseries");
  program->formatter(std::make_shared<HelpFormatter>());
  program->set_version_flag("--version", "dseries " DSERIES_VERSION, "Tell the version and exit");
  program->require_subcommand(0, 1);
  program->footer("'dseries COMMAND --help' explains a command and shows an example of it.");
  for (const auto add : {AddCreate, AddAppend, AddInfo, AddList, AddGet, AddFind, AddPlot, AddExport, AddMap,
                         AddImage, AddConvert, AddVerify, AddRepair}) {
    add(*program);
  }
  return program;
}

}  // namespace dseries
