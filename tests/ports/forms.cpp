// forms FOLDER: writes files of every form, and results of every kind of computation, into the folder. They
// are the same bytes on every platform; ./dev ports compares them.
#include <bit>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "seeds.h"
#include <DataStorage/DataStorage.h>

namespace {

/// Numbers of all magnitudes, most of them near 1; the same everywhere, unlike the standard distributions.
class Numbers {
 public:
  double Next() {
    const std::uint64_t bits = random_();
    if (bits % 16 == 0) return std::bit_cast<double>(random_());
    return (static_cast<double>(bits >> 11) * 0x1p-53 - 0.5) * (bits % 16 < 4 ? 1e9 : 4);
  }

 private:
  std::mt19937_64 random_{1};
};

/// Results in text that gives back the same bits, one a line. The sign and the payload of a not-a-number that
/// a processor made are its own, so all of them are "nan".
class Results {
 public:
  void Add(const char* name, const parr_c1DNumberArray& numbers) {
    text_ << name << ' ' << numbers.DataType().StringOut().CString() << '\n';
    for (int i = 0; i < numbers.NumIndices(); ++i)
      text_ << numbers.Value(i).StringOut(0, 0).CString() << '\n';
  }
  void Add(const char* name, const parr_c2DNumberArray& numbers) {
    for (int y = 0; y < numbers.NumIndicesY(); ++y) Add(name, numbers.Row(y));
  }
  std::string Text() const { return text_.str(); }

 private:
  std::ostringstream text_;
};

std::string Computed() {
  Numbers numbers;
  Results results;
  const int nx = 37, ny = 29;
  std::vector<double> values(static_cast<std::size_t>(2 * nx * ny));
  for (double& value : values) value = numbers.Next();
  // With braces, because their contents are evaluated in order.
  const auto cal = [&] { return cal_cArrayCal{numbers.Next(), std::abs(numbers.Next()) + 1e-3, 3}; };

  for (int from = dtyp_UBin8; from <= dtyp_Complex128; ++from) {
    const auto type = static_cast<dtyp_eDataType>(from);
    parr_c1DNumberArray source(nx * ny, dtyp_Complex128, values.data());
    source.Convert(type);
    for (int to = dtyp_UBin8; to <= dtyp_Complex128; ++to) {
      for (const auto rule : {conv_Real, conv_Imaginary, conv_Magnitude, conv_Phase}) {
        parr_c1DNumberArray target = source;
        target.Convert(static_cast<dtyp_eDataType>(to), rule);
        results.Add("converted", target);
      }
    }

    parr_c2DNumberArray plane(nx, ny, dtyp_Complex128, values.data());
    plane.Convert(type);
    const darr_c1DArray line(plane.Row(1), cal_c1DArrayCal(cal()));
    const darr_c2DArray image(plane, cal_c2DArrayCal{cal(), cal()});
    results.Add("line", resc_Rescale(line, line.DeltaX() * 0.3, line.OffsetX() + 0.1));
    results.Add("line", resc_Rescale(line, line.DeltaX() * 1.7, line.OffsetX() - 0.1));
    results.Add("image", resc_Rescale(image, image.DeltaX() * 0.7, image.DeltaY() * 1.3));
    parr_c1DNumberArray found(nx, dtyp_Float64);
    for (int i = 0; i < nx; ++i) {
      const double position = line.Cal().AxisX().Position(i) + (i + 1 < nx ? 0.3 * line.DeltaX() : 0);
      if (!line.IsReal()) break;
      found.SetValue(line.Value(position, darr_LinearInterpolation), i);
    }
    results.Add("found", found);
  }
  return results.Text();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const std::filesystem::path folder = argv[1];
  const auto write = [&](const std::filesystem::path& path, const std::string& bytes) {
    std::filesystem::create_directories(path.parent_path());
    return static_cast<bool>((std::ofstream(path, std::ios::binary) << bytes).flush());
  };
  bool written = write(folder / "results", Computed());
  for (const Seed& seed : Seeds()) written = write(folder / seed.target / seed.name, seed.bytes) && written;
  return written ? 0 : 1;
}
