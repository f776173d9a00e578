#include <iostream>

#include <DataStorage/data/darray1d.h>
#include <DataStorage/series/fileseries.h>
#include <DataStorage/series/seriesbase.h>

/// Spectra in a file. The store comes first among the bases: it has opened the file before dimensions are
/// read.
class SpectrumSeries : public dtsr_cFileSeriesBase, public dtsr_cDataSeriesBase {
 public:
  SpectrumSeries(const str_cString& path, const dtsr_cDimensionArray& dimensions)
      : dtsr_cFileSeriesBase(path, dimensions, darr_c1DArray::DataTypeID()),
        dtsr_cDataSeriesBase(dimensions) {}
  explicit SpectrumSeries(const str_cString& path, bstr_eAccess access = bstr_OpenExisting)
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

int main() try {
  dtsr_cDimensionArray line(1);
  line.Dimension(0) = dtsr_cDimension(4, cal_c1DArrayCal(10.0, 2.5), "x", "um", false);
  SpectrumSeries scan("scan.dseries", line);
  const unsigned short counts[][4] = {{7, 12, 31, 9}, {6, 15, 28, 11}, {8, 13, 40, 10}};
  for (int i = 0; i < 3; ++i) {
    const parr_c1DNumberArray elements(4, dtyp_UBin16, counts[i]);
    scan.Append(darr_c1DArray(elements, cal_c1DArrayCal(500.0, 0.5)), dtsr_cDataTag(1700000000 + i));
  }

  SpectrumSeries stored("scan.dseries", bstr_OpenReadOnly);
  darr_c1DArray spectrum;
  if (!stored.Read(1, spectrum)) return 1;
  std::cout << stored.NumberValidData() << " of " << stored.Size() << " spectra; the one at "
            << stored.DimensionArray().Position(1)[0] << " um has " << spectrum.Value(501.0)
            << " at 501 nm\n";
} catch (const expt_cUserException& error) {
  std::cerr << error.Message().CString() << '\n';
  return 1;
}
