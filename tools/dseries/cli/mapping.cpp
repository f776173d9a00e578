#include "cli/mapping.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>

#include "cli/labels.h"
#include "cli/view.h"
#include "file/dimensions.h"
#include "file/structure.h"
#include "file/text.h"

namespace dseries {

namespace {

constexpr double no_value = std::numeric_limits<double>::quiet_NaN();

const std::map<std::string, Mapping::Kind> kinds{{"sum", Mapping::Sum},
                                                 {"mean", Mapping::Mean},
                                                 {"max", Mapping::Max},
                                                 {"min", Mapping::Min},
                                                 {"at", Mapping::At}};

/// Reads "mean", "mean:500,600" or "at:500" over what the mapping holds already.
void ParseMapping(const std::string& text, Mapping& mapping) {
  const std::size_t colon = std::min(text.find(':'), text.size());
  const auto kind = kinds.find(text.substr(0, colon));
  bool valid = kind != kinds.end();
  if (valid) mapping.kind = kind->second;
  const bool at = valid && mapping.kind == Mapping::At;
  if (valid && colon < text.size()) {
    const std::string ends = text.substr(colon + 1);
    const std::size_t comma = at ? ends.size() : std::min(ends.find(','), ends.size());
    valid = CLI::detail::lexical_cast(ends.substr(0, comma), mapping.from);
    if (at) {
      mapping.to = mapping.from;
    } else {
      valid = valid && comma < ends.size() && CLI::detail::lexical_cast(ends.substr(comma + 1), mapping.to);
    }
    valid = valid && std::isfinite(mapping.from) && std::isfinite(mapping.to);
  } else {
    valid = valid && !at;
  }
  if (!valid) {
    throw CLI::ValidationError(
        "--value: '" + text +
        "' is none of sum, mean, max and min, alone or as mean:FROM,TO, nor at:POSITION");
  }
}

/// The indices of the elements to reduce.
rnge_c1DIndexRange CellsOf(const darr_c1DArray& array, const Mapping& mapping) {
  const cal_cArrayCal& cal = array.Cal().AxisX();
  const int n = array.NumIndices();
  const double first = cal.Position(0), end = cal.Position(n);
  const auto& [kind, from, to, rule] = mapping;
  return CellsBetween(cal, n, std::isnan(from) ? std::min(first, end) : from,
                      std::isnan(to) ? std::max(first, end) : to,
                      kind == Mapping::At || from == to ? rnge_IndexOuter : rule);
}

/// Not-a-number if there are no elements. A sum with a missing value is missing; the others leave it out.
double Reduced(const darr_c1DArray& array, const rnge_c1DIndexRange& cells, Mapping::Kind kind) {
  if (cells.NumIndicesX() == 0) return no_value;
  Extremes extremes;
  double sum = 0, numbers = 0, sum_of_numbers = 0;
  for (int i = cells.StartIndexX(); i < cells.EndIndexX(); ++i) {
    const double value = array.Value(i).Value();
    sum += value;
    if (std::isnan(value)) continue;
    extremes.Add(value);
    sum_of_numbers += value;
    ++numbers;
  }
  if (kind == Mapping::Sum || kind == Mapping::At) return sum;
  if (numbers == 0) return no_value;
  return kind == Mapping::Mean  ? sum_of_numbers / numbers
         : kind == Mapping::Max ? extremes.high
                                : extremes.low;
}

/// "mean of all elements from 500 to 600 nm".
std::string MappingText(const Mapping& mapping, const Label& x) {
  const bool from = !std::isnan(mapping.from), to = !std::isnan(mapping.to);
  const auto position = [&x](double at) { return WithUnits(NumberText(at), str_cString(x.units.c_str())); };
  if (from && to && mapping.from == mapping.to) return "element at " + position(mapping.from);
  const auto name = std::find_if(kinds.begin(), kinds.end(),
                                 [&](const auto& entry) { return entry.second == mapping.kind; });
  std::string text = name->first + " of all elements";
  if (from) text += " from " + position(mapping.from);
  if (to) text += " to " + position(mapping.to);
  return text;
}

}  // namespace

void AddMapping(CLI::App& command, Mapping& mapping) {
  command
      .add_option_function<std::string>(
          "--value", [&mapping](const std::string& text) { ParseMapping(text, mapping); },
          "The value of a pixel: the sum (default), mean, max or min of all elements of its datum or, as "
          "mean:500,600, of those between two positions; at:500 is the element at a position")
      ->type_name("WHAT[:FROM,TO]");
  command
      .add_option("--from", mapping.from,
                  "Take the elements from this position on; default: from the first one")
      ->type_name("A");
  command.add_option("--to", mapping.to, "Up to this position; the same as --from for a single element")
      ->type_name("B");
  AddCells(command, mapping.cells);
}

PixelMap::PixelMap(const dtsr_cDimensionArray& dimensions, int x, int y, const Mapping& mapping)
    : dimensions_(dimensions),
      x_(x),
      y_(y),
      mapping_(mapping),
      values_(dimensions.Dimension(x).Size(), dimensions.Dimension(y).Size(), nullptr, no_value, true) {}

void PixelMap::Add(const darr_c1DArray& datum, int i) {
  const rnge_c1DIndexRange cells = CellsOf(datum, mapping_);
  found_ = found_ || cells.NumIndicesX() > 0;
  const arr_cC_Array<int> index = dimensions_.IndexPosition(i);
  values_.SetValue(Reduced(datum, cells, mapping_.kind), index[x_], index[y_]);
}

darr_c2DArray PixelMap::Plane() const {
  return {values_, cal_c2DArrayCal(dimensions_.Dimension(x_).Calibration().AxisX(),
                                   dimensions_.Dimension(y_).Calibration().AxisX())};
}

Caption PixelMap::CaptionOf(const std::string& file) const {
  const Labels labels = LabelsOf(file);
  return {TitleOf(labels, file), MappingText(mapping_, labels.x), LabelOf(dimensions_, x_),
          LabelOf(dimensions_, y_), LabelText(labels.value)};
}

}  // namespace dseries
