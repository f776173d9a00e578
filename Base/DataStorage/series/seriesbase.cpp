#include <memory>

#include <DataStorage/series/seriesbase.h>

dtsr_cDataSeriesBase::~dtsr_cDataSeriesBase() = default;

int dtsr_cDataSeriesBase::DataIndex(const dtsr_cDataTag& tag, type_cBoolean compareTime) const {
  // A copy of the caller's tag would take the values of another kind and look equal. A series that was cut
  // off during its first append may not know its kind.
  const unsigned int kind = TagTypeID();
  if (kind != 0 && kind != tag.TagTypeID()) return -1;

  const std::unique_ptr<dtsr_cDataTag> stored(tag.pCopy());
  const int n = NextWriteIndex();
  for (int i = 0; i < n; ++i) {
    GetTag(i, *stored);
    if (stored->IsEqual(tag, compareTime)) return i;
  }
  return -1;
}

type_cBoolean dtsr_cDataSeriesBase::bHasData(int i) { return i >= 0 && i < NextWriteIndex(); }
