#include "main/lib/base/debug.h"

#include <cstdio>

namespace ztlib {

namespace {
constexpr char source[] = "main/lib/base/debug";
}

void DebugBreakHook() noexcept {}

void ReportFailedAssertion(const char* site, int line, const char* condition) {
  std::fprintf(stderr, "------------> ASSERTION FAILED at %s:%d : %s is false!\n", site, line,
               condition);
  DebugBreakHook();
}

CDebugScope::CDebugScope(const char* name) : name(name) {
  ZT_LOG(2, source, 64, "ctx enter: %s", name);
}

CDebugScope::~CDebugScope() noexcept(false) {
  try {
    ZT_LOG(2, source, 67, "ctx exit: %s", name);
  } catch (...) {
    PassForcedUnwind();
    // The scope may be on its way out of another exception.
  }
}

}  // namespace ztlib
