#include "file/structure.h"

#include <cmath>
#include <cstddef>

#include "file/header.h"

namespace dseries {

void AxisStructure::Add(const cal_cArrayCal& cal, int n) {
  const bool first = position.low > position.high;
  const bool like_first = first || (size.bOne() && size.low == n && cal == first_);
  size.Add(n);
  if (n == 0) return;
  if (first) first_ = cal;
  same = same && like_first;
  position.Add(cal.Position(0));
  position.Add(cal.Position(n - 1));
  step.Add(cal.Delta());
}

Structure StructureOf(const Series& series, unsigned int data_type,
                      const std::function<void(int, int)>& progress) {
  Structure structure;
  const int n = series.NextWriteIndex();
  VisitDataType(data_type, [&]<class Array>(std::type_identity<Array>) {
    structure.axes.resize(DatumHead<Array>::axes);
    for (int i = 0; i < n; ++i) {
      progress(i, n);
      const auto head = series.Head<Array>(i);
      if (!head || head->Size() != series.DatumSize(i)) {
        ++structure.unreadable;
        continue;
      }
      ++structure.types[head->type.Type()];
      for (std::size_t axis = 0; axis < structure.axes.size(); ++axis) {
        structure.axes[axis].Add(head->cals[axis], head->extents[axis]);
      }
    }
  });
  return structure;
}

void Statistics::AddValues(const double* values, int n) {
  double sum = 0;
  std::int64_t count = 0;
  for (int i = 0; i < n; ++i) {
    if (std::isnan(values[i])) continue;
    extremes.Add(values[i]);
    sum += values[i];
    ++count;
  }
  not_a_numbers += n - count;
  if (count == 0) return;
  // The mean of means: one sum over all data would lose what is small beside it.
  const double part = static_cast<double>(count) / static_cast<double>(numbers + count);
  const double mean = sum / static_cast<double>(count);
  mean_ = numbers == 0 ? mean : mean_ * (1 - part) + mean * part;
  numbers += count;
}

Statistics StatisticsOf(const std::string& path, const std::function<void(int, int)>& progress) {
  return VisitDataType(KnownDataType(path), [&]<class Array>(std::type_identity<Array>) {
    DataSeries<Array> series(path, bstr_OpenReadOnly);
    Statistics statistics;
    const int n = series.NextWriteIndex();
    for (int i = 0; i < n; ++i) {
      progress(i, n);
      statistics.Add(series.Datum(i));
    }
    return statistics;
  });
}

}  // namespace dseries
