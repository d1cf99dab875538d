#include "main/lib/base/processor.h"

#include <cstdlib>
#include <cstring>

namespace ztlib {

#undef ZT_SET
// A term of the sum below, which is the reason for the sign.
// NOLINTNEXTLINE(bugprone-macro-parentheses)
#define ZT_SET(name) +(__builtin_cpu_supports(#name) ? 1 : 0)

std::size_t UsableInstructionSets() {
  static const std::size_t count = [] {
    const char* const baseline = std::getenv("ZTLIB_BASELINE");
    const bool isBaseline = baseline && std::strcmp(baseline, "1") == 0;
    // All sets are compiled with BMI2 as well, which came to processors together with AVX2.
    const bool isUsable = !isBaseline && __builtin_cpu_supports("bmi2");
    return isUsable ? std::size_t{0} ZTLIB_INSTRUCTION_SETS : 0;
  }();
  return count;
}

}  // namespace ztlib
