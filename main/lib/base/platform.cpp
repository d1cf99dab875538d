#include "main/lib/base/platform.h"

#include <xmmintrin.h>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace {
constexpr std::uint32_t exceptionMasks = 0x1F80;
}

FloatingPointGuard::FloatingPointGuard() noexcept : saved(_mm_getcsr()) {
  if ((saved & exceptionMasks) != exceptionMasks) _mm_setcsr(saved | exceptionMasks);
}

FloatingPointGuard::~FloatingPointGuard() {
  if ((saved & exceptionMasks) != exceptionMasks)
    _mm_setcsr((_mm_getcsr() & ~exceptionMasks) | (saved & exceptionMasks));
}

#if defined(_WIN32)

OsMutex::OsMutex() : handle(CreateMutexA(nullptr, FALSE, nullptr)) {}
OsMutex::~OsMutex() {
  CloseHandle(handle);
}
void OsMutex::lock() {
  WaitForSingleObject(handle, INFINITE);
}
void OsMutex::unlock() {
  ReleaseMutex(handle);
}

#else

OsMutex::OsMutex() {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&handle, &attributes);
  pthread_mutexattr_destroy(&attributes);
}
OsMutex::~OsMutex() {
  pthread_mutex_destroy(&handle);
}
void OsMutex::lock() {
  pthread_mutex_lock(&handle);
}
void OsMutex::unlock() {
  pthread_mutex_unlock(&handle);
}

#endif
