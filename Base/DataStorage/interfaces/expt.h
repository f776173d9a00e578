#pragma once

/// @file
/// The exceptions that the library throws. Those of arrays are in arrerror.h.

#include <exception>
#include <string>

#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/str.h>

/// A violated condition of the program, thrown by value. Holds the source file (its name without folder and
/// extension) and the line.
class DATASTORAGE_EXPORT expt_cProgramException : public std::exception {
 public:
  /// Requires that `file`, usually a literal, outlives the exception.
  expt_cProgramException(const char* file, int line);
  ~expt_cProgramException() override;

  /// Where it was thrown: the source file without folder and extension, and the line in it.
  const char* File() const noexcept { return file_; }
  int Line() const noexcept { return line_; }

  /// "file, line n: what went wrong"; valid as long as the exception.
  const char* what() const noexcept override;

 protected:
  /// For derived classes: `text` describes what went wrong.
  expt_cProgramException(const char* file, int line, const str_cString& text);

 private:
  const char* file_;
  int line_;
  std::string what_;
};

/// An error meant for the user: also holds a message.
class DATASTORAGE_EXPORT expt_cUserException : public expt_cProgramException {
 public:
  /// Requires that `file`, usually a literal, outlives the exception.
  expt_cUserException(const char* file, int line, const str_cString& message);
  ~expt_cUserException() override;

  /// What to show to the user; valid as long as the exception.
  const str_cString& Message() const noexcept { return message_; }

 private:
  str_cString message_;
};

namespace detail {

/// The source file name that exceptions of a family hold; their line is that of the call.
struct DATASTORAGE_EXPORT SourceFile {
  const char* name;  ///< without folder and extension

  /// Throws expt_cProgramException, or expt_cUserException with a message for the user.
  [[noreturn]] void ThrowProgramError(int line = __builtin_LINE()) const;
  [[noreturn]] void ThrowUserError(const str_cString& message, int line = __builtin_LINE()) const;
};

}  // namespace detail
