#include "support.h"
#include "targets.h"
#include <DataStorage/data/darray2d.h>
#include <DataStorage/services/binimage.h>

using namespace fuzz;

namespace {

/// Reads the raw form into an array with other contents.
template <class Array>
void ReadRaw(Array array, const std::uint8_t* bytes, std::size_t n) {
  const std::string before = RawForm(array);
  bstr_cMemory_istream in(bytes, static_cast<std::int64_t>(n));
  if (!bSucceeds([&] { return array.Read(in); })) {
    Require(RawForm(array) == before);
    return;
  }
  const std::string form = RawForm(array);
  // A header before an image is read but never written.
  const auto used = static_cast<std::size_t>(in.Position());
  Require(Text(bytes, used).ends_with(form.substr(form.size() - static_cast<std::size_t>(array.SizeOf()))));
  Require(form.size() == used || form.size() + 4 == used);

  Array again;
  bstr_cMemory_istream in_again(form.data(), static_cast<std::int64_t>(form.size()));
  Require(again.Read(in_again));
  Require(RawForm(again) == form);
}

}  // namespace

int FuzzRawArrays(const std::uint8_t* bytes, std::size_t n) {
  ReadRaw(parr_c1DNumberArray(3, 1.5), bytes, n);
  ReadRaw(parr_c2DNumberArray(3, 2, 1.5), bytes, n);
  ReadRaw(darr_c1DArray(3, 1.5, cal_c1DArrayCal(1, 2, 3)), bytes, n);
  ReadRaw(darr_c2DArray(3, 2, 1.5, cal_c2DArrayCal(1, 2, 3, 4, 5, 6)), bytes, n);
  return 0;
}

int FuzzBitmap(const std::uint8_t* bytes, std::size_t n) {
  const auto equal = [](const auto& a, const auto& b) {
    return a.NumIndicesX() == b.NumIndicesX() && a.NumIndicesY() == b.NumIndicesY() &&
           std::equal(a.Data(), a.Data() + a.NumIndices(), b.Data());
  };
  const arr_c2DNumberArray<unsigned char> before(3, 2, nullptr, 7, true);
  arr_c2DNumberArray<unsigned char> image = before;
  bstr_cMemory_istream in(bytes, static_cast<std::int64_t>(n));
  if (!bSucceeds([&] { return dbrw_Read(in, image); })) {
    Require(equal(image, before));
    return 0;
  }
  bstr_cMemory_ostream out;
  Require(dbrw_Write(out, image));
  bstr_cMemory_istream in_again(out.Data(), out.Size());
  arr_c2DNumberArray<unsigned char> again;
  Require(dbrw_Read(in_again, again));
  Require(in_again.Position() == out.Size());
  Require(equal(again, image));
  return 0;
}
