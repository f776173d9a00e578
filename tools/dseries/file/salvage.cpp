#include "file/salvage.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "file/failure.h"
#include "file/header.h"
#include "file/kinds.h"
#include "file/reading.h"
#include "file/seal.h"
#include "file/series.h"
#include "file/text.h"
#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>

namespace dseries {

namespace {

/// Where the offset lists of a series are. A file holds this twice: in the header, and in the dimensions,
/// which the lists follow.
struct Layout {
  std::int64_t lists;
  int total;
  std::optional<dtsr_cDimensionArray> dimensions;  ///< none if they are damaged

  detail::SeriesLists Lists() const { return {lists, total}; }
};

/// Where a datum and its tag lie; `begin` is 0 for a lost datum, `tag` for a lost tag.
struct Extent {
  std::int64_t begin = 0;
  std::int64_t end = 0;
  std::int64_t tag = 0;
  std::int64_t tag_end = 0;
};

/// A datum of unknown kind.
struct Bytes {
  std::string bytes;

  bool Write(bstr_cBinary_ostream& out) const { return out.Write(bytes.data(), std::ssize(bytes)); }
};

struct Survivors {
  Layout layout;
  unsigned int tag_type = 0;
  std::vector<Extent> extents;  ///< up to the last datum that survived
  int found = 0;
  std::vector<int> wrong;      ///< data that do not match their checksums
  std::vector<int> unchecked;  ///< data without checksums in a series that has some
};

/// Finds the data of a damaged file: arrays of class `Array`, or Bytes, whose ends only the offset lists
/// hold.
template <class Array>
class Search {
 public:
  /// `sums` has the checksums; null when there are none.
  Search(bstr_cBinary_istream& in, const Header& header, const Series* sums)
      : in_(in), header_(header), sums_(sums) {}

  Survivors Run() {
    Survivors best{Layout{0, 0, {}}, 0, {}, -1, {}, {}};
    for (Layout& layout : Layouts()) {
      Survivors survivors = Walk(std::move(layout));
      if (survivors.found > best.found) best = std::move(survivors);
    }
    return best;
  }

  /// The datum at `begin`; none when it cannot be read. `end` is its end by the offset lists.
  std::optional<Array> Datum(std::int64_t begin, std::int64_t end) {
    Array datum;
    if (begin == 0 || !in_.Seek(begin)) return {};
    if constexpr (std::is_same_v<Array, Bytes>) {
      if (end < begin || end > in_.Size()) return {};
      datum.bytes.resize(static_cast<std::size_t>(end - begin));
      if (!in_.Read(datum.bytes.data(), end - begin)) return {};
    } else if (!bReads([&]() -> bool { return datum.Read(in_); })) {
      return {};
    }
    return datum;
  }

  /// The tag of this kind at `begin`; null when it cannot be read. `end` is its end by the offset lists,
  /// which only unknown kinds need.
  std::unique_ptr<dtsr_cDataTag> Tag(std::int64_t begin, std::int64_t end, unsigned int kind) {
    if (!bKnownTagType(kind) && (end - begin < detail::PlainTagLength || end > in_.Size())) return nullptr;
    std::unique_ptr<dtsr_cDataTag> tag = MakeTag(kind, end - begin);
    const bool read = begin != 0 && bReads([&]() -> bool {
                        if (!in_.Seek(begin)) return false;
                        tag->Read(in_);
                        return in_.bGood();
                      });
    return read ? std::move(tag) : nullptr;
  }

 private:
  /// The layout by the dimensions, then the one by the header if it differs.
  std::vector<Layout> Layouts() {
    std::vector<Layout> layouts;
    const Layout by_header{header_.lists, header_.total, {}};
    if (auto layout = LayoutOfDimensions()) layouts.push_back(*std::move(layout));
    const bool known =
        !layouts.empty() && layouts[0].lists == by_header.lists && layouts[0].total == by_header.total;
    if (!known && by_header.Lists().bFit(in_.Size())) layouts.push_back(by_header);
    return layouts;
  }

  std::optional<Layout> LayoutOfDimensions() {
    constexpr std::int64_t longest = 1 << 20;  // of records whose counts cannot be trusted
    const std::int64_t n = std::clamp<std::int64_t>(in_.Size() - Header::End, 0, longest);
    std::string bytes(static_cast<std::size_t>(n), '\0');
    if (!in_.Seek(Header::End) || !in_.Read(bytes.data(), n)) return {};
    bstr_cMemory_istream records(bytes.data(), n);
    dtsr_cDimensionArray dimensions(0);
    int total = 0;
    const bool read = bReads([&]() -> bool {
      dimensions.Read(records);
      total = dimensions.TotalNumberIndices();
      return records.bGood();
    });
    for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
      if (dimensions.Dimension(d).Size() < 1) return {};
    }
    const Layout layout{Header::End + records.Position(), total, dimensions};
    return read && layout.Lists().bFit(in_.Size()) ? std::optional(layout) : std::nullopt;
  }

  /// Goes from datum to datum: each begins where the tag before it ends or, after a damaged one, where the
  /// offset lists put it.
  Survivors Walk(Layout layout) {
    const int total = layout.total;
    data_.resize(static_cast<std::size_t>(total));
    tags_.resize(data_.size());
    if (!in_.Seek(layout.lists) || !bstr_ReadNumbers(in_, data_.data(), total) ||
        !bstr_ReadNumbers(in_, tags_.data(), total)) {
      Fail("the offset lists cannot be read");
    }
    Survivors survivors{std::move(layout), 0, {}, 0, {}, {}};
    const bool counted = header_.valid >= 0 && header_.valid <= total;
    std::int64_t free = survivors.layout.Lists().End();  // bytes before it belong to data already found
    std::int64_t next = free;                            // 0 if unknown
    for (int k = 0; k < total; ++k) {
      const std::int64_t begin = data_[static_cast<std::size_t>(k)], tag = tags_[static_cast<std::size_t>(k)];
      if (counted && k >= header_.valid && tag == 0) break;
      Extent extent = Find(next, k, survivors.tag_type);
      if (extent.begin == 0 && begin >= free) extent = Find(begin, k, survivors.tag_type);
      next = extent.begin != 0 && extent.tag != 0 ? in_.Position() : 0;
      const dtsr_eChecked checked = extent.begin != 0 ? Checked(k) : dtsr_Right;
      if (checked == dtsr_Unchecked) survivors.unchecked.push_back(k);
      if (checked == dtsr_Wrong) {
        survivors.wrong.push_back(k);
        free = std::max(next, extent.begin);
        extent.begin = 0;
      }
      if (extent.begin == 0) {
        extent.tag = tag;
        extent.tag_end = ListedTagEnd(k);
      } else {
        free = std::max(next, extent.begin);
        ++survivors.found;
      }
      survivors.extents.push_back(extent);
    }
    while (!survivors.extents.empty() && survivors.extents.back().begin == 0) survivors.extents.pop_back();
    return survivors;
  }

  /// Right in a series without checksums.
  dtsr_eChecked Checked(int k) const {
    if (sums_ == nullptr) return dtsr_Right;
    return k < sums_->NextWriteIndex() ? sums_->Checked(k) : dtsr_Unchecked;
  }

  /// The end of tag k by the offset lists; 0 when they do not hold it.
  std::int64_t ListedTagEnd(int k) const {
    const auto next = static_cast<std::size_t>(k) + 1;
    return next < data_.size() ? data_[next] : in_.Size();
  }

  /// Datum k if it is intact at `begin`: a tag follows it, or it ends where the lists put its tag.
  Extent Find(std::int64_t begin, int k, unsigned int& tag_type) {
    const std::int64_t listed_end = tags_[static_cast<std::size_t>(k)];
    if (!Datum(begin, listed_end)) return {};
    const std::int64_t end = in_.Position(), tag_end = ListedTagEnd(k);
    std::uint32_t kind = 0;
    const bool expected =
        bstr_ReadFields(in_, kind) && (bKnownTagType(kind) || (kind != 0 && kind == header_.tagType));
    if (expected && (tag_type == 0 || kind == tag_type) && Tag(end, tag_end, kind) != nullptr) {
      tag_type = kind;
      return {begin, end, end, tag_end};
    }
    return end == listed_end ? Extent{begin, end, 0, 0} : Extent{};
  }

  bstr_cBinary_istream& in_;
  const Header& header_;
  const Series* sums_;
  std::vector<std::int32_t> data_;  // the offset lists
  std::vector<std::int32_t> tags_;
};

dtsr_cDimensionArray PlainDimension(int size) {
  dtsr_cDimensionArray dimensions;
  dimensions.Dimension(0) = {size, cal_c1DArrayCal(0, 1), "datum", "", false};
  return dimensions;
}

/// Throws Failure when the disk has no room for the surviving data.
void CheckDisk(const std::string& path, const std::vector<Extent>& extents) {
  std::uintmax_t bytes = 0;
  for (const Extent& extent : extents) bytes += static_cast<std::uintmax_t>(extent.end - extent.begin);
  std::error_code unknown;
  const auto space = std::filesystem::space(PathOf(path), unknown);
  if (!unknown && space.available < bytes) {
    Fail("the data that survive take {}, and there is room for {}",
         SizeText(static_cast<std::int64_t>(bytes)), SizeText(static_cast<std::int64_t>(space.available)));
  }
}

template <class Array>
Salvaged SalvageData(bstr_cBinary_fstream& file, const Header& header, const std::string& path,
                     const SalvageReport& report) {
  const char* const damaged = file.Path().CString();
  const std::unique_ptr<Series> sums = OpenSealed(damaged);
  Search<Array> search(file.Input(), header, sums.get());
  const Survivors survivors = search.Run();
  const auto& [layout, tag_type, extents, found, wrong, unchecked] = survivors;
  const int filled = static_cast<int>(extents.size());
  const bool counted = header.valid >= filled && header.valid <= layout.total;
  const int expected = counted ? header.valid : filled;
  if (found < 0 || (found == 0 && (expected > 0 || !layout.dimensions))) {
    Fail("nothing in {} can be saved", damaged);
  }

  DataSeries<Array> series(path, layout.dimensions ? *layout.dimensions : PlainDimension(layout.total),
                           header.dataType);
  constexpr const char* empty =
      std::is_same_v<Array, Bytes> ? "a datum without bytes" : "an array without elements";
  const unsigned int kind = tag_type != 0 ? tag_type : dtsr_cDataTag(0).TagTypeID();
  CheckDisk(path, extents);
  if (!layout.dimensions) report.lost("the dimensions are lost: the data lie along one plain dimension");
  if (!counted) report.lost(fmt::format("the header counts {} valid data", header.valid));
  if (const std::string unused = UnusedChecksums(damaged); !unused.empty()) report.lost(unused);
  if (sums && sums->Checksums() == dtsr_HeaderDiffers)
    report.lost("the header or the dimensions do not match the checksums: look at the positions");
  for (const int k : wrong) report.lost(fmt::format("datum {} does not match its checksum", k));
  if (!unchecked.empty()) {
    report.lost(
        fmt::format("{} no checksum, the first of them datum {}: after a power cut they may be incomplete",
                    Count(std::ssize(unchecked), "datum has", "data have"), unchecked.front()));
  }
  for (int k = 0; k < filled; ++k) {
    const Extent& extent = extents[static_cast<std::size_t>(k)];
    const std::optional<Array> datum = search.Datum(extent.begin, extent.end);
    std::unique_ptr<dtsr_cDataTag> tag = search.Tag(extent.tag, extent.tag_end, kind);
    if (!datum) report.lost(fmt::format("datum {} is lost; {} holds its place", k, empty));
    if (!tag) {
      report.lost(fmt::format("the tag of datum {} is lost; its time is {} now", k, TimeText(0)));
      tag = MakeTag(kind);
      tag->SetEqual(dtsr_cDataTag(0));
    }
    series.Append(datum.value_or(Array()), *tag);
    report.progress(k + 1, filled);
  }
  if (expected > filled + 1) report.lost(fmt::format("data {} to {} are lost", filled, expected - 1));
  if (expected == filled + 1) report.lost(fmt::format("datum {} is lost", filled));
  return {found, expected};
}

}  // namespace

Salvaged Salvage(bstr_cBinary_fstream& damaged, const Header& header, const std::string& path,
                 const SalvageReport& report) {
  const auto salvage = [&]<class Array>(std::type_identity<Array>) {
    return SalvageData<Array>(damaged, header, path, report);
  };
  return bKnownDataType(header.dataType) ? VisitDataType(header.dataType, salvage)
                                         : salvage(std::type_identity<Bytes>());
}

}  // namespace dseries
