#pragma once

#include <functional>
#include <optional>
#include <string>

#include <DataStorage/data/darray1d.h>

namespace dseries {

/// Data that were read from outside and can be stored: `datum(0)` to `datum(count - 1)`.
struct Input {
  int count = 0;
  std::function<darr_c1DArray(int)> datum;
};

using Warn = std::function<void(const std::string&)>;

/// How the elements of an input are to be understood.
struct InputForm {
  std::optional<dtyp_cDataType> type;  ///< of the elements; default float64 from text, float32 from raw bytes
  std::optional<double> offset;        ///< position of the first element, where the input does not tell it
  std::optional<double> delta;         ///< distance of the elements, likewise
  int raw_elements = 0;                ///< elements of a datum in raw bytes; 0: the input is text
  bool interleaved = false;  ///< raw: first element 0 of all data, then element 1 of all of them, and so on
};

/// Whether series files give back what was stored in this type.
bool bCanBeStored(dtyp_cDataType type);

/// Reads one file, or standard input for "-". Throws Failure when it does not have that form. Where text
/// leaves its even grid of positions, `warn` is given a sentence about it.
Input ReadInput(const std::string& path, const InputForm& form, const Warn& warn);

}  // namespace dseries
