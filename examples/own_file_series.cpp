#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string>

#include <DataStorage/data/darray1d.h>
#include <DataStorage/series/fileseries.h>
#include <DataStorage/series/seriesbase.h>

/// Spectra in a file. The store comes first among the bases: it has opened the file before dimensions are
/// read.
class SpectrumSeries : public dtsr_cFileSeriesBase, public dtsr_cDataSeriesBase {
 public:
  SpectrumSeries(const str_cString& path, const dtsr_cDimensionArray& dimensions)
      : dtsr_cFileSeriesBase(path, dimensions, darr_c1DArray::DataTypeID(), bstr_CreateLocked),
        dtsr_cDataSeriesBase(dimensions) {}
  explicit SpectrumSeries(const str_cString& path, bstr_eAccess access = bstr_OpenLocked)
      : dtsr_cFileSeriesBase(path, darr_c1DArray::DataTypeID(), access), dtsr_cDataSeriesBase(Dimensions()) {}

  void Append(const darr_c1DArray& spectrum, const dtsr_cDataTag& tag) {
    file_.Output().Seek(dataOffsets_[NextWriteIndex()]);
    spectrum.Write(file_.Output());
    SetNewestTag(tag);  // the spectrum is stored when this returns; it throws if one of the writes has failed
  }
  bool Read(int i, darr_c1DArray& spectrum) {
    return bHasData(i) && file_.Input().Seek(dataOffsets_[i]) && spectrum.Read(file_.Input());
  }
  int Size() const override { return dtsr_cFileSeriesBase::Size(); }
  int NextWriteIndex() const override { return dtsr_cFileSeriesBase::NextWriteIndex(); }
  void ResetWriteIndex() override { dtsr_cFileSeriesBase::ResetWriteIndex(); }
  void GetTag(int i, dtsr_cDataTag& tag) const override { dtsr_cFileSeriesBase::GetTag(i, tag); }
  dtsr_cDataTag* pSampleTag() const override { return dtsr_cFileSeriesBase::pSampleTag(); }
  unsigned int TagTypeID() const override { return dtsr_cFileSeriesBase::TagTypeID(); }

 private:
  dtsr_cDimensionArray Dimensions() {
    dtsr_cDimensionArray dimensions;
    ReadDimensionArray(dimensions);
    return dimensions;
  }
};

/// Whether a file would hold the same.
bool bSame(const dtsr_cDimensionArray& a, const dtsr_cDimensionArray& b) {
  bstr_cMemory_ostream first, second;
  a.Write(first);
  b.Write(second);
  return first.Size() == second.Size() &&
         std::memcmp(first.Data(), second.Data(), static_cast<std::size_t>(first.Size())) == 0;
}

/// Goes on with the series that is there. Only where there is no file it is created, since that would empty
/// it. Throws when another program writes to it.
SpectrumSeries OpenOrCreate(const std::string& path, const dtsr_cDimensionArray& dimensions) {
  if (!std::filesystem::exists(path)) return SpectrumSeries(path.c_str(), dimensions);
  SpectrumSeries series(path.c_str());
  if (!bSame(series.DimensionArray(), dimensions)) throw std::runtime_error(path + " has other dimensions.");
  return series;
}

struct Measured {
  darr_c1DArray spectrum;
  dtsr_cDataTag tag;
};

/// Stands for the instrument.
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
        series.Append(waiting.front().spectrum, waiting.front().tag);
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
  SpectrumSeries scan = OpenOrCreate("scan.dseries", line);
  const std::size_t lost = Acquire(scan, argc > 1 ? std::atoi(argv[1]) : 3);
  if (lost > 0) std::cerr << lost << " of the spectra measured are not in the file.\n";

  SpectrumSeries stored("scan.dseries", bstr_OpenReadOnly);
  darr_c1DArray spectrum;
  if (!stored.Read(1, spectrum)) return 1;
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
