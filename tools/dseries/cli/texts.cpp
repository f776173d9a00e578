#include "cli/texts.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <numeric>
#include <utility>
#include <vector>

#include "cli/table.h"
#include "file/failure.h"
#include "file/header.h"
#include "file/labels.h"
#include "file/text.h"
#include "io/console.h"
#include "io/files.h"
#include <DataStorage/interfaces/bstr.h>

namespace dseries {

namespace {

/// The order in which positions rise. Throws Failure when they turn back.
std::vector<std::size_t> RisingOrder(const std::string& path, const Columns& part) {
  const std::vector<double>& p = part.positions;
  std::vector<std::size_t> order(part.lines.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  const bool falls = p.size() > 1 && p.back() < p.front();
  for (std::size_t i = 1; i < p.size(); ++i) {
    if (falls ? p[i] > p[i - 1] : p[i] < p[i - 1])
      Fail(
          "{}: line {}: the position {} turns back; 0 as the first of --columns plots values without "
          "positions",
          path, part.lines[i], p[i]);
  }
  if (falls) std::reverse(order.begin(), order.end());
  return order;
}

Curve CurveOf(const std::string& path, const Columns& part, const Values& column, const Drawing& drawing) {
  const std::vector<std::size_t> order = RisingOrder(path, part);
  const auto position = [&](std::size_t i) {
    return part.positions.empty() ? static_cast<double>(i) : part.positions[order[i]];
  };
  const std::size_t n = order.size();
  Curve curve{part.data.size() > 1 ? column.name : "", {}, {}, drawing.steps};
  for (std::size_t i = 0; i < n; ++i) {
    curve.x.push_back(position(i));
    curve.y.push_back(column.values[order[i]]);
    if (!drawing.steps) continue;
    const double last_step = n > 1 ? position(n - 1) - position(n - 2) : 1;
    curve.x.push_back(i + 1 < n ? position(i + 1) : position(i) + last_step);
    curve.y.push_back(curve.y.back());
  }
  return curve;
}

/// Ends of the finite numbers; both not-a-number if there are none.
std::pair<double, double> RangeOf(const std::vector<double>& values) {
  double low = std::nan(""), high = low;
  for (const double value : values) {
    if (!std::isfinite(value)) continue;
    low = std::fmin(low, value);
    high = std::fmax(high, value);
  }
  return {low, high};
}

std::string NameOf(const Values& column, std::size_t i) {
  return column.name.empty() ? fmt::format("values {}", i + 1) : column.name;
}

/// Reads a text. Throws Failure also for a series file that came through a pipe.
Text TextOf(const std::string& path, std::string bytes, const TextForm& form) {
  bstr_cMemory_istream in(bytes.data(), static_cast<std::int64_t>(bytes.size()));
  if (bSeriesFile(in)) Fail("{} is not a regular file; series cannot be read from pipes or devices", path);
  return ReadColumns(path, std::move(bytes), form);
}

}  // namespace

bool bNoSeries(const std::string& path) {
  return path == "-" || bStream(path) ||
         (bExists(path) && Extension(path) != ".dseries" && !bSeriesFile(path));
}

Figure FigureOfText(const std::string& path, std::string bytes, const TextForm& form, const Drawing& drawing,
                    Caption caption) {
  const Text text = TextOf(path, std::move(bytes), form);
  if (!text.found.empty()) Complain("{}: {}", path, text.found);
  std::vector<Curve> curves;
  for (const Columns& part : text.parts) {
    for (const Values& column : part.data) curves.push_back(CurveOf(path, part, column, drawing));
  }
  constexpr std::size_t most = 12;
  if (curves.size() > most)
    Fail("{} columns are too many for one plot; choose up to {} with --columns", curves.size(), most);
  const Columns& first = text.parts.front();
  caption.x_label = LabelText(ParseLabel(first.position_name), "position");
  caption.y_label = LabelText(ParseLabel(curves.size() == 1 ? first.data.front().name : ""), "value");
  return FigureOf(std::move(curves), drawing, caption);
}

std::string InfoOfText(const std::string& path, const TextForm& form) {
  const Text text = TextOf(path, ReadWhole(path), form);
  Table table({Table::Name, Table::Right, Table::Right, Table::Right, Table::Right});
  table.Heading({"column", "values", "missing", "lowest", "highest"});
  const auto row = [&table](const std::string& name, const std::vector<double>& values, int missing) {
    const auto [low, high] = RangeOf(values);
    table.Row(
        {name, std::to_string(values.size()), std::to_string(missing), NumberText(low), NumberText(high)});
  };
  for (const Columns& part : text.parts) {
    if (!part.positions.empty())
      row(part.position_name.empty() ? "positions" : part.position_name, part.positions, 0);
    for (std::size_t i = 0; i < part.data.size(); ++i)
      row(NameOf(part.data[i], i), part.data[i].values, part.data[i].missing);
  }
  return fmt::format("{}\n  text    {}\n\n{}", path,
                     text.found.empty() ? "numbers separated by blanks" : text.found, table.Text());
}

nlohmann::ordered_json InfoOfTextAsJson(const std::string& path, const TextForm& form) {
  const Text text = TextOf(path, ReadWhole(path), form);
  nlohmann::ordered_json json{
      {"file", path}, {"text", text.found}, {"columns", nlohmann::ordered_json::array()}};
  const auto add = [&json](const char* role, const std::string& name, const std::vector<double>& values,
                           int missing) {
    const auto [low, high] = RangeOf(values);  // not-a-number becomes null
    json["columns"].push_back({{"holds", role},
                               {"name", name},
                               {"values", values.size()},
                               {"missing", missing},
                               {"lowest", low},
                               {"highest", high}});
  };
  for (const Columns& part : text.parts) {
    if (!part.positions.empty()) add("positions", part.position_name, part.positions, 0);
    for (const Values& column : part.data) add("values", column.name, column.values, column.missing);
  }
  return json;
}

}  // namespace dseries
