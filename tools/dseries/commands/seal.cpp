#include "file/seal.h"

#include <memory>
#include <string>
#include <vector>

#include "cli/progress.h"
#include "commands/commands.h"
#include "file/text.h"
#include "io/console.h"
#include "io/files.h"

namespace dseries {

namespace {

struct Options {
  std::vector<std::string> files;
  bool force = false;
};

void SealFile(const std::string& path, bool renew) {
  Sealed sealed;
  {
    Progress progress("checking", 100);
    sealed = Seal(path, renew, [&](int done, int data) { progress.Show(std::int64_t{100} * done / data); });
  }
  Note("{}: {} sealed{}", path, Count(sealed.sealed, "datum", "data"),
       sealed.before > 0 ? ", " + Count(sealed.before, "matches its checksum", "match their checksums") : "");
}

}  // namespace

void AddSeal(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command =
      *program.add_subcommand("seal", "Store checksums beside a series, which show later changes");
  command.add_option("FILE", options->files, "Series files, or names of several with * in quotes")
      ->required();
  command.add_flag("-f,--force", options->force,
                   "Replace the checksums that are there by those of the data as they are now");
  command.footer(
      "The checksums lie in FILE.crc32c, 4 bytes for each datum and its tag (CRC-32C).\n"
      "'dseries verify' then finds every changed byte of them and names the datum. Data\n"
      "that have checksums already are compared with them; nothing is stored when one\n"
      "does not match, the file is damaged, or the checksums are of other data.\n"
      "'dseries append' goes on storing checksums; programs that do not know of them\n"
      "may read and append as before.\n\n"
      "Example:\n"
      "  dseries seal sst.dseries\n"
      "  dseries verify sst.dseries");
  command.callback([options] {
    const std::vector<std::string> files = Expanded(options->files);
    CheckAll(ForEach(files, [&](const std::string& file) { SealFile(file, options->force); }), files.size());
  });
}

}  // namespace dseries
