#include "main/target/windll/call_guard.h"

#include "main/lib/base/debug.h"

#include <atomic>

namespace {

std::atomic<ExceptionHandler> exceptionHandler{nullptr};

void CallHandler(const char* text) {
  const ExceptionHandler handler = exceptionHandler.load(std::memory_order_acquire);
  if (!handler) return;
  try {
    handler(text);
  } catch (...) {
    // The client cannot receive exceptions, not even its own.
  }
}

template <class... Arguments>
void LogFailure(const ExportSite& site, const char* format, Arguments... arguments) {
  try {
    Logger().Log(1, site.source, site.line, format, arguments...);
  } catch (...) {
    // Neither a throwing log callback nor a failed logger may hide the failure from the handler.
  }
}

}  // namespace

void SetExceptionHandler(ExceptionHandler handler) noexcept {
  exceptionHandler.store(handler, std::memory_order_release);
}

void ReportException(const ExportSite& site) noexcept {
  try {
    throw;
  } catch (const CException& e) {
    LogFailure(site, "CException (%s): '%s'!", site.name, e.what());
    CallHandler(e.what());
  } catch (const std::exception& e) {
    LogFailure(site, "std::exception (%s): '%s'!", site.name, e.what());
    CallHandler(e.what());
  } catch (...) {
    LogFailure(site, "Unknown exception (%s)!", site.name);
    CallHandler("Unknown exception!");
  }
}
