#pragma once

/// @file
/// The exceptions that the library throws.

#include <cstdint>
#include <exception>
#include <string>

#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/str.h>

/// A violated condition of the program, thrown by value. Tells the source file (its name without folder and
/// extension) and the line.
class DATASTORAGE_EXPORT expt_cProgramException : public std::exception {
 public:
  /// `file` must be a literal or otherwise outlive the exception.
  expt_cProgramException(const char* file, int line);
  ~expt_cProgramException() override;

  /// Where it was thrown: the source file without folder and extension, and the line in it.
  const char* File() const noexcept { return file_; }
  int Line() const noexcept { return line_; }

  /// "file, line n: what went wrong"; valid as long as the exception.
  const char* what() const noexcept override;

 protected:
  /// For derived classes: `text` says what went wrong.
  expt_cProgramException(const char* file, int line, const str_cString& text);

 private:
  const char* file_;
  int line_;
  std::string what_;
};

/// An error meant for the user: carries a message text as well.
class DATASTORAGE_EXPORT expt_cUserException : public expt_cProgramException {
 public:
  /// `file` must be a literal or otherwise outlive the exception.
  expt_cUserException(const char* file, int line, const str_cString& message);
  ~expt_cUserException() override;

  /// What to show to the user; valid as long as the exception.
  const str_cString& Message() const noexcept { return message_; }

 private:
  str_cString message_;
};

/// A position outside an array.
class DATASTORAGE_EXPORT arr_cIndexException : public expt_cProgramException {
 public:
  /// Thrown by `arr_IndexError`; `text` says what was asked for and what there is.
  arr_cIndexException(const char* file, int line);
  arr_cIndexException(const char* file, int line, const str_cString& text);
  ~arr_cIndexException() override;
};

/// A size that no array can have.
class DATASTORAGE_EXPORT arr_cSizeException : public expt_cProgramException {
 public:
  /// Thrown by `arr_SizeError`; `text` says which size it was.
  arr_cSizeException(const char* file, int line);
  arr_cSizeException(const char* file, int line, const str_cString& text);
  ~arr_cSizeException() override;
};

namespace detail {

/// The line of a call, for the last parameter of a function; no number is taken for one.
struct CallLine {
  int number;
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

namespace detail {

/// The name under which a family reports its errors; the line is that of the call.
struct DATASTORAGE_EXPORT SourceFile {
  const char* name;

  [[noreturn]] void ThrowProgramError(int line = __builtin_LINE()) const;
  [[noreturn]] void ThrowUserError(const str_cString& message, int line = __builtin_LINE()) const;
};

}  // namespace detail
