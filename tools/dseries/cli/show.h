#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "cli/table.h"
#include "file/labels.h"
#include "file/series.h"
#include "file/structure.h"
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

/// The lines of data: linear index, index vector, position vector, tag. Data are looked at twice: first
/// whether all can be read, and how wide their columns are, then to write each without keeping it.
class DatumTable {
 public:
  /// `tag_type` is that of the series.
  DatumTable(const Series& series, unsigned int tag_type);
  /// The headings.
  std::string Text() const { return table_.Text(); }
  /// As in Table, for data that are too many to be kept.
  void Measure(int i) { table_.Measure(Cells(i)); }
  std::string Line(int i) const { return table_.Line(Cells(i)); }
  /// Gives room to the places of data that will come.
  void MeasureSlots();

 private:
  Table::Cells Cells(int i) const;

  const Series& series_;
  Table table_;
};

/// Writes a line for each of the data, or for all, to standard output, after `before`. Takes no more
/// memory for many data than for few, and writes nothing when a datum cannot be read.
void PrintTable(const Series& series, const std::optional<std::vector<int>>& data,
                const std::string& before = "");
/// The same as an array in JSON without a line end, the lines of which begin with `margin`.
void PrintJson(const Series& series, const std::optional<std::vector<int>>& data,
               const std::string& margin = "", const std::string& before = "");

/// Adds rows that describe the elements: their number, positions and values.
void AddArray(Table& table, const darr_c1DArray& array, const Labels& labels);
void AddArray(Table& table, const darr_c2DArray& array, const Labels& labels);
/// Adds a row for each attribute.
void AddAttributes(Table& table, const Labels& labels);
/// "0 to 7, mean 3.5, 2 not a number".
std::string StatisticsText(const Statistics& statistics, int digits);
/// The significant digits to show of a value of this type.
int DisplayDigits(dtyp_cDataType type);

/// JSON; bytes that are no UTF-8 are replaced.
std::string JsonText(const nlohmann::ordered_json& json);
/// Writes it to standard output.
void Print(const nlohmann::ordered_json& json);

}  // namespace dseries
