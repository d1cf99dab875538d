#pragma once

#include <atomic>
#include <cstddef>

// The heap of this program, libjpeg's use of it included, counts its calls and can fail one of
// them. It takes the place of the C library's functions, so only a program of its own has it, and
// none with a sanitizer.
namespace counting_heap {

inline std::atomic<int> heapCalls = 0;
inline std::atomic<std::size_t> largestBlock = 0;
inline std::atomic<int> liveBlocks = 0;
inline std::atomic<int> callsToFailure = 0;  // the last of them fails; 0 for no failure

// Counts a call that may fail; false for the one that does.
inline bool CountPoint() {
  return callsToFailure == 0 || --callsToFailure != 0;
}

// While it lives, calls are not counted and none fails. Blocks are.
struct Pause {
  Pause() { ++depth; }
  ~Pause() { --depth; }
  Pause(const Pause&) = delete;
  Pause& operator=(const Pause&) = delete;
  static inline thread_local int depth = 0;
};

}  // namespace counting_heap
