#include "main/lib/base/logger.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>

namespace ztlib {

namespace {
const ComponentRegistration<ILogger, CLoggerWin> registration("CLoggerWin");
}

void CFunctionLogStream::Write(int level, const char* text) {
  if (function) function(level, text);
}

void ILogger::AddStream(ILogStream* stream) {
  delete stream;
}

CLoggerWin::~CLoggerWin() {
  const std::lock_guard lock(mutex);
  while (!streams.empty())
    streams.pop_back();
}

void CLoggerWin::Log(int level, const char*, int, const char* format, ...) {
  const std::lock_guard lock(mutex);
  if (streams.empty()) return;
  // A line that a callback logs while this one is being handed out gets room of its own.
  std::array<char, 10240> nestedBuffer;
  const bool nested = std::exchange(bufferInUse, true);
  const std::unique_ptr<bool, void (*)(bool*)> restore(nested ? nullptr : &bufferInUse,
                                                       [](bool* flag) { *flag = false; });
  char* const text = nested ? nestedBuffer.data() : buffer.data();
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, buffer.size(), format, arguments);
  va_end(arguments);
  // The loop goes by index because a callback may register further streams. Those get the next line
  // first; otherwise a callback that registers one on every line would make this line endless.
  const std::size_t count = streams.size();
  for (std::size_t i = 0; i < count; ++i)
    streams[i]->Write(level, text);
}

void CLoggerWin::AddStream(ILogStream* stream) {
  std::unique_ptr<ILogStream> owned(stream);
  const std::lock_guard lock(mutex);
  streams.push_back(std::move(owned));
}

ILogger& Logger() {
  return *Get<ILogger>();
}

}  // namespace ztlib
