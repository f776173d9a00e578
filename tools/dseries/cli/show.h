#pragma once

#include <CLI/CLI.hpp>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "cli/table.h"
#include "file/series.h"
#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>

// How data are shown: their place in the series, their tags, and their elements.

namespace dseries {

/// The files to show.
struct FileList {
  std::vector<std::string> files;
  bool json = false;
};

void AddFiles(CLI::App& command, FileList& list);

/// One line for each datum: linear index, index vector, position vector, tag.
class DatumTable {
 public:
  /// `tag_type` is that of the series.
  DatumTable(const Series& series, unsigned int tag_type);
  void Row(int i) { table_.Row(Cells(i)); }
  /// The headings, and the rows.
  std::string Text() const { return table_.Text(); }
  /// As in Table, for data that are too many to be kept.
  void Measure(int i) { table_.Measure(Cells(i)); }
  std::string Line(int i) const { return table_.Line(Cells(i)); }

 private:
  Table::Cells Cells(int i) const;

  const Series& series_;
  Table table_;
};

nlohmann::ordered_json DatumAsJson(const Series& series, int i);

/// Adds rows that describe the elements: their number, positions and values.
void AddArray(Table& table, const darr_c1DArray& array);
void AddArray(Table& table, const darr_c2DArray& array);
/// The significant digits to show of a value of this type.
int DisplayDigits(dtyp_cDataType type);

/// JSON; bytes that are no UTF-8 are replaced.
std::string JsonText(const nlohmann::ordered_json& json);
/// Writes it to standard output.
void Print(const nlohmann::ordered_json& json);

}  // namespace dseries
