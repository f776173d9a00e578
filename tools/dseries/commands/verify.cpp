#include <fmt/format.h>
#include <memory>
#include <string>
#include <vector>

#include "cli/progress.h"
#include "commands/commands.h"
#include "file/check.h"
#include "file/failure.h"
#include "file/header.h"
#include "file/labels.h"
#include "file/text.h"
#include "io/files.h"
#include <DataStorage/interfaces/constants.h>

namespace dseries {

namespace {

/// Why the labels beside a file cannot be used; empty when they can.
std::string LabelFault(const std::string& path, std::vector<std::string>& notes) {
  try {
    const Labels labels = ReadLabels(path);
    if (!labels.y.bEmpty() && ReadHeader(path).dataType == obty_1DDataArrayType) {
      notes.push_back("the labels name a Y axis, and 1D data have none");
    }
    return "";
  } catch (const Failure& failure) {
    return failure.what();
  }
}

/// What the checksums show of the whole data, behind what the structure of the file does.
std::string ChecksumText(const Findings& findings) {
  switch (findings.checksums) {
    case dtsr_NoChecksums:
      return "; no checksums";
    case dtsr_OtherChecksums:
      return "; its checksums are damaged or of other data";
    default:
      break;
  }
  const int unchecked = findings.whole - findings.matching;
  if (findings.whole == 0) return "; checksums of no data yet";
  if (unchecked == 0) return "; all match their checksums";
  return fmt::format("; {}, {} none",
                     Count(findings.matching, "matches its checksum", "match their checksums"),
                     Count(unchecked, "has", "have"));
}

void Verify(const std::string& path) {
  Findings findings;
  {
    Progress progress("verifying", 100);
    findings = Check(path, [&](int done, int valid) { progress.Show(std::int64_t{100} * done / valid); });
  }
  const std::string label_fault = LabelFault(path, findings.notes);
  for (const std::string& note : findings.notes) fmt::print("{}: note: {}\n", path, note);
  for (const std::string& fault : findings.faults) fmt::print("{}: {}\n", path, fault);
  if (const auto unlisted = findings.fault_count - static_cast<std::int64_t>(findings.faults.size());
      unlisted > 0) {
    fmt::print("{}: and {}\n", path, Count(unlisted, "more fault", "more faults"));
  }
  if (!label_fault.empty()) fmt::print("{}: {}\n", path, label_fault);
  if (findings.fault_count > 0) {
    Fail("{} is damaged: {}, {} of {} data are whole{}; 'dseries repair {} -o NEW' saves those", path,
         Count(findings.fault_count, "fault", "faults"), findings.whole, findings.valid,
         findings.checksums == dtsr_NoChecksums ? "" : ChecksumText(findings), ShellWord(path));
  }
  fmt::print("{}: whole, {} of {} slots filled{}\n", path, findings.valid, findings.slots,
             ChecksumText(findings));
  if (!label_fault.empty()) Fail("the labels of {} are damaged", path);
}

/// Checks all files before it throws.
void VerifyAll(const std::vector<std::string>& names) {
  const std::vector<std::string> files = Expanded(names);
  if (files.size() == 1) return Verify(files.front());
  int bad = 0;
  for (const std::string& file : files) {
    try {
      Verify(file);
    } catch (const Failure& failure) {
      fmt::print("{}\n", failure.what());
      ++bad;
    }
  }
  if (bad > 0) Fail("{} of {} files are not whole", bad, files.size());
}

}  // namespace

void AddVerify(CLI::App& program) {
  auto files = std::make_shared<std::vector<std::string>>();
  CLI::App& command = *program.add_subcommand("verify", "Check a series file for damage");
  command.add_option("FILE", *files, "Series files, or names of several with * in quotes")->required();
  command.footer(
      "Lists all faults; with any, the exit status is 1. It compares header,\n"
      "dimensions, offset lists, data and tags with each other, the data and tags with\n"
      "their checksums ('dseries seal'), and reads the labels beside the file. Without\n"
      "checksums it cannot detect a changed value, position or time.\n\n"
      "Example:\n"
      "  dseries verify sst.dseries months.dseries");
  command.callback([files] { VerifyAll(*files); });
}

}  // namespace dseries
