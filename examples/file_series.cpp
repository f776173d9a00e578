#include <cstdlib>
#include <deque>
#include <iostream>
#include <new>

#include <DataStorage/data/darray1d.h>
#include <DataStorage/series/storedseries.h>

using SpectrumSeries = dtsr_cFileSeries<darr_c1DArray>;

struct Measured {
  darr_c1DArray spectrum;
  dtsr_cDataTag tag;
};

/// Takes the place of the instrument.
Measured Measure(int i) {
  const unsigned short counts[][4] = {{7, 12, 31, 9}, {6, 15, 28, 11}, {8, 13, 40, 10}};
  const parr_c1DNumberArray elements(4, dtyp_UBin16, counts[i % 3]);
  return {darr_c1DArray(elements, cal_c1DArrayCal(500.0, 0.5)), dtsr_cDataTag(1700000000 + i)};
}

/// Measures until the series has `count` spectra; returns how many could not be stored.
std::size_t Acquire(SpectrumSeries& series, int count) {
  std::deque<Measured> waiting;  // until they are in the file
  for (int i = series.NextWriteIndex(); i < count; ++i) {
    waiting.push_back(Measure(i));
    try {
      for (; !waiting.empty(); waiting.pop_front())
        series.Append(waiting.front().spectrum, waiting.front().tag);  // stored when this returns
    } catch (const expt_cUserException& error) {  // the disk is full or gone; the message names the file
      std::cerr << error.Message().CString() << " It is tried again with the next spectrum.\n";
    } catch (const arr_cIndexException&) {  // no slot is left
      std::cerr << series.FilePath().CString() << " is full.\n";
      break;
    } catch (const std::bad_alloc&) {
      std::cerr << "Not enough memory to store a spectrum. It is tried again with the next one.\n";
    }
  }
  return waiting.size();
}

int main(int argc, char* argv[]) try {
  dtsr_cDimensionArray line(1);
  line.Dimension(0) = dtsr_cDimension(4, cal_c1DArrayCal(10.0, 2.5), "x", "um", false);
  SpectrumSeries scan = SpectrumSeries::OpenOrCreate("scan.dseries", line);
  const std::size_t lost = Acquire(scan, argc > 1 ? std::atoi(argv[1]) : 3);
  if (lost > 0) std::cerr << lost << " of the spectra measured are not in the file.\n";

  const SpectrumSeries stored("scan.dseries", bstr_OpenReadOnly);
  const darr_c1DArray spectrum = stored.Datum(1);
  std::cout << stored.NumberValidData() << " of " << stored.Size() << " spectra; the one at "
            << stored.DimensionArray().Position(1)[0] << " um has " << spectrum.Value(501.0)
            << " at 501 nm\n";
  return lost > 0 ? 1 : 0;
} catch (const expt_cUserException& error) {
  std::cerr << error.Message().CString() << '\n';
  return 1;
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
