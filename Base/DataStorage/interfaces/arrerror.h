#pragma once

/// @file
/// The exceptions that arrays throw for bad positions and bad sizes.

#include <cstdint>

#include <DataStorage/interfaces/expt.h>

/// A position outside an array.
class DATASTORAGE_EXPORT arr_cIndexException : public expt_cProgramException {
 public:
  /// Thrown by `arr_IndexError`; `text` names the requested position and the size of the array.
  arr_cIndexException(const char* file, int line, const str_cString& text = "position outside the array");
  ~arr_cIndexException() override;
};

/// A size that no array can have.
class DATASTORAGE_EXPORT arr_cSizeException : public expt_cProgramException {
 public:
  /// Thrown by `arr_SizeError`; `text` names the size.
  arr_cSizeException(const char* file, int line, const str_cString& text = "no array can have this size");
  ~arr_cSizeException() override;
};

namespace detail {

/// The source line of a call, for a defaulted last parameter. A type of its own, so that no number converts
/// to it.
struct CallLine {
  int number;  ///< counted from 1
};

/// Like arr_IndexError and arr_SizeError, with a text of the caller.
[[noreturn, gnu::cold]] void ThrowIndexError(const str_cString& text, CallLine line = {__builtin_LINE()});
[[noreturn, gnu::cold]] void ThrowSizeError(const str_cString& text, CallLine line = {__builtin_LINE()});

}  // namespace detail

/// Throws arr_cIndexException for a bad position. Its text names the position and the size of the array: an
/// index among `count` elements; the indices [start, end) among `count` elements; or the element (x, y) among
/// nx x ny. With an index, a negative `count` is itself reported as the bad size.
[[noreturn, gnu::cold]] DATASTORAGE_EXPORT void arr_IndexError(detail::CallLine line = {__builtin_LINE()});
[[noreturn, gnu::cold]] DATASTORAGE_EXPORT void arr_IndexError(std::int64_t index, std::int64_t count,
                                                               detail::CallLine line = {__builtin_LINE()});
[[noreturn, gnu::cold]] DATASTORAGE_EXPORT void arr_IndexError(std::int64_t start, std::int64_t end,
                                                               std::int64_t count,
                                                               detail::CallLine line = {__builtin_LINE()});
[[noreturn, gnu::cold]] DATASTORAGE_EXPORT void arr_IndexError(std::int64_t x, std::int64_t y,
                                                               std::int64_t nx, std::int64_t ny,
                                                               detail::CallLine line = {__builtin_LINE()});
/// Throws arr_cSizeException for a size that no array can have: a number of elements, or two extents.
[[noreturn, gnu::cold]] DATASTORAGE_EXPORT void arr_SizeError(detail::CallLine line = {__builtin_LINE()});
[[noreturn, gnu::cold]] DATASTORAGE_EXPORT void arr_SizeError(std::int64_t size,
                                                              detail::CallLine line = {__builtin_LINE()});
[[noreturn, gnu::cold]] DATASTORAGE_EXPORT void arr_SizeError(std::int64_t nx, std::int64_t ny,
                                                              detail::CallLine line = {__builtin_LINE()});
