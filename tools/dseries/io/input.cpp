#include "io/input.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fmt/format.h>
#include <map>
#include <memory>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

#include "file/failure.h"
#include "file/reading.h"
#include "file/series.h"
#include "file/text.h"
#include "io/columns.h"
#include "io/console.h"
#include "io/files.h"
#include "io/losses.h"
#include "io/npy.h"
#include "io/picture.h"
#include "io/raw.h"
#include <DataStorage/interfaces/bstr.h>

namespace dseries {

namespace {

/// The number of axes of an array class.
template <class Array>
constexpr std::size_t axes = std::is_same_v<Array, darr_c2DArray> ? 2 : 1;

/// The calibration of an input without positions.
template <class Array>
auto CalibrationOf(const InputForm& form) {
  const auto axis = [&form](std::size_t i) {
    return cal_cArrayCal(form.offset.empty() ? 0 : form.offset[i], form.delta.empty() ? 1 : form.delta[i]);
  };
  if constexpr (axes<Array> == 2) {
    return cal_c2DArrayCal(axis(0), axis(1));
  } else {
    return cal_c1DArrayCal(axis(0));
  }
}

/// The array in the requested type, with a warning about losses.
template <class Array>
Array Converted(const std::string& path, const Array& array, const InputForm& form, const Warn& warn) {
  if (!form.type) return array;
  Losses losses(*form.type);
  Array converted = losses.Convert(array);
  if (const std::string text = losses.Text(); !text.empty()) warn(path + ": " + text);
  return converted;
}

/// Arrays that were read whole.
template <class Array>
Input<Array> Whole(std::vector<Array> arrays) {
  std::int64_t bytes = 0;
  for (const Array& array : arrays) bytes += StoredSize<Array>(array.NumIndices(), array.DataType());
  const int count = static_cast<int>(arrays.size());
  return {count, bytes, [left = std::move(arrays), i = std::size_t{0}]() mutable -> std::optional<Array> {
            if (i == left.size()) return {};
            return std::exchange(left[i++], Array());  // frees the memory
          }};
}

/// The calibration of the values in the order of the lines; its delta is negative for falling positions.
cal_cArrayCal CalibrationOf(const std::string& path, const Columns& columns, const InputForm& form,
                            const Warn& warn) {
  if (columns.positions.empty()) {
    if (!form.delta.empty() && form.delta.front() < 0) Fail("the delta is not above 0");
    return CalibrationOf<darr_c1DArray>(form).AxisX();
  }
  if (!form.offset.empty()) {
    Fail("{} has positions of its own; --offset is for data without them", path);
  }
  const Grid grid = GridOf(path, columns, {form.even, form.delta.empty() ? 0 : form.delta.front()});
  if (grid.moved) {
    warn(fmt::format("{}: the positions become even; the one on line {} is moved most, from {} to {}", path,
                     columns.lines[*grid.moved], columns.positions[*grid.moved],
                     NumberText(grid.cal.Position(static_cast<int>(*grid.moved)))));
  }
  return grid.cal;
}

/// The data of a text, each in the order of rising positions.
Input<darr_c1DArray> ReadText(const std::string& path, std::string bytes, const InputForm& form,
                              const Warn& warn) {
  Text text = ReadColumns(path, std::move(bytes), form.text);
  std::vector<darr_c1DArray> arrays;
  std::vector<Stamp> stamps;
  for (Columns& part : text.parts) {
    for (const Values& column : part.data) {
      if (column.missing > 0) {
        warn(fmt::format("{}: {} missing and read as not-a-number, the first on line {}", path,
                         Count(column.missing, "value is", "values are"), column.first_missing));
      }
    }
    const int n = static_cast<int>(part.lines.size());
    cal_cArrayCal cal = CalibrationOf(path, part, form, warn);
    const bool falls = cal.Delta() < 0;
    if (falls)
      cal = cal_cArrayCal(form.delta.empty() ? part.positions.back() : cal.Position(n - 1), -cal.Delta());
    for (Values& column : part.data) {
      if (falls) std::reverse(column.values.begin(), column.values.end());
      const darr_c1DArray array(arr_c1DNumberArray<double>(n, column.values.data()), cal_c1DArrayCal(cal));
      arrays.push_back(Converted(path, array, form, warn));
      std::exchange(column.values, {});  // frees the memory
    }
    if (part.stamp) stamps.push_back(*part.stamp);
  }
  const Columns& first = text.parts.front();
  Input<darr_c1DArray> input = Whole(std::move(arrays));
  input.found = std::move(text.found);
  input.stamps = std::move(stamps);
  input.x = first.position_name;
  if (first.data.size() == 1) input.value = first.data.front().name;
  return input;
}

/// Makes arrays of elements in memory, which are little-endian.
template <class Array>
class ArrayMaker {
 public:
  template <class Calibration>
  ArrayMaker(dtyp_cDataType type, const std::vector<int>& extents, const Calibration& cal) : cal_(cal) {
    // The raw form of arrays begins with the element type and the extents.
    bstr_cMemory_ostream head;
    bstr_WriteFields(head, static_cast<std::uint16_t>(type.Type()));
    std::int64_t size = type.SizeOf();
    for (const int extent : extents) {
      bstr_WriteFields(head, std::int32_t{extent});
      size *= extent;
    }
    const auto* const begin = static_cast<const char*>(head.Data());
    bytes_.assign(begin, begin + head.Size());
    head_ = bytes_.size();
    bytes_.resize(head_ + static_cast<std::size_t>(size));
  }

  /// Where the elements of the next array belong.
  char* Elements() { return bytes_.data() + head_; }
  std::size_t Size() const { return bytes_.size() - head_; }
  Array Make() const {
    bstr_cMemory_istream in(bytes_.data(), std::ssize(bytes_));
    std::conditional_t<axes<Array> == 2, parr_c2DNumberArray, parr_c1DNumberArray> numbers;
    if (!numbers.Read(in)) Fail("there is not enough memory");
    return Array(numbers, cal_);
  }

 private:
  std::conditional_t<axes<Array> == 2, cal_c2DArrayCal, cal_c1DArrayCal> cal_;
  std::vector<char> bytes_;
  std::size_t head_ = 0;
};

template <class Array>
Input<Array> ReadRaw(const std::string& path, const InputForm& form) {
  const dtyp_cDataType type = form.type.value_or(dtyp_Float32);
  const auto raw = std::make_shared<RawInput>(path, type, form.raw, form.interleaved);
  const auto maker = std::make_shared<ArrayMaker<Array>>(type, form.raw, CalibrationOf<Array>(form));
  const auto next = [=]() -> std::optional<Array> {
    if (!raw->Next(maker->Elements())) return {};
    return maker->Make();
  };
  const std::int64_t size = StoredSize<Array>(raw->DatumSize() / type.SizeOf(), type);
  return {raw->Count(), size * raw->Count().value_or(1), next};
}

/// The first axis of an array with one axis more than a datum counts the data.
template <class Array>
std::vector<Array> ReadNpyData(const std::string& path, std::string_view bytes, const InputForm& form,
                               const Warn& warn) {
  NpyArray file = ReadNpy(path, bytes);
  CheckStorable(file.type);
  std::vector<int>& extents = file.extents;
  if (extents.size() == axes<Array>) extents.insert(extents.begin(), 1);
  if (extents.size() != axes<Array> + 1) {
    Fail("{} holds an array of {}; data of {} need {} or, for several, {}", path,
         Count(std::ssize(extents), "axis", "axes"), Count(axes<Array>, "axis", "axes"), axes<Array>,
         axes<Array> + 1);
  }
  ArrayMaker<Array> maker(file.type, {extents.rbegin(), extents.rend() - 1}, CalibrationOf<Array>(form));
  std::vector<Array> data;
  for (int i = 0; i < extents[0]; ++i) {
    std::copy_n(file.elements.data() + static_cast<std::size_t>(i) * maker.Size(), maker.Size(),
                maker.Elements());
    data.push_back(Converted(path, maker.Make(), form, warn));
  }
  if (data.empty()) Fail("{} holds no data", path);
  return data;
}

Input<darr_c2DArray> ReadPictureData(const std::string& path, std::string_view bytes, const InputForm& form,
                                     const Warn& warn) {
  Pictures pictures = ReadPictures(path, bytes, form.channel);
  const bool given = !form.offset.empty() || !form.delta.empty();
  for (darr_c2DArray& plane : pictures.planes) {
    const cal_c2DArrayCal cal = given ? CalibrationOf<darr_c2DArray>(form) : plane.Cal();
    if (plane.DataType() == dtyp_SBin8) plane.Convert(dtyp_SBin16);  // which series hold
    plane = Converted(path, darr_c2DArray(plane, cal), form, warn);
  }
  const darr_c2DArray first = pictures.planes.front();
  Input<darr_c2DArray> input = Whole(std::move(pictures.planes));
  if (pictures.units.empty() || given) return input;
  input.units = pictures.units;
  input.found =
      fmt::format("its resolution gives {} x {} {} a pixel; --delta overrules it",
                  NumberText(first.Cal().DeltaX(), 6), NumberText(first.Cal().DeltaY(), 6), input.units);
  return input;
}

darr_c2DArray ReadRawPlane(const std::string& path) {
  const auto read = [&path](bstr_cBinary_istream& in) {
    darr_c2DArray array;
    try {
      if (array.Read(in) && in.Position() == in.Size()) return array;
    } catch (const arr_cSizeException&) {  // an extent is negative
    }
    Fail("{} is not the raw form of a 2D data array", path);
  };
  if (!bStream(path)) return read(OpenToRead(path).Input());
  const std::string bytes = ReadWhole(path);
  bstr_cMemory_istream in(bytes.data(), static_cast<std::int64_t>(bytes.size()));
  return read(in);
}

}  // namespace

void PrintWarning(const std::string& warning) { Complain("warning: {}", warning); }

void AddCalibration(CLI::App& command, InputForm& form) {
  command
      .add_option("--offset", form.offset,
                  "Position of the first element along each axis, for inputs without positions; in a picture "
                  "it is the bottom left one")
      ->type_name("X[,Y]")
      ->delimiter(',')
      ->allow_extra_args(false);
  command
      .add_option("--delta", form.delta,
                  "Distance between elements along each axis, for inputs without positions; for texts with "
                  "positions the step, instead of the one from the first to the last")
      ->type_name("DX[,DY]")
      ->delimiter(',')
      ->allow_extra_args(false);
  static const std::map<std::string, Channel> channels{
      {"red", Channel::Red}, {"green", Channel::Green}, {"blue", Channel::Blue}, {"alpha", Channel::Alpha}};
  command
      .add_option_function<std::string>(
          "--channel", [&form](const std::string& name) { form.channel = channels.at(name); },
          "Pictures in colour: red, green, blue or alpha; default: the brightness, 0.299 red + 0.587 green + "
          "0.114 blue")
      ->type_name("NAME")
      ->check(CLI::IsMember({"red", "green", "blue", "alpha"}));
}

void AddTextForm(CLI::App& command, TextForm& form, CLI::Option* raw) {
  const auto add = [&](CLI::Option* option, const char* type) {
    option->type_name(type)->allow_extra_args(false);
    if (raw != nullptr) option->excludes(raw);
  };
  add(command.add_option(
          "--columns", form.columns,
          "Texts: the columns to read, by number or by a name in the header: that of the "
          "positions, 0 for none, then those of the values, which become a datum each. Default: "
          "all that hold numbers; a single column holds values"),
      "LIST");
  add(command.add_option("--skip", form.skip, "Texts: the number of lines at the start that hold no data")
          ->check(CLI::NonNegativeNumber),
      "N");
  add(command
          .add_option_function<std::string>(
              "--delimiter",
              [&form](const std::string& text) {
                static const std::map<std::string, char> names{
                    {"space", ' '}, {"tab", '\t'}, {"comma", ','},     {" ", ' '},
                    {"\t", '\t'},   {",", ','},    {"semicolon", ';'}, {";", ';'}};
                form.delimiter = names.at(text);
              },
              "Texts: what separates the columns: space (and tabs), tab, comma or semicolon; default: found "
              "out")
          ->check(CLI::IsMember({"space", "tab", "comma", "semicolon", " ", "\t", ",", ";"})),
      "MARK");
  add(command
          .add_option_function<std::string>(
              "--decimal", [&form](const std::string& text) { form.decimal = text[0]; },
              "Texts: the decimal mark, . or ,; default: found out")
          ->check(CLI::IsMember({".", ","})),
      "MARK");
  add(command.add_option(
          "--comment", form.comments,
          "Texts: a mark that begins a comment, at the start of a line or behind a blank; may be "
          "repeated. Default: # % ; //"),
      "MARK");
  add(command.add_option("--missing", form.missing,
                         "Texts: a word or number that stands for a missing value, which is stored as "
                         "not-a-number; may be repeated. Always recognized: --, NA, N/A, nan, an empty field "
                         "and, in texts of values only, an empty line"),
      "WORD");
}

void CheckStorable(dtyp_cDataType type) {
  bstr_cMemory_ostream empty;
  bstr_WriteFields(empty, static_cast<std::uint16_t>(type.Type()), std::int32_t{0});
  bstr_cMemory_istream in(empty.Data(), empty.Size());
  if (parr_c1DNumberArray array; !array.Read(in)) {
    Fail("elements of type {} cannot be read back from a series file", ElementName(type));
  }
}

void CheckForm(const InputForm& form, std::size_t axes) {
  const auto check_count = [axes](const char* option, std::size_t given) {
    if (given != 0 && given != axes) {
      Fail("{} takes {} here, one for each axis of the data", option,
           Count(static_cast<std::int64_t>(axes), "number", "numbers"));
    }
  };
  check_count("--raw", form.raw.size());
  check_count("--offset", form.offset.size());
  check_count("--delta", form.delta.size());
  if (form.type) CheckStorable(*form.type);
  for (const double offset : form.offset) {
    if (!std::isfinite(offset)) Fail("the offset is not finite");
  }
  // Positions in texts may fall.
  const bool may_fall = axes == 1 && form.raw.empty();
  for (const double delta : form.delta) {
    if (!std::isfinite(delta) || delta == 0 || (delta < 0 && !may_fall)) Fail("the delta is not above 0");
  }
}

bool bRawPlane(const std::string& path) { return Extension(path) == ".darr"; }

bool bPlaneBytes(const std::string& path, std::string_view bytes) {
  if (bNpy(bytes)) return ReadNpy(path, bytes).extents.size() > 2;
  return bPictureBytes(bytes);
}

bool bPlane(const std::string& path) {
  static const std::set<std::string> pictures{".pgm", ".ppm",  ".bmp", ".png",
                                              ".jpg", ".jpeg", ".tif", ".tiff"};
  const std::string extension = Extension(path);
  if (extension == ".npy") return ReadNpy(path, ReadWhole(path)).extents.size() > 2;
  return bRawPlane(path) || pictures.count(extension) > 0;
}

darr_c2DArray ReadPlane(const std::string& path, const InputForm& form, const Warn& warn) {
  const Input<darr_c2DArray> input = ReadInput<darr_c2DArray>(path, form, warn);
  if (!input.found.empty()) Complain("{}: {}", path, input.found);
  if (input.count > 1)
    warn(fmt::format("{} holds {} pictures, of which this is the first", path, *input.count));
  return *input.next();
}

template <class Array>
Input<Array> ReadInput(const std::string& path, std::string bytes, const InputForm& form, const Warn& warn) {
  if (bNpy(bytes)) return Whole(ReadNpyData<Array>(path, bytes, form, warn));
  if constexpr (axes<Array> == 2) {
    return ReadPictureData(path, bytes, form, warn);
  } else {
    return ReadText(path, std::move(bytes), form, warn);
  }
}

template <class Array>
Input<Array> ReadInput(const std::string& path, const InputForm& form, const Warn& warn) {
  if (!form.raw.empty()) return ReadRaw<Array>(path, form);
  if constexpr (axes<Array> == 2) {
    if (bRawPlane(path)) {
      if (!form.offset.empty() || !form.delta.empty())
        Fail("{} has positions of its own; --offset and --delta are for data without them", path);
      return Whole(std::vector{Converted(path, ReadRawPlane(path), form, warn)});
    }
  }
  return ReadInput<Array>(path, ReadWhole(path), form, warn);
}

template Input<darr_c1DArray> ReadInput(const std::string&, std::string, const InputForm&, const Warn&);
template Input<darr_c2DArray> ReadInput(const std::string&, std::string, const InputForm&, const Warn&);
template Input<darr_c1DArray> ReadInput(const std::string&, const InputForm&, const Warn&);
template Input<darr_c2DArray> ReadInput(const std::string&, const InputForm&, const Warn&);

}  // namespace dseries
