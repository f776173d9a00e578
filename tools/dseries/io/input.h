#pragma once

#include <CLI/CLI.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "io/columns.h"
#include "io/samples.h"
#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>

namespace dseries {

/// Data read from an input, to be stored.
template <class Array>
struct Input {
  std::optional<int> count;  ///< none for raw data from a pipe of unknown length
  std::int64_t bytes = 0;    ///< of all data in a series file, without their tags; of one if `count` is none
  /// Returns the data in their order, then none. Texts and pictures are already read; raw data are read by
  /// the call, which throws Failure when they are cut off.
  std::function<std::optional<Array>()> next;
  std::string found = {};          ///< what was found out about the input, in a line; empty: the usual
  std::vector<Stamp> stamps = {};  ///< of each datum, if the input has them
  std::string x = {}, value = {};  ///< names of the positions and the values, with units in brackets
  std::string units = {};          ///< of the positions in pictures
};

/// Called with a sentence about values that differ from the input.
using Warn = std::function<void(const std::string&)>;
/// Writes a warning to standard error.
void PrintWarning(const std::string& warning);

/// How to read an input. Members with a number for each axis are empty when they were not given.
struct InputForm {
  std::optional<dtyp_cDataType> type;  ///< of the elements; default: that of the input, float64 for text,
                                       ///< float32 for raw bytes
  std::vector<double> offset;          ///< position of the first element, for inputs without positions
  std::vector<double> delta;           ///< distance between elements, also of positions in texts
  std::vector<int> raw;                ///< extents of a datum in raw bytes; empty: the input is a text, a
                                       ///< picture or the raw form of a 2D array
  TextForm text;
  Channel channel = Channel::Brightness;  ///< of pictures in colour
  bool even = false;         ///< texts: positions need not be even, but must lie within half a step
  bool interleaved = false;  ///< raw: first element 0 of all data, then element 1 of all of them, and so on
};

/// Adds the options for offset and delta, and for the channel of pictures.
void AddCalibration(CLI::App& command, InputForm& form);
/// Adds the options for the form of texts, which exclude `raw`.
void AddTextForm(CLI::App& command, TextForm& form, CLI::Option* raw = nullptr);
/// Throws Failure when the form does not fit data with so many axes, or its type cannot be stored.
void CheckForm(const InputForm& form, std::size_t axes);
/// Throws Failure when elements of this type cannot be read back from a series file.
void CheckStorable(dtyp_cDataType type);

/// Reads one file, or standard input for "-". Throws Failure when it does not have that form.
template <class Array>
Input<Array> ReadInput(const std::string& path, const InputForm& form, const Warn& warn);
/// The same from the bytes of a file that is neither raw numbers nor the raw form of an array.
template <class Array>
Input<Array> ReadInput(const std::string& path, std::string bytes, const InputForm& form, const Warn& warn);

/// Whether the file has the extension of the raw form of a 2D data array.
bool bRawPlane(const std::string& path);
/// Whether the bytes are those of a picture or of a NumPy array of 3 axes.
bool bPlaneBytes(const std::string& path, std::string_view bytes);
/// Whether a file holds planes: a picture or a raw form, by its extension, or a NumPy array of 3 axes.
bool bPlane(const std::string& path);
/// Reads a picture, a NumPy array or the raw form of a 2D data array; of several the first one.
darr_c2DArray ReadPlane(const std::string& path, const InputForm& form, const Warn& warn);

}  // namespace dseries
