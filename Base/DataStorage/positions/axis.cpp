#include <DataStorage/positions/axis.h>

namespace detail {

IndexSpan SelectIndices(double low, double high, const cal_cArrayCal& cal,
                        rnge_eIndexSelect select) noexcept {
  // Keeps rounding errors of the ends from selecting a neighbouring cell.
  const double rounding = 2.0 * cal_cArrayCal::RoundFactor * cal.Delta();

  IndexSpan span{cal.Index(low), AddIndices(cal.Index(high - rounding), 1)};
  if (span.end == span.start) span.end = AddIndices(span.start, 1);
  if (select == rnge_IndexOuter) return span;

  const bool inner = select == rnge_IndexInner || select == rnge_IndexInnerStart;
  const double margin = inner ? rounding : (cal.Delta() - rounding) * 0.5;
  if (low > cal.Position(span.start) + margin) span.start = AddIndices(span.start, 1);
  if (select == rnge_IndexInnerStart) return span;

  if (high < cal.Position(span.end) - margin) span.end = AddIndices(span.end, -1);
  return span;
}

}  // namespace detail
