#pragma once

#include "main/lib/base/platform.h"

#include <utility>

// The frame of every guarded export: floating-point exceptions are masked while the body runs, and
// whatever it throws becomes a log line of level 1, a call of the client's handler and the default
// result. By the time of the report the client's floating-point mask is back.

// Where the guard of an export stands, as the logger is told.
struct ExportSite {
  const char* name;
  const char* source;
  int line;
};

using ExceptionHandler = void (*)(const char* text);

// Null switches the handler off.
void SetExceptionHandler(ExceptionHandler handler) noexcept;

// Reports the exception in flight. Nothing that a callback throws leaves it.
void ReportException(const ExportSite& site) noexcept;

template <class Result, class Body>
Result GuardedCall(const ExportSite& site, Result fallback, Body&& body) noexcept {
  try {
    const FloatingPointGuard guard;
    return std::forward<Body>(body)();
  } catch (...) {
    ReportException(site);
  }
  return fallback;
}

template <class Body>
void GuardedCall(const ExportSite& site, Body&& body) noexcept {
  GuardedCall(site, 0, [&body] {
    std::forward<Body>(body)();
    return 0;
  });
}
