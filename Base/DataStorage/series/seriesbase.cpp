#include <memory>

#include <DataStorage/series/seriesbase.h>

dtsr_cDataSeriesBase::~dtsr_cDataSeriesBase() = default;

int dtsr_cDataSeriesBase::DataIndex(const dtsr_cDataTag& tag, type_cBoolean compareTime) const {
  return DataIndexFrom(0, tag, compareTime);
}

int dtsr_cDataSeriesBase::DataIndexFrom(int first, const dtsr_cDataTag& tag,
                                        type_cBoolean compareTime) const {
  const int n = NextWriteIndex();
  const unsigned int kind = tag.TagTypeID();
  const std::unique_ptr<dtsr_cDataTag> stored(tag.pCopy());
  for (int i = first; i < n; ++i) {
    stored->filledFrom_ = kind;
    try {
      GetTag(i, *stored);
    } catch (const dtsr_cTagTypeException&) {
      continue;
    }
    // A tag that was copied in part from another kind could compare equal.
    if (stored->filledFrom_ == kind && stored->IsEqual(tag, compareTime)) return i;
  }
  return -1;
}

type_cBoolean dtsr_cDataSeriesBase::bHasData(int i) { return i >= 0 && i < NextWriteIndex(); }
