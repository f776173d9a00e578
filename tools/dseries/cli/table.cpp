#include "cli/table.h"

#include <algorithm>
#include <numeric>

#include "file/text.h"

namespace dseries {

void Table::Measure(const Cells& cells, bool heading) {
  constexpr std::size_t least_name = 6;
  for (std::size_t c = 0; c < cells.size(); ++c) {
    const std::size_t width = Width(cells[c]);
    most_[c] = std::max(most_[c], width);
    least_[c] = std::max(least_[c], bMayShrink(heading, c) ? std::min(width, least_name) : width);
  }
}

std::vector<std::size_t> Table::Widths(std::size_t room) const {
  constexpr std::size_t gap = 2;
  std::vector<std::size_t> widths = most_;
  std::size_t total = std::accumulate(widths.begin(), widths.end(), gap * (widths.size() - 1));
  for (; total > room; --total) {
    std::size_t* widest = nullptr;
    for (std::size_t c = 0; c < widths.size(); ++c) {
      if (widths[c] > least_[c] && (widest == nullptr || widths[c] > *widest)) widest = &widths[c];
    }
    if (widest == nullptr) break;
    --*widest;
  }
  return widths;
}

std::string Table::Line(const Cells& cells, const std::vector<std::size_t>& widths, bool heading) const {
  std::string line;
  for (std::size_t c = 0; c < cells.size(); ++c) {
    const std::string cell = bMayShrink(heading, c) ? Shortened(cells[c], widths[c]) : cells[c];
    const std::string blanks(widths[c] - std::min(widths[c], Width(cell)), ' ');
    line += columns_[c] == Right ? blanks + cell : cell + blanks;
    line += "  ";
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line + '\n';
}

std::string Table::Text(int indent) const {
  const std::string margin(static_cast<std::size_t>(indent), ' ');
  const std::vector<std::size_t> widths = Widths(Terminal - margin.size());
  std::string text;
  for (std::size_t r = 0; r < rows_.size(); ++r) text += margin + Line(rows_[r], widths, r < headings_);
  return text;
}

}  // namespace dseries
