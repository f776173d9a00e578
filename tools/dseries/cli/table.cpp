#include "cli/table.h"

#include <algorithm>
#include <numeric>

#include "file/text.h"

namespace dseries {

std::vector<std::size_t> Table::Widths(std::size_t room) const {
  constexpr std::size_t gap = 2, least_name = 6;
  std::vector<std::size_t> widths(columns_.size(), 0), least(columns_.size(), 0);
  for (std::size_t r = 0; r < rows_.size(); ++r) {
    for (std::size_t c = 0; c < rows_[r].size(); ++c) {
      const std::size_t width = Width(rows_[r][c]);
      widths[c] = std::max(widths[c], width);
      least[c] = std::max(least[c], bMayShrink(r, c) ? std::min(width, least_name) : width);
    }
  }
  std::size_t total = std::accumulate(widths.begin(), widths.end(), gap * (widths.size() - 1));
  for (; total > room; --total) {
    std::size_t* widest = nullptr;
    for (std::size_t c = 0; c < widths.size(); ++c) {
      if (widths[c] > least[c] && (widest == nullptr || widths[c] > *widest)) widest = &widths[c];
    }
    if (widest == nullptr) break;
    --*widest;
  }
  return widths;
}

std::string Table::Text(int indent) const {
  constexpr std::size_t terminal = 80;
  const auto margin = static_cast<std::size_t>(indent);
  const std::vector<std::size_t> widths = Widths(terminal - margin);
  std::string text;
  for (std::size_t r = 0; r < rows_.size(); ++r) {
    std::string line(margin, ' ');
    for (std::size_t c = 0; c < rows_[r].size(); ++c) {
      const std::string cell = bMayShrink(r, c) ? Shortened(rows_[r][c], widths[c]) : rows_[r][c];
      const std::string blanks(widths[c] - Width(cell), ' ');
      line += columns_[c] == Right ? blanks + cell : cell + blanks;
      line += "  ";
    }
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + '\n';
  }
  return text;
}

}  // namespace dseries
