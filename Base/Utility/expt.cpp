#include <DataStorage/interfaces/expt.h>

// The destructors stand here so that each class has one home, and callers of the shared library catch it by
// the type that was thrown.

expt_cProgramException::expt_cProgramException(const char* file, int line)
    : expt_cProgramException(file, line, "condition violated") {}

expt_cProgramException::expt_cProgramException(const char* file, int line, const str_cString& text)
    : file_(file), line_(line), what_(file) {
  what_ += ", line " + std::to_string(line) + ": ";
  what_ += std::string_view(text);
}

expt_cProgramException::~expt_cProgramException() = default;

const char* expt_cProgramException::what() const noexcept { return what_.c_str(); }

expt_cUserException::expt_cUserException(const char* file, int line, const str_cString& message)
    : expt_cProgramException(file, line, message), message_(message) {}

expt_cUserException::~expt_cUserException() = default;

arr_cIndexException::arr_cIndexException(const char* file, int line)
    : expt_cProgramException(file, line, "position outside the array") {}

arr_cIndexException::~arr_cIndexException() = default;

arr_cSizeException::arr_cSizeException(const char* file, int line)
    : expt_cProgramException(file, line, "no array can have this size") {}

arr_cSizeException::~arr_cSizeException() = default;

void arr_IndexError(int line) { throw arr_cIndexException("arr", line); }
void arr_SizeError(int line) { throw arr_cSizeException("arr", line); }

namespace detail {

void SourceFile::ThrowProgramError(int line) const { throw expt_cProgramException(name, line); }

void SourceFile::ThrowUserError(const str_cString& message, int line) const {
  throw expt_cUserException(name, line, message);
}

}  // namespace detail
