#include "main/target/windll/call_guard.h"

#include "main/lib/base/debug.h"
#include "main/lib/base/platform.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <new>
#include <optional>
#include <string>

namespace ztlib {

namespace {

std::atomic<ExceptionHandler> exceptionHandler{nullptr};

// What is left of an exception when its handler is over. The callbacks that hear of it run outside
// of any handler, so that their thread can be cancelled.
class CCaughtException {
 public:
  // Takes the exception in flight.
  CCaughtException() noexcept {
    try {
      throw;
    } catch (const CException& e) {
      Take("CException (%s): '%s'!", e.what());
    } catch (const std::exception& e) {
      Take("std::exception (%s): '%s'!", e.what());
    } catch (...) {
      Take("Unknown exception (%s)!", "Unknown exception!");
    }
  }

  void Report(const ExportSite& site) const {
    const char* const text = longText.empty() ? shortText.data() : longText.c_str();
    Log(site, text);
    CallHandler(text);
  }

 private:
  void Take(const char* lineFormat, const char* text) {
    format = lineFormat;
    std::snprintf(shortText.data(), shortText.size(), "%s", text);
    if (std::strlen(text) < shortText.size()) return;
    try {
      longText = text;
    } catch (const std::bad_alloc&) {
      // Cut is better than nothing.
    }
  }

  void Log(const ExportSite& site, const char* text) const {
    try {
      Logger().Log(1, site.source, site.line, format, site.name, text);
    } catch (...) {
      PassForcedUnwind();
      // Neither a throwing log callback nor a failed logger may hide the failure from the handler.
    }
  }

  static void CallHandler(const char* text) {
    const ExceptionHandler handler = exceptionHandler.load(std::memory_order_acquire);
    if (!handler) return;
    try {
      handler(text);
    } catch (...) {
      PassForcedUnwind();
      // The client cannot receive exceptions, not even its own.
    }
  }

  const char* format = nullptr;
  // All texts of this library fit, so that they are told when there is no memory, too.
  std::array<char, 512> shortText;
  std::string longText;
};

}  // namespace

void SetExceptionHandler(ExceptionHandler handler) noexcept {
  exceptionHandler.store(handler, std::memory_order_release);
}

void RunGuarded(const ExportSite& site, void (*body)(void* context), void* context) {
  std::optional<CCaughtException> caught;
  try {
    const FloatingPointGuard guard;
    body(context);
  } catch (...) {
    PassForcedUnwind();
    caught.emplace();
  }
  if (caught) caught->Report(site);
}

}  // namespace ztlib
