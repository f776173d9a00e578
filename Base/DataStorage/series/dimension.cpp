#include <algorithm>
#include <cstdint>
#include <string>

#include <DataStorage/series/dimension.h>

namespace {

using detail::LimitToInt;

constexpr detail::SourceFile source_file{"DataSeries"};

/// Bytes of the raw form of a dimension with empty texts.
constexpr int SmallestRecord = 32;

/// size - index, and back; modulo 2^32, so that any two numbers can be restored.
std::int32_t CountedFromSize(std::int32_t size, std::int32_t index) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(size) - static_cast<std::uint32_t>(index));
}

void ReadText(bstr_cBinary_istream& in, str_cString& text) {
  std::int32_t length;
  if (!bstr_ReadFields(in, length)) return;
  if (length < 0 || length > in.Size() - in.Position()) source_file.ThrowUserError("Can't read dimension.");
  std::string characters(static_cast<std::size_t>(length), '\0');
  if (in.Read(characters.data(), length)) text = str_cString(characters);
}

void WriteText(bstr_cBinary_ostream& out, const str_cString& text) {
  bstr_WriteFields(out, std::int32_t{text.Length()});
  out.Write(text.CString(), text.Length());
}

}  // namespace

dtsr_cDimension::dtsr_cDimension(int size, const cal_c1DArrayCal& calibration, const str_cString& description,
                                 const str_cString& units, type_cBoolean reverseOrder)
    : size_(size),
      calibration_(calibration),
      description_(description),
      units_(units),
      reverseOrder_(reverseOrder) {}

dtsr_cDimension::~dtsr_cDimension() = default;

void dtsr_cDimension::Read(bstr_cBinary_istream& in) {
  std::int32_t size, calIndex;
  double offset, delta;
  if (bstr_ReadFields(in, size, offset, delta, calIndex)) {
    size_ = size;
    reverseOrder_ = delta < 0.0;
    calibration_ = reverseOrder_ ? cal_c1DArrayCal(offset, -delta, CountedFromSize(size, calIndex))
                                 : cal_c1DArrayCal(offset, delta, calIndex);
  }
  ReadText(in, description_);
  ReadText(in, units_);
  if (!in.bGood()) source_file.ThrowUserError("Can't read dimension.");
}

void dtsr_cDimension::Write(bstr_cBinary_ostream& out) const {
  const double delta = calibration_.DeltaX();
  const std::int32_t calIndex = calibration_.CalIndexX();
  bstr_WriteFields(out, std::int32_t{size_}, calibration_.OffsetX(), reverseOrder_ ? -delta : delta,
                   reverseOrder_ ? CountedFromSize(size_, calIndex) : calIndex);
  WriteText(out, description_);
  WriteText(out, units_);
  if (!out.bGood()) source_file.ThrowUserError("Can't write dimension.");
}

dtsr_cDimensionArray::dtsr_cDimensionArray(int count) : dimensions_(std::max(count, 0)) {
  if (count < 0) arr_IndexError(0, count);
}

dtsr_cDimensionArray::~dtsr_cDimensionArray() = default;

int dtsr_cDimensionArray::TotalNumberIndices() const {
  const dtsr_cDimension* first = dimensions_.Data();
  const dtsr_cDimension* end = first + NumberDimensions();
  if (std::any_of(first, end, [](const dtsr_cDimension& d) { return d.Size() == 0; })) return 0;
  int total = 1;
  for (const dtsr_cDimension* d = first; d != end; ++d) {
    const std::int64_t product = std::int64_t{total} * d->Size();
    total = LimitToInt(product);
    if (total != product) arr_SizeError(product);
  }
  return total;
}

int dtsr_cDimensionArray::Index(const arr_cC_Array<int>& indices) const {
  int linear = 0;
  int stride = 1;
  for (int d = 0; d < NumberDimensions(); ++d) {
    dtsr_cDimension& dimension = dimensions_[d];
    const std::int64_t size = dimension.Size();
    const int i = dimension.bReverseOrder() ? LimitToInt(size - indices[d] - 1) : indices[d];
    linear = LimitToInt(linear + std::int64_t{i} * stride);
    stride = LimitToInt(stride * size);
  }
  return linear;
}

arr_cC_Array<int> dtsr_cDimensionArray::IndexPosition(int linearIndex) const {
  arr_cC_Array<int> indices(NumberDimensions());
  int stride = TotalNumberIndices();
  if (stride < 1) arr_IndexError(linearIndex, stride);
  int rest = linearIndex;
  for (int d = NumberDimensions() - 1; d >= 0; --d) {
    dtsr_cDimension& dimension = dimensions_[d];
    const std::int64_t size = dimension.Size();
    if (size < 1) arr_IndexError(linearIndex, size);
    stride /= dimension.Size();
    const int i = rest / stride;
    indices[d] = dimension.bReverseOrder() ? LimitToInt(size - i - 1) : i;
    rest %= stride;
  }
  return indices;
}

arr_cC_Array<int> dtsr_cDimensionArray::IndexPosition(const arr_cC_Array<double>& positions) const {
  arr_cC_Array<int> indices(NumberDimensions());
  for (int d = 0; d < NumberDimensions(); ++d) {
    indices[d] = dimensions_[d].Calibration().IndexX(positions[d]);
  }
  return indices;
}

arr_cC_Array<double> dtsr_cDimensionArray::Position(const arr_cC_Array<int>& indices) const {
  arr_cC_Array<double> positions(NumberDimensions());
  for (int d = 0; d < NumberDimensions(); ++d) {
    positions[d] = dimensions_[d].Calibration().PositionX(indices[d]);
  }
  return positions;
}

void dtsr_cDimensionArray::Read(bstr_cBinary_istream& in) {
  std::int32_t count;
  if (!bstr_ReadFields(in, count)) return;
  if (count < 0) arr_SizeError(count);
  if (count > (in.Size() - in.Position()) / SmallestRecord) {
    source_file.ThrowUserError("Can't read dimension.");
  }
  dimensions_.SetSize(count);
  for (int d = 0; d < count; ++d) dimensions_[d].Read(in);
}

void dtsr_cDimensionArray::Write(bstr_cBinary_ostream& out) const {
  bstr_WriteFields(out, std::int32_t{NumberDimensions()});
  for (int d = 0; d < NumberDimensions(); ++d) dimensions_[d].Write(out);
}
