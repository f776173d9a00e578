#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "cli/choice.h"
#include "cli/labels.h"
#include "cli/progress.h"
#include "cli/view.h"
#include "commands/commands.h"
#include "file/coordinates.h"
#include "file/failure.h"
#include "file/header.h"
#include "file/series.h"
#include "file/text.h"
#include "io/console.h"
#include "io/files.h"
#include "io/npy.h"
#include <DataStorage/interfaces/bstr.h>

namespace dseries {

namespace {

struct Options {
  std::string file;
  Choice choice;
  View view;
  Target output;
};

std::vector<cal_cArrayCal> AxesOf(const darr_c1DArray& array) { return {array.Cal().AxisX()}; }
std::vector<cal_cArrayCal> AxesOf(const darr_c2DArray& array) {
  return {array.Cal().AxisX(), array.Cal().AxisY()};
}

/// The extents, X first.
std::vector<int> ExtentsOf(const darr_c1DArray& array) { return {array.NumIndices()}; }
std::vector<int> ExtentsOf(const darr_c2DArray& array) { return {array.NumIndicesX(), array.NumIndicesY()}; }

pnum_cNumber Element(const darr_c1DArray& array, int k) { return array.Value(k); }
pnum_cNumber Element(const darr_c2DArray& array, int k) {
  return array.Value(k % array.NumIndicesX(), k / array.NumIndicesX());
}

/// The shortest text that reads back to the same value.
std::string ValueText(const pnum_cNumber& value) {
  if (value.DataType() == dtyp_Float32) return fmt::format("{}", static_cast<float>(value.Value()));
  return value.StringOut(0, 0).CString();
}

/// The names of the columns: coordinates, positions and values, made unique.
template <class Array>
std::vector<std::string> ColumnNames(std::vector<std::string> names, const Labels& labels) {
  const bool plane = std::is_same_v<Array, darr_c2DArray>;
  names.push_back(LabelText(labels.x, plane ? "position_x" : "position"));
  if (plane) names.push_back(LabelText(labels.y, "position_y"));
  names.push_back(LabelText(labels.value, "value"));
  for (auto name = names.begin(); name != names.end(); ++name) {
    const std::string wanted = *name;
    for (int n = 2; std::find(names.begin(), name, *name) != name; ++n)
      *name = fmt::format("{}_{}", wanted, n);
  }
  return names;
}

std::string CsvLine(const std::vector<std::string>& cells) {
  std::string line;
  for (const std::string& cell : cells) {
    if (!line.empty()) line += ',';
    if (cell.find_first_of(",\"") == std::string::npos) {
      line += cell;
      continue;
    }
    line += '"';
    for (const char c : cell) line += c == '"' ? std::string("\"\"") : std::string(1, c);
    line += '"';
  }
  return line;
}

/// One line for each element. A single datum has no columns for its coordinates.
template <class Array>
class CsvWriter {
 public:
  CsvWriter(const Series& series, const Labels& labels, bool single, OutFile& out)
      : coordinates_(series), single_(single), out_(out) {
    std::vector<std::string> names;
    if (!single) names = coordinates_.Names();
    out_.Write(CsvLine(ColumnNames<Array>(std::move(names), labels)) + '\n');
  }

  void Write(int i, const Array& array) {
    const std::string coordinates = single_ ? "" : CsvLine(coordinates_.Cells(i)) + ',';
    const std::vector<cal_cArrayCal> axes = AxesOf(array);
    const std::vector<int> extents = ExtentsOf(array);
    std::string lines;
    for (int k = 0; k < array.NumIndices(); ++k) {
      lines += coordinates;
      int index = k;
      for (std::size_t axis = 0; axis < axes.size(); index /= extents[axis++]) {
        lines += PositionText(axes[axis].Position(index % extents[axis])) + ',';
      }
      lines += ValueText(Element(array, k));
      lines += '\n';
    }
    out_.Write(lines);
  }

 private:
  CoordinateColumns coordinates_;
  bool single_;
  OutFile& out_;
};

/// One record for each datum.
template <class Array>
class NpyWriter {
 public:
  NpyWriter(const Series& series, std::optional<int> records, OutFile& out)
      : coordinates_(series), records_(records), out_(out) {}

  void Write(int i, const Array& array) {
    const std::vector<int> extents = ExtentsOf(array);
    if (!type_) {
      type_ = array.DataType();
      extents_ = extents;
      out_.Write(NpyHeader(Fields(), records_));
    } else if (array.DataType() != *type_ || extents != extents_) {
      Fail(
          "datum {} has other elements than those before it: all data in a .npy file need {} of type {}; "
          "choose fewer data, or write .csv",
          i, fmt::join(extents_, " x "), ElementName(*type_));
    }
    bstr_cMemory_ostream record;
    coordinates_.Write(record, i);
    const std::vector<cal_cArrayCal> axes = AxesOf(array);
    for (std::size_t axis = 0; axis < axes.size(); ++axis) {
      for (int k = 0; k < extents[axis]; ++k) bstr_WriteFields(record, axes[axis].Position(k));
    }
    out_.Write(Text(record));
    bstr_cMemory_ostream raw;  // type and extents, then the elements
    static_cast<const Numbers&>(array).Numbers::Write(raw);
    out_.Write(Text(raw).substr(sizeof(std::uint16_t) + sizeof(std::int32_t) * axes.size()));
  }

 private:
  using Numbers =
      std::conditional_t<std::is_same_v<Array, darr_c2DArray>, parr_c2DNumberArray, parr_c1DNumberArray>;

  static std::string_view Text(const bstr_cMemory_ostream& out) {
    return {static_cast<const char*>(out.Data()), static_cast<std::size_t>(out.Size())};
  }

  std::vector<NpyField> Fields() const {
    const std::vector<std::string> names = ColumnNames<Array>(coordinates_.Names(), {});
    std::vector<std::string> types = coordinates_.NpyTypes();
    std::vector<std::vector<int>> extents(types.size());
    for (const int extent : extents_) {
      types.push_back("<f8");
      extents.push_back({extent});
    }
    types.push_back(NpyType(*type_));
    extents.push_back({extents_.rbegin(), extents_.rend()});
    std::vector<NpyField> fields;
    for (std::size_t f = 0; f < names.size(); ++f) fields.push_back({names[f], types[f], extents[f]});
    return fields;
  }

  CoordinateColumns coordinates_;
  std::optional<int> records_;
  OutFile& out_;
  std::optional<dtyp_cDataType> type_;
  std::vector<int> extents_;
};

template <class Array, class Writer>
void WriteData(DataSeries<Array>& series, const std::vector<int>& data, const View& view, Writer writer) {
  Progress progress("exporting", static_cast<std::int64_t>(data.size()));
  std::int64_t done = 0;
  for (const int i : data) {
    writer.Write(i, Cut(series.Datum(i), view));
    progress.Show(++done);
  }
}

template <class Array>
void ExportSeries(const Options& options, bool npy) {
  DataSeries<Array> series(options.file, bstr_OpenReadOnly);
  const std::vector<int> data = Chosen(series, options.choice);
  const bool single = !options.choice.bNone() && data.size() == 1;
  if (data.empty()) Fail("{} holds no data yet", options.file);
  const Labels labels = LabelsOf(options.file);
  OutFile out(options.output, options.file);
  if (npy) {
    const std::optional<int> records = single ? std::nullopt : std::optional(static_cast<int>(data.size()));
    WriteData(series, data, options.view, NpyWriter<Array>(series, records, out));
  } else {
    WriteData(series, data, options.view, CsvWriter<Array>(series, labels, single, out));
  }
  out.Finish();
  if (options.output.path != "-") {
    Note("{}: {}", options.output.path, Count(static_cast<std::int64_t>(data.size()), "datum", "data"));
  }
}

void Export(const Options& options) {
  const std::string& path = options.output.path;
  if (path != "-" && !bStream(path)) CheckEnding(path, "data are exported", {".csv", ".npy"});
  const bool npy = Extension(path) == ".npy";
  VisitDataType(KnownDataType(options.file),
                [&]<class Array>(std::type_identity<Array>) { ExportSeries<Array>(options, npy); });
}

}  // namespace

void AddExport(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("export", "Write data as a table for other programs");
  command.add_option("FILE", options->file, "The series file")->required();
  AddChoice(command, options->choice, Many::Yes);
  AddRegion(command, options->view);
  AddTarget(command, options->output,
            "Text with commas (.csv), or records of NumPy (.npy). - is text on standard output")
      ->required();
  command.footer(
      "Text has a line for each element: the place and time of its datum (unless only\n"
      "one datum was chosen), its position and its value, under the labels of the\n"
      "series. NumPy gets a record for each datum: its place, its time, and all of its\n"
      "positions and values, always named position and value.\n\n"
      "Example: a whole raster, a datum of it, and how Python reads them\n"
      "  dseries export sst.dseries -o sst.npy\n"
      "  dseries export sst.dseries --position 181,1 -o place.csv\n"
      "    sst = numpy.load('sst.npy'); sst['longitude'], sst['value'].mean(axis=1)\n"
      "    place = pandas.read_csv('place.csv'); place.plot('position', 'value')");
  command.callback([options] { Export(*options); });
}

}  // namespace dseries
