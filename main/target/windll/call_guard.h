#pragma once

#include "main/lib/base/floating_point_guard.h"

#include <memory>
#include <type_traits>

namespace ztlib {

// The frame of every guarded export: floating-point exceptions are masked while the body runs, and
// whatever it throws becomes a log line of level 1, a call of the client's handler and the default
// result. By the time of the report the client's floating-point mask is back. Only the unwinding of
// a cancelled thread goes on through it.

// Where the guard of an export stands, as the logger is told.
struct ExportSite {
  const char* name;
  const char* source;
  int line;
};

using ExceptionHandler = void (*)(const char* text);

// Null switches the handler off.
void SetExceptionHandler(ExceptionHandler handler) noexcept;

// Calls `body` with `context` in that frame.
void RunGuarded(const ExportSite& site, void (*body)(void* context), void* context);

template <class Body>
void GuardedCall(const ExportSite& site, Body&& body) {
  using Function = std::remove_reference_t<Body>;
  RunGuarded(
      site, [](void* context) { (*static_cast<Function*>(context))(); }, std::addressof(body));
}

template <class Result, class Body>
Result GuardedCall(const ExportSite& site, Result fallback, Body&& body) {
  GuardedCall(site, [&] { fallback = body(); });
  return fallback;
}

}  // namespace ztlib
