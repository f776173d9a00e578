#pragma once

#include <CLI/CLI.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>

namespace dseries {

/// Data from outside that can be stored.
template <class Array>
struct Input {
  std::optional<int> count;  ///< none for raw data from a pipe, whose end shows only when it is reached
  std::int64_t bytes = 0;    ///< that each datum takes in a series file, its tag not counted
  /// The data in their order, then none. Texts and pictures were read and found good before; raw data are
  /// read now, which throws Failure where they break off.
  std::function<std::optional<Array>()> next;
};

/// Is given a sentence about what was not kept as it stood in the input.
using Warn = std::function<void(const std::string&)>;
/// Writes it to standard error.
void PrintWarning(const std::string& warning);

/// How the elements of an input are to be understood. The members with a number for each axis are empty when
/// they were not given.
struct InputForm {
  std::optional<dtyp_cDataType> type;  ///< of the elements; default: as they come, float64 from text, float32
                                       ///< from raw bytes
  std::vector<double> offset;          ///< position of the first element, where the input does not tell it
  std::vector<double> delta;           ///< distance of the elements, likewise; of the positions in texts, too
  std::vector<int> raw;                ///< extents of a datum in raw bytes; empty: the input is a text, a
                                       ///< picture or the raw form of a 2D array
  std::vector<std::string> missing;    ///< words of texts for values that are missing, beside the usual ones
  bool even = false;                   ///< texts: positions need not be even, but must lie within half a step
  bool interleaved = false;  ///< raw: first element 0 of all data, then element 1 of all of them, and so on
};

/// The options for offset and delta.
void AddCalibration(CLI::App& command, InputForm& form);
/// Throws Failure when the form makes no sense for data of so many axes, or cannot be stored.
void CheckForm(const InputForm& form, std::size_t axes);
/// Throws Failure when series files do not give back what was stored in this type.
void CheckStorable(dtyp_cDataType type);

/// Reads one file, or standard input for "-". Throws Failure when it does not have that form.
template <class Array>
Input<Array> ReadInput(const std::string& path, const InputForm& form, const Warn& warn);

/// Whether a file is named as those are that hold the raw form of a 2D data array.
bool bRawPlane(const std::string& path);
/// Whether it is a picture or a raw form: by its name, or because series are not read from pipes.
bool bPlane(const std::string& path);
/// Reads a picture or the raw form of a 2D data array.
darr_c2DArray ReadPlane(const std::string& path, const InputForm& form, const Warn& warn);

}  // namespace dseries
