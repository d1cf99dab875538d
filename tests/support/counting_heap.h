#pragma once

#include <atomic>
#include <cerrno>
#include <cstddef>

// This heap of a program, which libjpeg uses too, counts its calls and can let one of them fail. It
// replaces the C library's functions, so only separate programs have it, and none with a sanitizer.
namespace counting_heap {

inline std::atomic<int> heapCalls = 0;
inline std::atomic<std::size_t> largestBlock = 0;
inline std::atomic<int> liveBlocks = 0;
inline std::atomic<int> callsToFailure = 0;  // the last of them fails; 0 for no failure

// Counts a call that may fail; returns false for the one that does.
inline bool CountPoint() {
  if (callsToFailure == 0 || --callsToFailure != 0) return true;
  errno = ENOMEM;
  return false;
}

// While it lives, no call is counted and none fails. Live blocks are still counted.
struct Pause {
  Pause() { ++depth; }
  ~Pause() { --depth; }
  Pause(const Pause&) = delete;
  Pause& operator=(const Pause&) = delete;
  static inline thread_local int depth = 0;
};

}  // namespace counting_heap
