#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <DataStorage/data/darray2d.h>

// Pictures between the libraries that read and write their files and the arrays.

namespace dseries {

/// What is taken from the pixels of a picture.
enum class Channel { Brightness, Red, Green, Blue, Alpha };

/// The samples of a picture as files hold them: the top row first, those of a pixel side by side.
struct Samples {
  dtyp_eDataType type = dtyp_UBin8;
  int width = 0, height = 0;
  int channels = 1;  ///< grey, grey and alpha, RGB, or RGB and alpha
  std::vector<char> bytes;

  /// Makes room for them. Throws Failure when a picture from a file of so many bytes cannot have so many, or
  /// a datum would not fit a series file; `ratio`: how much smaller a compressed picture may be.
  void Allocate(const std::string& path, std::int64_t file_size, std::int64_t ratio);
  char* Row(int y) { return bytes.data() + y * RowSize(); }
  std::int64_t RowSize() const;
};

/// One channel of a picture, the bottom row first. The brightness of a colour is 0.299 red + 0.587 green +
/// 0.114 blue, as in ITU-R BT.601. Throws Failure when it has no such channel.
darr_c2DArray PlaneOf(const std::string& path, const Samples& samples, Channel channel);
/// The elements as a grey picture.
Samples SamplesOf(const darr_c2DArray& array);

/// Turns a picture so that its first row is the top one and its first column the left one. Its rows and
/// columns lie as one of the eight orientations of TIFF 6.0 says, as far as it is known; returns whether rows
/// have become columns.
bool bTurned(Samples& samples, int orientation);

/// Readers and writers. They throw Failure for damaged files and for what they do not know.
Samples ReadPng(const std::string& path, std::string_view bytes);
Samples ReadJpeg(const std::string& path, std::string_view bytes);
std::string AsPng(const Samples& samples);

/// The pages of a TIFF, with the size of a pixel where their resolution gives one.
struct TiffPage {
  Samples samples;
  double dx = 0, dy = 0;  ///< in `units`; 0: not known
  std::string units;
};
std::vector<TiffPage> ReadTiff(const std::string& path, std::string_view bytes);
std::string AsTiff(const Samples& samples);

}  // namespace dseries
