#include <DataStorage/data/dataset.h>

namespace {

constexpr detail::SourceFile source_file{"dataset"};

template <class T>
constexpr data_eDatasetType kind_of = data_Boolean;
template <>
constexpr data_eDatasetType kind_of<barr_c1DBoolArray> = data_1DBoolArray;
template <>
constexpr data_eDatasetType kind_of<barr_c2DBoolArray> = data_2DBoolArray;
template <>
constexpr data_eDatasetType kind_of<pnum_cNumber> = data_Number;
template <>
constexpr data_eDatasetType kind_of<darr_c1DArray> = data_1DArray;
template <>
constexpr data_eDatasetType kind_of<darr_c2DArray> = data_2DArray;

const char* Name(data_eDatasetType kind) {
  switch (kind) {
    case data_Boolean:
      return "boolean";
    case data_1DBoolArray:
      return "1D boolean array";
    case data_2DBoolArray:
      return "2D boolean array";
    case data_Number:
      return "number";
    case data_1DArray:
      return "1D data array";
    case data_2DArray:
      return "2D data array";
  }
  return "unknown kind";
}

template <class T>
class data_cValueLetter final : public data_cLetter {
 public:
  explicit data_cValueLetter(const T& value) : value_(value) {}

  data_eDatasetType DatasetType() const override { return kind_of<T>; }
  std::unique_ptr<data_cLetter> Clone() const override { return std::make_unique<data_cValueLetter>(value_); }
  const void* ValuePointer() const override { return &value_; }

 private:
  T value_;
};

}  // namespace

data_cLetter::~data_cLetter() = default;

data_cDataset::data_cDataset(const type_cBoolean& value)
    : letter_(std::make_unique<data_cValueLetter<type_cBoolean>>(value)) {}
data_cDataset::data_cDataset(const barr_c1DBoolArray& value)
    : letter_(std::make_unique<data_cValueLetter<barr_c1DBoolArray>>(value)) {}
data_cDataset::data_cDataset(const barr_c2DBoolArray& value)
    : letter_(std::make_unique<data_cValueLetter<barr_c2DBoolArray>>(value)) {}
data_cDataset::data_cDataset(const pnum_cNumber& value)
    : letter_(std::make_unique<data_cValueLetter<pnum_cNumber>>(value)) {}
data_cDataset::data_cDataset(const darr_c1DArray& value)
    : letter_(std::make_unique<data_cValueLetter<darr_c1DArray>>(value)) {}
data_cDataset::data_cDataset(const darr_c2DArray& value)
    : letter_(std::make_unique<data_cValueLetter<darr_c2DArray>>(value)) {}

data_cDataset::data_cDataset(const data_cDataset& other) : letter_(other.letter_->Clone()) {}

data_cDataset& data_cDataset::operator=(const data_cDataset& other) {
  if (this != &other) letter_ = other.letter_->Clone();
  return *this;
}

data_cDataset::~data_cDataset() = default;

data_eDatasetType data_cDataset::DatasetType() const { return letter_->DatasetType(); }

template <class T>
const T& data_cDataset::Held() const {
  if (DatasetType() != kind_of<T>) {
    source_file.ThrowUserError(str_cString("The dataset holds a ") + Name(DatasetType()) + ", not a " +
                               Name(kind_of<T>) + ".");
  }
  return *static_cast<const T*>(letter_->ValuePointer());
}

data_cDataset::operator type_cBoolean() const { return Held<type_cBoolean>(); }
data_cDataset::operator barr_c1DBoolArray() const { return Held<barr_c1DBoolArray>(); }
data_cDataset::operator barr_c2DBoolArray() const { return Held<barr_c2DBoolArray>(); }
data_cDataset::operator pnum_cNumber() const { return Held<pnum_cNumber>(); }
data_cDataset::operator darr_c1DArray() const { return Held<darr_c1DArray>(); }
data_cDataset::operator darr_c2DArray() const { return Held<darr_c2DArray>(); }
