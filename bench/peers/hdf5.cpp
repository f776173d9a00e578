// A series as an HDF5 file: its data, its tags and the number of valid data are datasets. In "hdf5" they grow
// in chunks, as is usual for appending; in "hdf5_fixed" they are contiguous and have their full extent from
// the start. Each append is flushed, so that other processes see it.

#include <array>
#include <cstdlib>
#include <hdf5.h>
#include <unistd.h>

#include "../synced.h"

namespace {

/// The identifier or status that a call returned; ends the program when the call failed.
template <class Result>
Result Checked(Result result) {
  if (result < 0) std::abort();
  return result;
}

/// A dataset of `count` rows of `columns` elements.
class Rows {
 public:
  /// With `chunk_bytes` 0 the dataset is contiguous and has all rows from the start.
  Rows(hid_t file, const char* name, hid_t type, hsize_t count, hsize_t columns, hsize_t chunk_bytes = 0)
      : type_(type), growing_(chunk_bytes != 0) {
    const hsize_t extents[] = {growing_ ? 0 : count, columns}, most[] = {count, columns};
    const hsize_t chunk[] = {chunk_bytes / (columns * H5Tget_size(type)), columns};
    const hid_t space = Checked(H5Screate_simple(2, extents, most));
    const hid_t layout = Checked(H5Pcreate(H5P_DATASET_CREATE));
    if (growing_) Checked(H5Pset_chunk(layout, 2, chunk));
    data_ = Checked(H5Dcreate2(file, name, type, space, H5P_DEFAULT, layout, H5P_DEFAULT));
    H5Pclose(layout);
    H5Sclose(space);
    SelectFrom(columns);
  }
  Rows(hid_t file, const char* name, hid_t type, hsize_t columns)
      : type_(type), data_(Checked(H5Dopen2(file, name, H5P_DEFAULT))) {
    SelectFrom(columns);
  }
  Rows(const Rows&) = delete;
  Rows& operator=(const Rows&) = delete;
  ~Rows() {
    H5Sclose(row_);
    H5Sclose(space_);
    H5Dclose(data_);
  }
  void Write(int i, const void* row) {
    if (growing_) Grow(i + 1);
    Select(i);
    Checked(H5Dwrite(data_, type_, row_, space_, H5P_DEFAULT, row));
  }
  void Read(int i, void* row) {
    Select(i);
    Checked(H5Dread(data_, type_, row_, space_, H5P_DEFAULT, row));
  }
  void ReadAll(void* rows) { Checked(H5Dread(data_, type_, H5S_ALL, H5S_ALL, H5P_DEFAULT, rows)); }

 private:
  void SelectFrom(hsize_t columns) {
    columns_ = columns;
    space_ = Checked(H5Dget_space(data_));
    row_ = Checked(H5Screate_simple(1, &columns_, nullptr));
  }
  void Grow(int count) {
    const hsize_t extents[] = {static_cast<hsize_t>(count), columns_};
    Checked(H5Dset_extent(data_, extents));
    H5Sclose(space_);
    space_ = Checked(H5Dget_space(data_));
  }
  void Select(int i) {
    const hsize_t start[] = {static_cast<hsize_t>(i), 0}, count[] = {1, columns_};
    Checked(H5Sselect_hyperslab(space_, H5S_SELECT_SET, start, nullptr, count, nullptr));
  }

  hid_t type_;
  bool growing_ = false;
  hid_t data_;
  hid_t space_ = 0;
  hid_t row_ = 0;
  hsize_t columns_ = 0;
};

struct File {
  explicit File(hid_t opened) : id(Checked(opened)) {}
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() { H5Fclose(id); }
  hid_t id;
};

template <bool growing>
class Hdf5Series {
 public:
  explicit Hdf5Series(std::int64_t bytes)
      : file_(H5Fcreate(TemporaryFile::path, H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT)),
        data_(file_.id, "data", H5T_NATIVE_CHAR, slots, static_cast<hsize_t>(bytes), growing ? 4096 : 0),
        tags_(file_.id, "tags", H5T_NATIVE_DOUBLE, slots, 3, growing ? 65536 : 0),
        count_(file_.id, "count", H5T_NATIVE_INT, 1, 1) {}

  void Append(const Datum& datum, int i) {
    const double tag[] = {double(i), 0, double(i)};
    const int count = i + 1;
    data_.Write(i, datum.data());
    tags_.Write(i, tag);
    count_.Write(0, &count);
    Checked(H5Fflush(file_.id, H5F_SCOPE_LOCAL));
  }
  void Reset() {}
  void Read(int i, Datum& datum) { data_.Read(i, datum.data()); }
  int Find(int x) {
    std::vector<std::array<double, 3>> tags(slots);
    tags_.ReadAll(tags.data());
    for (std::size_t i = 0; i < tags.size(); ++i) {
      if (tags[i] == std::array<double, 3>{double(x), 0, 0}) return static_cast<int>(i);
    }
    return -1;
  }
  static void Open() {
    const File file(H5Fopen(TemporaryFile::path, H5F_ACC_RDWR, H5P_DEFAULT));
    int count = 0;
    Rows(file.id, "count", H5T_NATIVE_INT, 1).Read(0, &count);
    const Rows data(file.id, "data", H5T_NATIVE_CHAR, 16), tags(file.id, "tags", H5T_NATIVE_DOUBLE, 3);
    benchmark::DoNotOptimize(count);
  }

 protected:
  File file_;

 private:
  Rows data_;
  Rows tags_;
  Rows count_;
};

/// Synced after every `every`th flush.
template <int every>
class Hdf5Synced : public Hdf5Series<true> {
 public:
  explicit Hdf5Synced(std::int64_t bytes) : Hdf5Series<true>(bytes) {
    void* handle = nullptr;
    Checked(H5Fget_vfd_handle(file_.id, H5P_DEFAULT, &handle));
    descriptor_ = *static_cast<int*>(handle);
  }
  void Append(const Datum& datum, int i) {
    Hdf5Series<true>::Append(datum, i);
    if ((i + 1) % every == 0 && ::fdatasync(descriptor_) != 0) std::abort();
  }

 private:
  int descriptor_;
};

[[maybe_unused]] const bool registered = [] {
  RegisterSynced<Hdf5Synced<Group>>("append_group", "hdf5");
  RegisterSynced<Hdf5Synced<1>>("append_strict", "hdf5");
  RegisterSeries<Hdf5Series<true>>("hdf5");
  RegisterSeries<Hdf5Series<false>>("hdf5_fixed");
  return true;
}();

}  // namespace
