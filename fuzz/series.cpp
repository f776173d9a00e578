#include "file/series.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "arrayseries.h"
#include "file/check.h"
#include "file/failure.h"
#include "file/header.h"
#include "file/kinds.h"
#include "support.h"
#include "targets.h"
#include <DataStorage/interfaces/constants.h>

using namespace fuzz;

namespace {

/// The readable contents of a series: the raw forms of each datum and of its tag, empty when damaged.
using Contents = std::vector<std::string>;

template <class Tag>
std::string TagForm(const ArraySeries& series, int i) {
  Tag tag;
  return bSucceeds([&] { return series.bReadTag(i, tag); }) ? RawForm(tag) : "";
}

Contents List(const ArraySeries& series) {
  const int count = series.NextWriteIndex();
  Require(series.Size() > 0 && count >= 0 && count <= series.Size());
  Contents contents;
  for (int i = 0; i < count; ++i) {
    darr_c1DArray datum;
    contents.push_back(bSucceeds([&] { return series.bRead(i, datum); }) ? RawForm(datum) : "");
    contents.push_back(TagForm<dtsr_cDataTag>(series, i) + TagForm<dtsr_c2DPosition>(series, i));
  }
  return contents;
}

Contents ListFile() { return List(ArraySeries(bstr_OpenReadOnly)); }

/// Whether everything that was readable before is unchanged.
bool bKept(const Contents& before, const Contents& after) {
  return before.size() <= after.size() &&
         std::equal(before.begin(), before.end(), after.begin(),
                    [](const std::string& b, const std::string& a) { return b.empty() || b == a; });
}

/// Data that the command-line tool finds intact can be read.
void Verify() {
  dseries::Findings findings;
  try {
    findings = dseries::Check("series", [](int, int) {});
  } catch (const dseries::Failure&) {
    return;
  }
  Require(findings.whole >= 0 && findings.whole <= findings.valid && findings.valid <= findings.slots);
  if (findings.fault_count > 0 || dseries::ReadHeader("series").dataType != darr_c1DArray::DataTypeID())
    return;
  // Tags of an unknown kind are found intact, but only programs that know the kind can read them.
  dseries::Series series("series");
  if (const std::uint32_t kind = series.TagTypeID(); kind != 0 && !dseries::bKnownTagType(kind)) return;
  const Contents contents = ListFile();
  Require(std::find(contents.begin(), contents.end(), "") == contents.end());
  Require(contents.size() == 2 * static_cast<std::size_t>(findings.whole) &&
          findings.whole == findings.valid);
}

void ReadDimensions(ArraySeries& series) {
  dtsr_cDimensionArray dimensions(2);
  const std::string before = RawForm(dimensions);
  if (bSucceeds([&] { return series.ReadDimensionArray(dimensions), true; })) {
    Require(dimensions.TotalNumberIndices() == series.Size());
  } else {
    Require(RawForm(dimensions) == before);
  }
}

/// Appends a datum, which is in the file afterwards; on failure the series is unchanged.
bool bAppend(ArraySeries& series) {
  const Contents before = List(series);
  const darr_c1DArray datum(3, 42.5, cal_c1DArrayCal(1, 2, 3));
  const dtsr_c2DPosition placed(1, 2, 3);
  const dtsr_cDataTag plain(3);
  const bool is_plain = series.TagTypeID() == obty_DataTagType;
  const dtsr_cDataTag& tag = is_plain ? plain : static_cast<const dtsr_cDataTag&>(placed);
  const bool appended = bSucceeds([&] { return series.Append(datum, tag), true; });

  const Contents after = ListFile();
  Require(List(series) == after);
  Require(bKept(before, after) && after.size() == before.size() + (appended ? 2 : 0));
  if (!appended) return false;
  Require(*(after.end() - 2) == RawForm(datum));
  Require(after.back() == (is_plain ? RawForm(plain) : RawForm(placed)));
  return true;
}

/// Reads the file without changing it; returns whether it is a series file.
bool bLook() {
  std::unique_ptr<ArraySeries> series;
  const std::string before = MemoryDisk::file;
  if (!bSucceeds([&] { return series = std::make_unique<ArraySeries>(bstr_OpenReadOnly), true; }))
    return false;
  Require(List(*series) == List(*series));
  ReadDimensions(*series);
  Require(!bAppend(*series));
  Require(!bSucceeds([&] { return series->ResetWriteIndex(), true; }));
  Require(MemoryDisk::file == before);
  return true;
}

void Work() {
  ArraySeries series(bstr_OpenExisting);
  const std::string fixed = series.Fixed();
  for (int i = 0; i < 3 && bAppend(series); ++i) {
  }
  const Contents before = List(series);
  if (bSucceeds([&] { return series.ResetWriteIndex(), true; })) {
    Require(series.NextWriteIndex() == 0 && ListFile().empty());
    Require(bAppend(series));
  } else {
    Require(List(series) == before);
  }
  Require(series.Fixed() == fixed);
  ReadDimensions(series);
}

}  // namespace

int FuzzSeries(const std::uint8_t* bytes, std::size_t n) {
  const MemoryDisk disk(Text(bytes, n));
  Verify();
  if (bLook()) Work();
  return 0;
}
