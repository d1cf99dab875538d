#pragma once

#include "main/lib/base/component_repository.h"
#include "main/lib/base/platform.h"

#include <array>
#include <deque>
#include <memory>

namespace ztlib {

// A sink of log lines. Write runs under the logger's lock.
class ILogStream {
 public:
  virtual ~ILogStream() = default;
  virtual void Write(int level, const char* text) = 0;
};

// Passes lines to a client function; null drops them.
class CFunctionLogStream : public ILogStream {
 public:
  using Function = void (*)(int level, const char* text);
  explicit CFunctionLogStream(Function function) : function(function) {}
  void Write(int level, const char* text) override;

 private:
  Function function;
};

// The runtime of the Windows target has a printf dialect of its own; this library uses GNU's.
#if defined(__MINGW32__)
#define ZT_PRINTF_LIKE(text, values) __attribute__((format(gnu_printf, text, values)))
#else
#define ZT_PRINTF_LIKE(text, values) __attribute__((format(printf, text, values)))
#endif

// Where the library's log lines go. Any thread may log.
class ILogger : public IComponent {
 public:
  // Three operations of loggers on other targets; without effect here.
  virtual void Flush() = 0;
  virtual int GetVerbosity() const = 0;
  virtual void LogBinary(int level, const char* source, int line, const void* data, ...) = 0;

  // `source` and `line` name the site for loggers that print it.
  ZT_PRINTF_LIKE(5, 6)
  virtual void Log(int level, const char* source, int line, const char* format, ...) = 0;

  // Takes ownership. A logger that keeps no streams deletes it at once.
  virtual void AddStream(ILogStream* stream);
};

// Formats each line once under a lock and hands it to every stream in the order of registration.
// A callback may log again on the same thread and register streams, which get the lines after the
// present one.
class CLoggerWin : public ILogger {
 public:
  ~CLoggerWin() override;
  void Flush() override {}
  int GetVerbosity() const override { return 5; }
  void LogBinary(int, const char*, int, const void*, ...) override {}
  ZT_PRINTF_LIKE(5, 6)
  void Log(int level, const char* source, int line, const char* format, ...) override;
  void AddStream(ILogStream* stream) override;

 private:
  std::array<char, 10240> buffer{};
  bool bufferInUse = false;
  std::deque<std::unique_ptr<ILogStream>> streams;
  OsMutex mutex;
};

// The logger component. Out of line, so that its registration is linked wherever it is used.
ILogger& Logger();

#define ZT_LOG(level, source, line, ...) Logger().Log(level, source, line, __VA_ARGS__)

}  // namespace ztlib
