#include <cstring>
#include <sstream>

#include "support.h"
#include "targets.h"
#include <DataStorage/data/asciirw.h>

using namespace fuzz;

namespace {

constexpr int exact = 17;  // significant digits that distinguish all doubles

/// Any not-a-number equals any other, because its bits are not kept.
bool bSame(const parr_c1DNumberArray& a, const parr_c1DNumberArray& b) {
  const auto* x = static_cast<const double*>(a.Data());
  const auto* y = static_cast<const double*>(b.Data());
  return a.DataType() == b.DataType() &&
         std::equal(x, x + a.NumIndices(), y, y + b.NumIndices(), [](double v, double w) {
           return std::memcmp(&v, &w, sizeof v) == 0 || (v != v && w != w);
         });
}

void ReadOneColumn(const std::string& text) {
  const parr_c1DNumberArray before(3, 1.5);
  parr_c1DNumberArray array = before;
  std::istringstream in(text);
  if (!asrw_ReadOneColumn(in, array)) {
    Require(bSame(array, before));
    return;
  }
  std::stringstream copy;
  Require(asrw_WriteOneColumn(copy, array, exact, 0));
  parr_c1DNumberArray again;
  Require(asrw_ReadOneColumn(copy, again));
  Require(bSame(again, array));
}

void ReadTwoColumns(const std::string& text) {
  const darr_c1DArray before(3, 1.5, cal_c1DArrayCal(1, 2, 3));
  darr_c1DArray array = before;
  std::istringstream in(text);
  if (!asrw_ReadTwoColumn(in, array)) {
    Require(bSame(array, before) && array.Cal() == before.Cal());
    return;
  }
  std::stringstream copy;
  Require(asrw_WriteTwoColumn(copy, array, exact, 0));
  // Positions are computed, and may be too large, or too close to each other to be distinguished.
  darr_c1DArray again;
  if (asrw_ReadTwoColumn(copy, again)) Require(bSame(again, array));
}

}  // namespace

int FuzzColumns(const std::uint8_t* bytes, std::size_t n) {
  const std::string text = Text(bytes, n);
  std::istringstream in(text);
  asrw_ASCII_Format(in);
  Require(in.good() && in.tellg() == std::istream::pos_type(0));
  ReadOneColumn(text);
  ReadTwoColumns(text);
  return 0;
}
