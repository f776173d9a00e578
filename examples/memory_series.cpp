#include <fstream>
#include <iostream>

#include <DataStorage/data/asciirw.h>
#include <DataStorage/series/memoryseries.h>
#include <DataStorage/series/seriesbase.h>

/// The last readings of a sensor: a ring in memory in which a new reading replaces the oldest one.
class LastReadings : public dtsr_cDataSeriesBase, public dtsr_cMemorySeriesBase {
 public:
  explicit LastReadings(int capacity)
      : dtsr_cDataSeriesBase(dtsr_cDimensionArray()), dtsr_cMemorySeriesBase(capacity), values_(capacity) {}

  void Append(double value, const dtsr_cDataTag& tag) {
    values_[AbsIndex(NextWriteIndex())] = value;
    SetNewestTag(tag);
  }
  double operator[](int i) const { return values_[AbsIndex(i)]; }

  int Size() const override { return dtsr_cMemorySeriesBase::Size(); }
  int NextWriteIndex() const override { return dtsr_cMemorySeriesBase::NextWriteIndex(); }
  void ResetWriteIndex() override { dtsr_cMemorySeriesBase::ResetWriteIndex(); }
  void GetTag(int i, dtsr_cDataTag& tag) const override { dtsr_cMemorySeriesBase::GetTag(i, tag); }
  dtsr_cDataTag* pSampleTag() const override { return dtsr_cMemorySeriesBase::pSampleTag(); }
  unsigned int TagTypeID() const override { return dtsr_cMemorySeriesBase::TagTypeID(); }

 private:
  arr_cArray<double> values_;
};

int main() {
  std::ifstream text("examples/data/southern_oscillation.dat");
  parr_c1DNumberArray months;
  if (!asrw_ReadOneColumn(text, months) || !text.eof()) return 1;

  LastReadings readings(3);
  for (int month = 0; month < months.NumIndices(); ++month) {
    readings.Append(months.Value(month).Value(), dtsr_cDataTag(month));
  }

  std::cout << "the last " << readings.NumberValidData() << " of " << months.NumIndices() << " months:\n";
  dtsr_cDataTag tag;
  for (int i = 0; i < readings.NumberValidData(); ++i) {
    readings.GetTag(i, tag);
    std::cout << "month " << tag.Time() << ": " << readings[i] << '\n';
  }
  std::cout << "month 166 is reading " << readings.DataIndex(dtsr_cDataTag(166), true) << ", month 3 is "
            << readings.DataIndex(dtsr_cDataTag(3), true) << '\n';
}
