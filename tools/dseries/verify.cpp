#include <fmt/format.h>
#include <memory>
#include <string>

#include "check.h"
#include "commands.h"
#include "failure.h"
#include "format.h"
#include "progress.h"

namespace dseries {

namespace {

void Verify(const std::string& path) {
  Findings findings;
  {
    Progress progress("verifying", 100);
    findings = Check(path, [&](int done, int valid) { progress.Show(std::int64_t{100} * done / valid); });
  }
  for (const std::string& note : findings.notes) fmt::print("{}: note: {}\n", path, note);
  for (const std::string& fault : findings.faults) fmt::print("{}: {}\n", path, fault);
  if (const auto untold = findings.fault_count - static_cast<std::int64_t>(findings.faults.size());
      untold > 0) {
    fmt::print("{}: and {}\n", path, Count(untold, "more fault", "more faults"));
  }
  if (findings.fault_count > 0) {
    Fail("{} is damaged: {}, {} of {} data are whole", path, Count(findings.fault_count, "fault", "faults"),
         findings.whole, findings.valid);
  }
  fmt::print("{}: whole, {} of {} slots filled\n", path, findings.valid, findings.slots);
}

}  // namespace

void AddVerify(CLI::App& program) {
  auto file = std::make_shared<std::string>();
  CLI::App& command =
      *program.add_subcommand("verify", "Check that everything in a series file fits together");
  command.add_option("FILE", *file, "The series file")->required();
  command.footer(
      "Tells everything that is broken; the exit status is 1 then.\n\n"
      "Example:\n"
      "  dseries verify sst.dseries");
  command.callback([file] { Verify(*file); });
}

}  // namespace dseries
