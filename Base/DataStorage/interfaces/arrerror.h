#pragma once

/// @file
/// The errors that arrays raise: bad positions and bad sizes.

#include <cstdint>

#include <DataStorage/interfaces/expt.h>

/// A position outside an array.
class DATASTORAGE_EXPORT arr_cIndexException : public expt_cProgramException {
 public:
  /// Thrown by `arr_IndexError`; `text` says what was asked for and what there is.
  arr_cIndexException(const char* file, int line, const str_cString& text = "position outside the array");
  ~arr_cIndexException() override;
};

/// A size that no array can have.
class DATASTORAGE_EXPORT arr_cSizeException : public expt_cProgramException {
 public:
  /// Thrown by `arr_SizeError`; `text` says which size it was.
  arr_cSizeException(const char* file, int line, const str_cString& text = "no array can have this size");
  ~arr_cSizeException() override;
};

namespace detail {

/// The line of a call, for the last parameter of a function; no number is taken for one.
struct CallLine {
  int number;  ///< counted from 1
};

/// What arr_IndexError and arr_SizeError do, with a text of the caller's.
[[noreturn, gnu::cold]] void ThrowIndexError(const str_cString& text, CallLine line = {__builtin_LINE()});
[[noreturn, gnu::cold]] void ThrowSizeError(const str_cString& text, CallLine line = {__builtin_LINE()});

}  // namespace detail

/// Throws arr_cIndexException for a bad position. The exception says what was asked for and what there is:
/// an index of `count` elements; the indices from `start` up to, not including, `end`; or the element (x, y)
/// of nx x ny. A negative `count` is itself what was asked for.
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
