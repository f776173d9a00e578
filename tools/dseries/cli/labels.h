#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "file/failure.h"
#include "file/labels.h"
#include "file/seal.h"
#include "io/interrupt.h"
#include "io/newfile.h"

namespace dseries {

/// Changes of labels that a command line gives; empty members were not given.
struct LabelEdits {
  std::optional<std::string> title, x, y, value;  ///< an empty text removes
  std::vector<std::string> set;                   ///< name=value
  std::vector<std::string> unset;                 ///< names

  bool bNone() const { return !title && !x && !y && !value && set.empty() && unset.empty(); }
};

/// Adds the options for all but `unset`.
void AddLabelEdits(CLI::App& command, LabelEdits& edits);
/// Changes the labels of a series of data of this type. Throws Failure when they cannot be changed so.
void Edit(Labels& labels, const LabelEdits& edits, unsigned int data_type);

/// The labels of a series. Damaged ones are reported, once for each command, and none are returned.
Labels LabelsOf(const std::string& series);
/// The title of figures: that of the labels, or the name of the file.
std::string TitleOf(const Labels& labels, const std::string& file);
/// WriteLabels, which no signal interrupts. Not for use while another Deferral lives.
void SaveLabels(const std::string& series, const Labels& labels);

/// MakeSeries for a series with labels. Labels that are there already are replaced like the series: with
/// `force`, also by none, as they describe other data.
template <class Write>
void MakeLabelledSeries(const std::string& name, bool force, const Labels& labels, Write write) {
  CheckSeriesName(name);
  const std::string path = LabelsPath(name);
  if (bExists(path) && !force)
    Fail("{} exists already and labels other data; remove it, or use 'create --force'", path);
  std::optional<Deferral> deferral;
  MakeSeries(name, force, [&](const std::string& unfinished) {
    write(unfinished);
    deferral.emplace();
    WriteLabels(name, {});  // at no time do the old labels lie beside the new series
    RemoveChecksums(name);
  });
  try {
    WriteLabels(name, labels);
  } catch (const Failure& failure) {
    Fail("{} was made, but {}", name, failure.what());
  }
}

}  // namespace dseries
