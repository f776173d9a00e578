#include "file.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <file/dimensions.h>
#include <file/header.h>
#include <file/kinds.h>
#include <file/seal.h>
#include <filesystem>
#include <pthread.h>
#include <pybind11/stl.h>
#include <shared_mutex>

#include "elements.h"
#include "errors.h"
#include <DataStorage/interfaces/constants.h>

namespace core {

namespace {

/// How often this process is the child of a fork.
std::atomic<int> forks = 0;
/// Each thread that uses a file shares it; a fork has it alone.
std::shared_mutex in_use;

/// What one read of a block takes at most before signals are looked at.
constexpr std::int64_t most_bytes = 64 << 20;

std::string FieldOf(const py::bytes& bytes) { return std::string(std::string_view(bytes)); }
py::bytes BytesOf(const str_cString& text) {
  const std::string_view view(text);
  return py::bytes(view.data(), view.size());
}

dtsr_cDimensionArray DimensionsOf(const std::vector<Dimension>& dimensions) {
  dtsr_cDimensionArray result(static_cast<int>(dimensions.size()));
  int d = 0;
  for (const auto& [name, units, size, offset, delta, index, reverse] : dimensions) {
    result.Dimension(d++) = dtsr_cDimension(size, cal_c1DArrayCal(offset, delta, index),
                                            str_cString(std::string_view(FieldOf(name))),
                                            str_cString(std::string_view(FieldOf(units))), reverse);
  }
  return result;
}

/// Calls `use`; when it fails because the system has failed, throws SystemFailure with the reason.
template <class Use>
auto NamingTheReason(const std::string& path, Use use) {
  errno = 0;
  try {
    return use();
  } catch (const dtsr_cFileLockedException& locked) {
    throw SystemFailure(EWOULDBLOCK, locked.Message().CString(), path);
  } catch (const expt_cUserException& exception) {
    if (const int reason = errno; reason != 0) {
      throw SystemFailure(reason, std::string(exception.Message().CString()) + ' ' + std::strerror(reason),
                          path);
    }
    throw;
  }
}

}  // namespace

/// A thread has the file to itself.
class SeriesFile::Hold {
 public:
  explicit Hold(SeriesFile& file) : lock_(file.mutex_) {}

 private:
  std::shared_lock<std::shared_mutex> use_{in_use};
  std::lock_guard<std::mutex> lock_;
};

/// The turn of one thread: it has the file to itself, and does not hold the interpreter's lock.
class SeriesFile::Turn {
 public:
  explicit Turn(SeriesFile& file) : hold_(file) { file.RequireUsable(); }

 private:
  py::gil_scoped_release released_;
  Hold hold_;
};

SeriesFile::SeriesFile(std::string path, Mode mode) : path_(std::move(path)), mode_(mode), process_(forks) {
  plane_ = dseries::KnownDataType(path_) == darr_c2DArray::DataTypeID();
  Use(Opened());
}

SeriesFile::SeriesFile(std::string path, bool plane, std::unique_ptr<dseries::Series> series)
    : path_(std::move(path)), mode_(Mode::Append), plane_(plane), process_(forks) {
  Use(std::move(series));
}

void SeriesFile::Use(std::unique_ptr<dseries::Series> series) {
  series_ = std::move(series);
  probe_ = std::make_unique<dseries::Series>(*series_);
  overwritten_ = cut_ = false;
}

void SeriesFile::RequireSame() {
  const int known = probe_->NextWriteIndex();
  const dtsr_eRefreshed found = probe_->Refresh();
  // A path that names another file does no harm to this one.
  if (found == dtsr_Reset || (found == dtsr_Replaced && probe_->NextWriteIndex() < known))
    overwritten_ = true;
  if (!overwritten_) return;
  throw SystemFailure(ESTALE, "the file was emptied or overwritten: refresh() finds what it holds now",
                      path_);
}

std::unique_ptr<dseries::Series> SeriesFile::Opened() const {
  const bstr_eAccess access = mode_ == Mode::Read ? bstr_OpenReadOnly : bstr_OpenLocked;
  const auto open = [&] {
    std::unique_ptr<dseries::Series> series;
    if (plane_)
      series = std::make_unique<OpenSeries<darr_c2DArray>>(path_, access);
    else
      series = std::make_unique<OpenSeries<darr_c1DArray>>(path_, access);
    // Checksums that were begun go on.
    if (mode_ == Mode::Append && series->Checksums() >= dtsr_HasChecksums) series->KeepChecksums();
    return series;
  };
  return NamingTheReason(path_, open);
}

std::unique_ptr<SeriesFile> SeriesFile::Create(std::string path, const std::vector<Dimension>& dimensions,
                                               int ndim, bool overwrite) {
  if (ndim != 1 && ndim != 2) throw py::value_error("the data of a series have one or two dimensions");
  const dtsr_cDimensionArray sizes = DimensionsOf(dimensions);
  const bstr_eAccess access = overwrite ? bstr_CreateLocked : bstr_CreateNew;
  const auto create = [&]() -> std::unique_ptr<dseries::Series> {
    if (ndim == 2) {
      return std::make_unique<OpenSeries<darr_c2DArray>>(path, sizes, darr_c2DArray::DataTypeID(), access);
    }
    return std::make_unique<OpenSeries<darr_c1DArray>>(path, sizes, darr_c1DArray::DataTypeID(), access);
  };
  auto series = NamingTheReason(path, create);
  return std::unique_ptr<SeriesFile>(new SeriesFile(std::move(path), ndim == 2, std::move(series)));
}

void SeriesFile::RequireUsable() {
  if (series_ == nullptr) throw py::value_error("the series " + path_ + " is closed");
  if (mode_ == Mode::Read || process_ == forks) return;
  closed_ = true;
  Drop();
  throw dseries::Failure(path_ +
                         " is open for appending in the process that this one is a fork of: open it again");
}

void SeriesFile::Close() {
  closed_ = true;
  const py::gil_scoped_release released;
  const Hold hold(*this);
  Drop();
}

void SeriesFile::Drop() {
  probe_.reset();
  series_.reset();
}

int SeriesFile::Slots() {
  const Turn turn(*this);
  return series_->Size();
}

int SeriesFile::Filled() {
  const Turn turn(*this);
  return series_->NextWriteIndex();
}

std::vector<Dimension> SeriesFile::Dimensions() {
  dtsr_cDimensionArray dimensions;
  {
    const Turn turn(*this);
    dimensions = series_->DimensionArray();
  }
  std::vector<Dimension> result;
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    dtsr_cDimension& dimension = dimensions.Dimension(d);
    const cal_c1DArrayCal& cal = dimension.Calibration();
    result.emplace_back(BytesOf(dimension.Description()), BytesOf(dimension.Units()), dimension.Size(),
                        cal.OffsetX(), cal.DeltaX(), cal.CalIndexX(), dimension.bReverseOrder());
  }
  return result;
}

std::vector<int> SeriesFile::IndicesAt(const std::vector<double>& positions) {
  const Turn turn(*this);
  arr_cC_Array<double> vector(static_cast<int>(positions.size()));
  std::copy(positions.begin(), positions.end(), vector.Data());
  return dseries::VectorOf(series_->DimensionArray().IndexPosition(vector));
}

std::unique_ptr<Array> SeriesFile::Datum(int i) {
  std::optional<Array::Value> datum;
  {
    const Turn turn(*this);
    RequireSame();
    Visit([&](auto& series) { datum.emplace(Writable(series.Read(i))); });
  }
  return std::make_unique<Array>(std::move(*datum));
}

py::tuple SeriesFile::Head(int i) {
  return WithKind([&]<class Data>(std::type_identity<Data>) {
    std::optional<BlockReader<Data>> reader;
    {
      const Turn turn(*this);
      RequireSame();
      reader.emplace(As<Data>().Block(std::span(&i, 1), false));
    }
    return py::make_tuple(NumpyType(reader->Form().type), reader->Shape(),
                          CalibrationOfAxes(reader->Form().cals));
  });
}

py::bytes SeriesFile::FirstBytes(int i) {
  std::string bytes;
  {
    const Turn turn(*this);
    RequireSame();
    bytes = Visit([&](auto& series) { return series.FirstBytes(i); });
  }
  return bytes;
}

py::array SeriesFile::Values(const Indices& indices, bool same_axes) {
  return WithKind([&]<class Data>(std::type_identity<Data>) {
    const std::span<const std::int32_t> chosen(indices.data(), static_cast<std::size_t>(indices.size()));
    std::optional<BlockReader<Data>> reader;
    {
      const Turn turn(*this);
      RequireSame();
      reader.emplace(As<Data>().Block(chosen, same_axes));
    }
    std::vector<py::ssize_t> shape{reader->Rows()};
    const auto of_datum = reader->Shape();
    shape.insert(shape.end(), of_datum.begin(), of_datum.end());
    py::array block(NumpyType(reader->Form().type), shape);
    auto* const rows = static_cast<unsigned char*>(block.mutable_data());
    const int at_once = static_cast<int>(
        std::clamp<std::int64_t>(most_bytes / std::max<std::int64_t>(reader->RowBytes(), 1), 1, 1 << 16));
    for (int begin = 0; begin < reader->Rows(); begin += at_once) {
      const int end = std::min(begin + at_once, reader->Rows());
      {
        const py::gil_scoped_release released;
        reader->Read(begin, end, rows);
      }
      if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    }
    const Turn turn(*this);
    RequireSame();
    return block;
  });
}

py::tuple SeriesFile::Tags(int begin, int end) {
  const int n = std::max(end - begin, 0);
  py::array_t<std::int64_t> times(n);
  py::array_t<double> positions({n, 2});
  std::int64_t* const time = times.mutable_data();
  double* const position = positions.mutable_data();
  bool positioned = false;
  {
    const Turn turn(*this);
    RequireSame();
    if (n > 0 && (begin < 0 || end > series_->NextWriteIndex()))
      arr_IndexError(begin, end, series_->NextWriteIndex());
    const unsigned int kind = series_->TagTypeID();
    positioned = kind == obty_2DPositionType;
    dtsr_cDataTag plain;
    dtsr_c2DPosition placed;
    dtsr_cDataTag& tag = positioned ? placed : plain;
    for (int k = 0; k < n; ++k) {
      const bool read = dseries::bReads([&] {
        if (!dseries::bKnownTagType(kind)) {
          time[k] = series_->Tag(begin + k)->Time();
          return true;
        }
        series_->GetTag(begin + k, tag);
        time[k] = tag.Time();
        position[2 * k] = placed.X();
        position[2 * k + 1] = placed.Y();
        return true;
      });
      if (!read) {
        dseries::FailForDamage(path_,
                               fmt::format("the tag of datum {} of {} cannot be read", begin + k, path_));
      }
    }
  }
  return py::make_tuple(times, positioned ? py::object(positions) : py::none());
}

int SeriesFile::Append(Array& datum, std::int64_t time,
                       const std::optional<std::pair<double, double>>& position) {
  Array::Value& value = datum.Free();
  // The lock of the interpreter is held: others may own the elements too.
  const Hold hold(*this);
  RequireUsable();
  RequireAppending();
  if (time != static_cast<std::int32_t>(time))
    throw py::value_error("a series file has no room for this time");
  const int i = series_->NextWriteIndex();
  if (i >= series_->Size()) throw py::index_error("the series is full: all of its slots are filled");

  const dtsr_cDataTag plain(static_cast<long>(time));
  const dtsr_c2DPosition placed(position ? position->first : 0, position ? position->second : 0,
                                static_cast<long>(time));
  const dtsr_cDataTag& tag = position ? placed : plain;
  if (const unsigned int kind = series_->TagTypeID(); kind != 0 && kind != tag.TagTypeID()) {
    throw py::value_error("the tags of this series hold " + dseries::TagTypeName(kind) +
                          ", that of this datum " + dseries::TagTypeName(tag.TagTypeID()));
  }
  return Visit([&]<class Data>(OpenSeries<Data>& series) {
    const auto* const array = std::get_if<Writable<Data>>(&value);
    if (array == nullptr)
      throw py::value_error("the data of this series have the other number of dimensions");
    if (!BlockReader<Data>::bReadable(array->DataType())) {
      throw py::type_error("data of type " + dseries::ElementName(array->DataType()) +
                           " cannot be read back from a series file: convert them");
    }
    if (dseries::StoredSize<Data>(array->NumIndices(), array->DataType()) + dseries::StoredSize(tag) >
        series.Room()) {
      throw SystemFailure(EFBIG, "a series file ends at 2 GiB", path_);
    }
    NamingTheReason(path_, [&] { series.Append(*array, tag); });
    return i;
  });
}

void SeriesFile::RequireAppending() const {
  if (mode_ != Mode::Append) throw SystemFailure(EBADF, "the series was opened for reading only", path_);
}

void SeriesFile::SetDurability(const std::string& durability, int data, int milliseconds) {
  constexpr std::pair<const char*, dtsr_eDurability> names[] = {
      {"none", dtsr_DurabilityNone}, {"group", dtsr_DurabilityGroup}, {"strict", dtsr_DurabilityStrict}};
  const auto* const named =
      std::find_if(std::begin(names), std::end(names), [&](const auto& n) { return durability == n.first; });
  if (named == std::end(names)) {
    throw py::value_error("durability is 'none', 'group' or 'strict', not '" + durability + '\'');
  }
  if (data < 1 || milliseconds < 0)
    throw py::value_error("a group has 1 datum or more, and takes 0 ms or more");
  const Turn turn(*this);
  RequireAppending();
  NamingTheReason(path_, [&] { series_->SetDurability(named->second, data, milliseconds); });
}

void SeriesFile::Sync() {
  const Turn turn(*this);
  RequireAppending();
  NamingTheReason(path_, [&] { series_->Sync(); });
}

void SeriesFile::KeepChecksums() {
  const Turn turn(*this);
  RequireAppending();
  NamingTheReason(path_, [&] { series_->KeepChecksums(); });
}

int SeriesFile::Seal() {
  const Turn turn(*this);
  if (series_->Checksums() == dtsr_OtherChecksums) {
    throw dseries::Failure(dseries::UnusedChecksums(path_) + "; remove that file to store new ones");
  }
  return NamingTheReason(path_, [&] { return series_->Seal(); });
}

std::optional<bool> SeriesFile::Checked(int i) {
  const Turn turn(*this);
  const dtsr_eChecked checked = series_->Checked(i);
  if (checked == dtsr_Unchecked) return {};
  return checked == dtsr_Right;
}

bool SeriesFile::Refresh() {
  dtsr_eRefreshed found = dtsr_NothingNew;
  {
    const Turn turn(*this);
    found = series_->Refresh();
    if (found < dtsr_Cut) {
      const bool same = found != dtsr_Reset && !overwritten_ && !cut_;
      if (!same) Use(std::move(series_));
      return same;
    }
    cut_ |= found == dtsr_Cut;
  }
  if (found == dtsr_Removed) throw SystemFailure(ENOENT, std::strerror(ENOENT), path_);
  if (found == dtsr_Cut) dseries::FailForDamage(path_, path_ + " was cut off");
  if (mode_ == Mode::Append) {
    throw SystemFailure(ESTALE, "another file has taken the place of the one that is open for appending",
                        path_);
  }
  if (dseries::KnownDataType(path_) != (plane_ ? darr_c2DArray::DataTypeID() : darr_c1DArray::DataTypeID())) {
    throw dseries::Failure(path_ + " was replaced by a file with data of another kind: open it again");
  }
  auto replacement = Opened();
  const Turn turn(*this);
  Use(std::move(replacement));
  return false;
}

void DefineFile(py::module_& module) {
  pthread_atfork([] { in_use.lock(); }, [] { in_use.unlock(); },
                 [] {
                   std::construct_at(&in_use);  // the thread that locked it has another number here
                   ++forks;
                 });
  py::class_<SeriesFile>(module, "SeriesFile", "A series file, open: what datastorage.Series works with.")
      .def(py::init([](const std::string& path, bool append) {
             return std::make_unique<SeriesFile>(path,
                                                 append ? SeriesFile::Mode::Append : SeriesFile::Mode::Read);
           }),
           py::arg("path"), py::arg("append"))
      .def_static("create", &SeriesFile::Create, py::arg("path"), py::arg("dims"), py::arg("ndim"),
                  py::arg("overwrite"))
      .def("close", &SeriesFile::Close)
      .def("refresh", &SeriesFile::Refresh)
      .def("set_durability", &SeriesFile::SetDurability, py::arg("durability"), py::arg("data"),
           py::arg("milliseconds"))
      .def("sync", &SeriesFile::Sync)
      .def("keep_checksums", &SeriesFile::KeepChecksums)
      .def("seal", &SeriesFile::Seal)
      .def("checked", &SeriesFile::Checked, py::arg("index"))
      .def_property_readonly("closed", &SeriesFile::bClosed)
      .def_property_readonly("slots", &SeriesFile::Slots)
      .def_property_readonly("filled", &SeriesFile::Filled)
      .def_property_readonly("ndim", &SeriesFile::DataDimensions)
      .def("dimensions", &SeriesFile::Dimensions)
      .def("indices_at", &SeriesFile::IndicesAt, py::arg("positions"))
      .def("datum", &SeriesFile::Datum, py::arg("index"))
      .def("head", &SeriesFile::Head, py::arg("index"))
      .def("first_bytes", &SeriesFile::FirstBytes, py::arg("index"))
      .def("values", &SeriesFile::Values, py::arg("indices"), py::arg("same_axes"))
      .def("tags", &SeriesFile::Tags, py::arg("begin"), py::arg("end"))
      .def("append", &SeriesFile::Append, py::arg("datum"), py::arg("time"), py::arg("position"));
}

}  // namespace core
