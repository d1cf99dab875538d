#pragma once

#include <exception>

namespace ztlib {

// The exception family. Every text is bounded: a longer message is cut, never an overrun.
// `source` is the path of the throwing source without extension; it is part of the text that
// clients see.
class CException : public std::exception {
 public:
  explicit CException(const char* message);
  // `function` identifies the site to a debugger and is not part of the text.
  CException(const char* message, const char* function, const char* source, int line);
  const char* what() const noexcept override { return text; }

 protected:
  CException() = default;
  char text[512] = {};
};

// A data tree without the element that is asked for, or with one of another kind.
class CDataException : public CException {
 public:
  using CException::CException;
};

// Misuse of a lock, or a lock that the system refuses.
class CSynchronException : public CException {
 public:
  using CException::CException;
};

// A regular expression that cannot be parsed.
class CRegexException : public CException {
 public:
  using CException::CException;
};

// A failed call of the runtime library: number and text of `errno` at construction.
class CStdLibErrException : public CException {
 public:
  CStdLibErrException();
};

}  // namespace ztlib
