#include "main/lib/base/processor.h"

#include <cstdlib>
#include <cstring>

bool UseAvx2() {
  static const bool use = [] {
    const char* const baseline = std::getenv("ZTLIB_BASELINE");
    return !(baseline && std::strcmp(baseline, "1") == 0) && __builtin_cpu_supports("avx2");
  }();
  return use;
}
