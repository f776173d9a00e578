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
  void Row(int i);
  std::string Text() const { return table_.Text(); }

 private:
  const Series& series_;
  Table table_;
};

nlohmann::ordered_json DatumAsJson(const Series& series, int i);

/// Adds rows that describe the elements: their number, positions and values.
void AddArray(Table& table, const darr_c1DArray& array);
void AddArray(Table& table, const darr_c2DArray& array);
/// The significant digits to show of a value of this type.
int DisplayDigits(dtyp_cDataType type);

/// Writes JSON to standard output; invalid UTF-8 is replaced.
void Print(const nlohmann::ordered_json& json);

}  // namespace dseries
