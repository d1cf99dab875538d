#include "fuzz/call_budget.h"

#include "fuzz/require.h"

#include <algorithm>
#include <cstdio>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZT_MEASURES_CALLS
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define ZT_MEASURES_CALLS
#endif

#if defined(ZT_MEASURES_CALLS)
#include <time.h>

// Not every compiler has the header that declares this.
extern "C" std::size_t __sanitizer_get_allocated_size(const volatile void* memory);

namespace {

std::uint64_t inUse = 0;
std::uint64_t peak = 0;

double ProcessorSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

}  // namespace

// The sanitizer calls these around its heap.
extern "C" void __sanitizer_malloc_hook(const volatile void*, std::size_t size) {
  inUse += size;
  peak = std::max(peak, inUse);
}
extern "C" void __sanitizer_free_hook(const volatile void* memory) {
  if (memory) inUse -= __sanitizer_get_allocated_size(memory);
}
#endif

namespace fuzz {
namespace {

std::uint64_t granted = 0;

}  // namespace

void CallBudget::Grant(std::uint64_t bytes) {
  granted += bytes;
}

#if defined(ZT_MEASURES_CALLS)
namespace {

// A motion context keeps 72 bytes a pixel for eight detectors and as much again while sizes change.
constexpr std::uint64_t bytesPerByte = 200;
constexpr std::uint64_t freeBytes = std::uint64_t{24} << 20;
// Sanitizers make work about ten times slower.
constexpr double secondsPerByte = 4e-6;
constexpr double freeSeconds = 2;

}  // namespace

CallBudget::CallBudget(std::uint64_t given)
    : outerPeak(peak),
      outerBase(inUse),
      outerGranted(granted),
      given(given),
      start(ProcessorSeconds()) {
  peak = inUse;
  granted = 0;
}

CallBudget::~CallBudget() {
  const std::uint64_t worth = given + granted;
  const std::uint64_t taken = peak - outerBase;
  const double seconds = ProcessorSeconds() - start;
  peak = std::max(peak, outerPeak);
  granted += outerGranted + given;
  const bool isCheap = taken <= freeBytes + bytesPerByte * worth &&
                       seconds <= freeSeconds + secondsPerByte * static_cast<double>(worth);
  if (!isCheap)
    std::fprintf(stderr, "a call worth %llu bytes took %llu bytes and %.2f s\n",
                 static_cast<unsigned long long>(worth), static_cast<unsigned long long>(taken),
                 seconds);
  Require(isCheap);
}
#else
CallBudget::CallBudget(std::uint64_t) {}
CallBudget::~CallBudget() = default;
#endif

}  // namespace fuzz
