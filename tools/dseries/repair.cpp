#include <algorithm>
#include <cstdint>
#include <fmt/format.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands.h"
#include "failure.h"
#include "format.h"
#include "header.h"
#include "newfile.h"
#include "progress.h"
#include "series.h"
#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>

namespace dseries {

namespace {

/// Where a series keeps its lists. Told twice in a file: by the header, and by the dimensions, behind which
/// the lists begin.
struct Layout {
  std::int64_t lists;
  int total;
  std::optional<dtsr_cDimensionArray> dimensions;  ///< none: they are damaged

  std::int64_t DataBegin() const { return lists + std::int64_t{8} * total; }
  bool bFits(std::int64_t size) const { return lists >= Header::size && total > 0 && DataBegin() <= size; }
};

/// The places of a datum; `begin` is 0 for one that is lost, `tag` for a tag that is.
struct Place {
  std::int64_t begin = 0;
  std::int64_t tag = 0;
};

struct Survivors {
  Layout layout;
  unsigned int tag_type = 0;
  std::vector<Place> places;  ///< up to the last datum that survived
  int found = 0;
};

/// Looks for the data of a damaged file, which are arrays of class `Array`.
template <class Array>
class Search {
 public:
  Search(bstr_cBinary_istream& in, const Header& header) : in_(in), header_(header) {}

  Survivors Run() {
    Survivors best{Layout{0, 0, {}}, 0, {}, -1};
    for (Layout& layout : Layouts()) {
      Survivors survivors = Walk(std::move(layout));
      if (survivors.found > best.found) best = std::move(survivors);
    }
    return best;
  }

  std::optional<Array> Datum(std::int64_t begin) {
    Array datum;
    if (begin == 0 || !bReads([&]() -> bool { return in_.Seek(begin) && datum.Read(in_); })) return {};
    return datum;
  }

  /// The tag at a place, which its kind must allow; null when there is none.
  std::unique_ptr<dtsr_cDataTag> Tag(std::int64_t begin, unsigned int kind) {
    std::unique_ptr<dtsr_cDataTag> tag = MakeTag(kind);
    const bool read = begin != 0 && bReads([&] {
                        if (!in_.Seek(begin)) return false;
                        tag->Read(in_);
                        return true;
                      });
    return read ? std::move(tag) : nullptr;
  }

 private:
  /// As the dimensions tell it, then as the header does where that differs.
  std::vector<Layout> Layouts() {
    std::vector<Layout> layouts;
    const Layout told{header_.lists, header_.total, {}};
    if (auto layout = LayoutOfDimensions()) layouts.push_back(*std::move(layout));
    const bool known = !layouts.empty() && layouts[0].lists == told.lists && layouts[0].total == told.total;
    if (!known && told.bFits(in_.Size())) layouts.push_back(told);
    return layouts;
  }

  std::optional<Layout> LayoutOfDimensions() {
    constexpr std::int64_t longest = 1 << 20;  // of records whose counts cannot be trusted
    const std::int64_t n = std::clamp<std::int64_t>(in_.Size() - Header::size, 0, longest);
    std::string bytes(static_cast<std::size_t>(n), '\0');
    if (!in_.Seek(Header::size) || !in_.Read(bytes.data(), n)) return {};
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
    const Layout layout{Header::size + records.Position(), total, dimensions};
    return read && layout.bFits(in_.Size()) ? std::optional(layout) : std::nullopt;
  }

  /// Goes from datum to datum: each begins where the tag before it ends. Where one is broken the offset lists
  /// tell where the next one is, if they are whole there.
  Survivors Walk(Layout layout) {
    const int total = layout.total;
    std::vector<std::int32_t> data(static_cast<std::size_t>(total)), tags(data.size());
    if (!in_.Seek(layout.lists) || !bstr_ReadNumbers(in_, data.data(), total) ||
        !bstr_ReadNumbers(in_, tags.data(), total)) {
      Fail("the offset lists cannot be read");
    }
    Survivors survivors{std::move(layout), 0, {}, 0};
    const bool counted = header_.valid >= 0 && header_.valid <= total;
    std::int64_t free = survivors.layout.DataBegin();  // what lies before is taken
    std::int64_t next = free;                          // 0 when nobody can tell
    for (int k = 0; k < total; ++k) {
      const std::int64_t begin = data[static_cast<std::size_t>(k)], tag = tags[static_cast<std::size_t>(k)];
      if (counted && k >= header_.valid && tag == 0) break;
      Place place = Find(next, tag, survivors.tag_type);
      if (place.begin == 0 && begin >= free) place = Find(begin, tag, survivors.tag_type);
      next = place.begin != 0 && place.tag != 0 ? in_.Position() : 0;
      if (place.begin == 0) {
        place.tag = tag;
      } else {
        free = std::max(next, place.begin);
        ++survivors.found;
      }
      survivors.places.push_back(place);
    }
    while (!survivors.places.empty() && survivors.places.back().begin == 0) survivors.places.pop_back();
    return survivors;
  }

  /// The datum at `begin` if it is whole: a tag follows it, or the list says that it ends where it does.
  Place Find(std::int64_t begin, std::int64_t listed_tag, unsigned int& tag_type) {
    if (!Datum(begin)) return {};
    const std::int64_t end = in_.Position();
    std::uint32_t kind = 0;
    const bool known = bstr_ReadFields(in_, kind) && TagTypeName(kind) != nullptr;
    if (known && (tag_type == 0 || kind == tag_type) && Tag(end, kind) != nullptr) {
      tag_type = kind;
      return {begin, end};
    }
    return end == listed_tag ? Place{begin, 0} : Place{};
  }

  bstr_cBinary_istream& in_;
  const Header& header_;
};

dtsr_cDimensionArray PlainDimension(int size) {
  dtsr_cDimensionArray dimensions;
  dimensions.Dimension(0) = {size, cal_c1DArrayCal(0, 1), "datum", "", false};
  return dimensions;
}

template <class Array>
void Repair(bstr_cBinary_fstream& file, const Header& header, const std::string& path) {
  const char* const damaged = file.Path().CString();
  Search<Array> search(file.Input(), header);
  const Survivors survivors = search.Run();
  const auto& [layout, tag_type, places, found] = survivors;
  const int filled = static_cast<int>(places.size());
  const bool counted = header.valid >= filled && header.valid <= layout.total;
  const int expected = counted ? header.valid : filled;
  if (found < 0 || (found == 0 && (expected > 0 || !layout.dimensions))) {
    Fail("nothing in {} can be saved", damaged);
  }

  if (bExists(path)) Fail("{} exists already", path);
  Unfinished unfinished(path);
  DataSeries<Array> series(path, layout.dimensions ? *layout.dimensions : PlainDimension(layout.total));
  const unsigned int kind = tag_type != 0 ? tag_type : dtsr_cDataTag(0).TagTypeID();
  if (!layout.dimensions) fmt::print("the dimensions are lost: the data lie along one plain dimension\n");
  if (!counted) fmt::print("the header counts {} valid data\n", header.valid);
  {
    Progress progress("saving", filled);
    for (int k = 0; k < filled; ++k) {
      const Place& place = places[static_cast<std::size_t>(k)];
      const std::optional<Array> datum = search.Datum(place.begin);
      std::unique_ptr<dtsr_cDataTag> tag = search.Tag(place.tag, kind);
      if (!datum) fmt::print("datum {} is lost; an array without elements holds its place\n", k);
      if (!tag) {
        fmt::print("the tag of datum {} is lost; its time is {} now\n", k, TimeText(0));
        tag = MakeTag(kind);
        tag->SetEqual(dtsr_cDataTag(0));
      }
      series.Append(datum.value_or(Array()), *tag);
      progress.Show(k);
    }
  }
  if (expected > filled + 1) fmt::print("data {} to {} are lost\n", filled, expected - 1);
  if (expected == filled + 1) fmt::print("datum {} is lost\n", filled);
  unfinished.Finished();
  fmt::print("{}: {} of {} data saved in {}\n", damaged, found, expected, path);
}

}  // namespace

void AddRepair(CLI::App& program) {
  auto file = std::make_shared<std::string>();
  auto output = std::make_shared<std::string>();
  CLI::App& command =
      *program.add_subcommand("repair", "Save what is whole in a damaged series file into a new one");
  command.add_option("FILE", *file, "The damaged file; it is only read")->required();
  command.add_option("-o,--output", *output, "The file to make")->type_name("NEW")->required();
  command.footer(
      "Tells what is lost. Data keep their indices: an array without elements takes\n"
      "the place of a lost datum that others follow.\n\n"
      "Example:\n"
      "  dseries repair broken.dseries -o saved.dseries");
  command.callback([=] {
    bstr_cBinary_fstream damaged = OpenToRead(*file);
    const Header header = ReadHeader(damaged);
    VisitDataType(header.data_type,
                  [&]<class Array>(std::type_identity<Array>) { Repair<Array>(damaged, header, *output); });
  });
}

}  // namespace dseries
