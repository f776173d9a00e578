#include <fstream>
#include <iostream>

#include <DataStorage/data/asciirw.h>
#include <DataStorage/series/storedseries.h>

int main() {
  std::ifstream text("examples/data/southern_oscillation.dat");
  parr_c1DNumberArray months;
  if (!asrw_ReadOneColumn(text, months) || !text.eof()) return 1;

  dtsr_cMemorySeries<double> readings(3);  // the last readings of a sensor
  for (int month = 0; month < months.NumIndices(); ++month) {
    readings.Append(months.Value(month).Value(), dtsr_cDataTag(month));
  }

  std::cout << "the last " << readings.NumberValidData() << " of " << months.NumIndices() << " months:\n";
  dtsr_cDataTag tag;
  for (int i = 0; i < readings.NumberValidData(); ++i) {
    readings.GetTag(i, tag);
    std::cout << "month " << tag.Time() << ": " << readings.Datum(i) << '\n';
  }
  std::cout << "month 166 is reading " << readings.DataIndex(dtsr_cDataTag(166), true) << ", month 3 is "
            << readings.DataIndex(dtsr_cDataTag(3), true) << '\n';
}
