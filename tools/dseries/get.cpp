#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "commands.h"
#include "dimensions.h"
#include "failure.h"
#include "format.h"
#include "header.h"
#include "series.h"
#include "show.h"
#include <DataStorage/data/asciirw.h>
#include <DataStorage/data/darray1d.h>

namespace dseries {

namespace {

struct Options {
  std::string file;
  int datum = -1;
  std::vector<int> index;
  std::vector<double> position;
  std::string output;
  int precision = 0;
};

int Find(const Series& series, const Options& options) {
  int i = options.datum;
  if (!options.index.empty()) i = LinearIndex(series.DimensionArray(), options.index);
  if (!options.position.empty()) i = LinearIndex(series.DimensionArray(), options.position);
  if (i >= series.Size()) Fail("there is no slot {}: the last one is {}", i, series.Size() - 1);
  if (i >= series.NextWriteIndex()) {
    Fail("slot {} is empty: {} of {} are filled", i, series.NextWriteIndex(), series.Size());
  }
  return i;
}

/// Significant digits in the shortest text that reads back to the same value.
template <class T>
int Digits(T value) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific).ptr;
  return static_cast<int>(
      std::count_if(text, std::find(text, end, 'e'), [](char c) { return c >= '0' && c <= '9'; }));
}

/// As many digits as all values need to be read back unchanged, and positions to a ten-thousandth of a step.
int PrecisionFor(const darr_c1DArray& array) {
  const int n = array.NumIndices();
  const double farthest = std::max(std::fabs(array.Cal().PositionX(0)), std::fabs(array.Cal().PositionX(n)));
  const double steps = farthest / std::fabs(array.DeltaX());
  constexpr double most = std::numeric_limits<double>::max_digits10;
  int digits = static_cast<int>(steps >= 1 ? std::min(std::floor(std::log10(steps)) + 5, most) : 5);
  const bool narrow = array.DataType() == dtyp_Float32;
  for (int i = 0; i < n; ++i) {
    const double value = array.Value(i).Value();
    digits = std::max(digits, narrow ? Digits(static_cast<float>(value)) : Digits(value));
  }
  return digits;
}

void WriteColumns(const darr_c1DArray& array, const Options& options) {
  std::ostringstream text;
  const int precision = options.precision > 0 ? options.precision : PrecisionFor(array);
  if (!asrw_WriteTwoColumn(text, array, precision, 0)) Fail("there is not enough memory");
  if (options.output == "-") {
    fmt::print("{}", text.view());
    return;
  }
  std::error_code ignored;
  if (std::filesystem::equivalent(options.output, options.file, ignored)) {
    Fail("{} is the series itself", options.output);
  }
  std::ofstream out(options.output, std::ios::binary);
  if (!(out << text.view()).flush()) Fail("{} cannot be written", options.output);
}

std::string Elements(const darr_c1DArray& array) {
  const int n = array.NumIndices();
  std::string count = Count(n, "element", "elements") + " of type " + ElementName(array.DataType());
  if (n == 0) return count;
  return fmt::format("{}, from {} to {} in steps of {}", count, NumberText(array.Cal().PositionX(0)),
                     NumberText(array.Cal().PositionX(n - 1)), NumberText(array.DeltaX()));
}

/// Those that mean something.
int DisplayDigits(const darr_c1DArray& array) { return array.DataType() == dtyp_Float32 ? 7 : 10; }

std::string Values(const darr_c1DArray& array) {
  double low = std::numeric_limits<double>::infinity(), high = -low, sum = 0;
  int numbers = 0;
  for (int i = 0; i < array.NumIndices(); ++i) {
    const double value = array.Value(i).Value();
    if (std::isnan(value)) continue;
    low = std::min(low, value);
    high = std::max(high, value);
    sum += value;
    ++numbers;
  }
  if (numbers == 0) return "none that are numbers";
  const int digits = DisplayDigits(array);
  std::string text = fmt::format("{} to {}, mean {}", NumberText(low, digits), NumberText(high, digits),
                                 NumberText(sum / numbers, digits));
  if (const int others = array.NumIndices() - numbers; others > 0) {
    text += fmt::format(", {} not a number", others);
  }
  return text;
}

/// All elements of a short array, both ends of a long one.
std::string Columns(const darr_c1DArray& array) {
  constexpr int short_array = 24, ends = 8;
  const int n = array.NumIndices();
  const int digits = DisplayDigits(array);
  Table table({Table::Right, Table::Right});
  table.Row({"position", "value"});
  for (int i = 0; i < n; ++i) {
    if (n > short_array && i == ends) {
      table.Row({"...", "..."});
      i = n - ends;
    }
    table.Row({NumberText(array.Cal().PositionX(i)), NumberText(array.Value(i).Value(), digits)});
  }
  return table.Text(2);
}

void Show(const Series& series, int i, const darr_c1DArray& array) {
  const dtsr_cDimensionArray& dimensions = series.DimensionArray();
  const arr_cC_Array<int> index = dimensions.IndexPosition(i);
  const arr_cC_Array<double> position = dimensions.Position(i);
  const auto tag = series.Tag(i);
  Table table({Table::Left, Table::Left});
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    table.Row({NameOf(dimensions, d),
               fmt::format("{} (index {})",
                           WithUnits(NumberText(position[d]), dimensions.Dimension(d).Units()), index[d])});
  }
  table.Row({"time", TimeText(tag->Time())});
  if (const auto* place = PositionOf(*tag)) {
    table.Row({"tag", fmt::format("{}, {}", NumberText(place->X()), NumberText(place->Y()))});
  }
  table.Row({"data", Elements(array)});
  table.Row({"values", Values(array)});
  fmt::print("datum {} of {}\n{}\n{}", i, series.FilePath().CString(), table.Text(2), Columns(array));
}

void Get(const Options& options) {
  if (const Header header = ReadHeader(options.file); header.data_type != darr_c1DArray::DataTypeID()) {
    Fail("{} holds {}, not {}", options.file, DataTypeName(header.data_type),
         DataTypeName(darr_c1DArray::DataTypeID()));
  }
  DataSeries<darr_c1DArray> series(options.file, bstr_OpenReadOnly);
  const int i = Find(series, options);
  const darr_c1DArray array = series.Datum(i);
  if (options.output.empty()) {
    Show(series, i, array);
  } else {
    WriteColumns(array, options);
  }
}

}  // namespace

void AddGet(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("get", "Show a datum, or write it as columns of text");
  command.add_option("FILE", options->file, "The series file")->required();
  CLI::Option* datum =
      command.add_option("DATUM", options->datum, "Linear index of the datum: 0 is the one stored first")
          ->check(CLI::NonNegativeNumber);
  CLI::Option* index = command.add_option("-i,--index", options->index, "Its index along each dimension")
                           ->type_name("I,J...")
                           ->delimiter(',')
                           ->allow_extra_args(false);
  CLI::Option* position =
      command.add_option("-p,--position", options->position, "Its position along each dimension")
          ->type_name("X,Y...")
          ->delimiter(',')
          ->allow_extra_args(false);
  command
      .add_option("-o,--output", options->output, "Write positions and values as text; - is standard output")
      ->type_name("OUT");
  command
      .add_option("--precision", options->precision,
                  "Significant digits in that text; default: as many as the values "
                  "need to be read back unchanged")
      ->type_name("N")
      ->check(CLI::Range(1, 17));
  command.footer(
      "Example: the datum at 181 degrees east, 1 degree north\n"
      "  dseries get sst.dseries --position 181,1\n"
      "  dseries get sst.dseries --position 181,1 -o place.txt");
  command.callback([=] {
    if ((datum->count() > 0) + (index->count() > 0) + (position->count() > 0) != 1) {
      throw CLI::RequiredError("one of DATUM, --index and --position");
    }
    Get(*options);
  });
}

}  // namespace dseries
