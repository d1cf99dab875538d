#pragma once

#include <cstdint>

#if !defined(_WIN32)
#include <pthread.h>
#endif

// All that differs between operating systems, except the export macro of the public header.

// Masks all six floating-point exceptions for a scope, so that float work cannot trap in a client
// that runs with unmasked exceptions. Restores exactly the six mask bits and keeps the sticky
// flags.
class FloatingPointGuard {
 public:
  FloatingPointGuard() noexcept;
  ~FloatingPointGuard();
  FloatingPointGuard(const FloatingPointGuard&) = delete;
  FloatingPointGuard& operator=(const FloatingPointGuard&) = delete;

 private:
  std::uint32_t saved;
};

// A recursive mutex of the operating system, waited for without time limit.
class OsMutex {
 public:
  OsMutex();
  ~OsMutex();
  OsMutex(const OsMutex&) = delete;
  OsMutex& operator=(const OsMutex&) = delete;
  void lock();
  void unlock();

 private:
#if defined(_WIN32)
  void* handle;
#else
  pthread_mutex_t handle;
#endif
};
