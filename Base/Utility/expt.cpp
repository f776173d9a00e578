#include <DataStorage/interfaces/expt.h>

// The destructors are defined here so that the type information of each class exists only once: callers of
// the shared library can then catch the exceptions by type.

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

namespace detail {

void SourceFile::ThrowProgramError(int line) const { throw expt_cProgramException(name, line); }

void SourceFile::ThrowUserError(const str_cString& message, int line) const {
  throw expt_cUserException(name, line, message);
}

}  // namespace detail
