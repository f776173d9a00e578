#include "file/failure.h"
#include "io/columns.h"
#include "io/npy.h"
#include "io/picture.h"
#include "support.h"
#include "targets.h"

using namespace fuzz;

namespace {

/// Calls `read`; the only other end is a Failure.
template <class Read>
void TryTo(Read read) {
  try {
    read();
  } catch (const dseries::Failure& failure) {
    Require(!std::string(failure.what()).empty());
  }
}

void ReadText(const std::string& text, const dseries::TextForm& form) {
  const dseries::Text read = dseries::ReadColumns("a", text, form);
  Require(!read.parts.empty());
  for (const dseries::Columns& part : read.parts) {
    Require(!part.data.empty() && !part.lines.empty());
    Require(part.positions.empty() || part.positions.size() == part.lines.size());
    for (const dseries::Values& column : part.data) Require(column.values.size() == part.lines.size());
    if (!part.positions.empty()) TryTo([&] { dseries::GridOf("a", part, {true, 0}); });
  }
}

}  // namespace

int FuzzTexts(const std::uint8_t* bytes, std::size_t n) {
  const std::string text = Text(bytes, n);
  TryTo([&] { ReadText(text, {}); });
  TryTo([&] { ReadText(text, {"1,2-", 1, {}, {}, {}, {"x"}}); });
  TryTo([&] { ReadText(text, {"", {}, ',', '.', {"!"}, {}}); });
  return 0;
}

int FuzzPictures(const std::uint8_t* bytes, std::size_t n) {
  const std::string file = Text(bytes, n);
  TryTo([&] { dseries::ReadPictures("a", file, dseries::Channel::Brightness); });
  TryTo([&] { dseries::ReadPictures("a", file, dseries::Channel::Alpha); });
  TryTo([&] {
    const dseries::NpyArray array = dseries::ReadNpy("a", file);
    std::size_t size = static_cast<std::size_t>(array.type.SizeOf());
    for (const int extent : array.extents) size *= static_cast<std::size_t>(extent);
    Require(array.elements.size() == size);
  });
  return 0;
}
