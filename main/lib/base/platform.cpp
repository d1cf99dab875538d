#include "main/lib/base/platform.h"

#include <xmmintrin.h>

#if defined(_WIN32)
#include <windows.h>
#elif defined(__GLIBCXX__)
#include <cxxabi.h>
#endif

namespace {

constexpr std::uint32_t exceptionMasks = 0x1F80;

// The x87 unit: its masks and its flags have the same places.
constexpr std::uint16_t x87Bits = 0x3F;

std::uint16_t ReadX87Control() {
  std::uint16_t word = 0;
  asm volatile("fnstcw %0" : "=m"(word));
  return word;
}
// A flag whose mask goes would trap in the next instruction of the client.
void WriteX87Control(std::uint16_t word) {
  std::uint16_t flags = 0;
  asm volatile("fnstsw %0" : "=m"(flags));
  if ((flags & ~word & x87Bits) != 0) asm volatile("fnclex");
  asm volatile("fldcw %0" : : "m"(word));
}

}  // namespace

FloatingPointGuard::FloatingPointGuard() noexcept
    : saved(_mm_getcsr()), savedX87(ReadX87Control()) {
  if ((saved & exceptionMasks) != exceptionMasks) _mm_setcsr(saved | exceptionMasks);
  if ((savedX87 & x87Bits) != x87Bits) WriteX87Control(savedX87 | x87Bits);
}

FloatingPointGuard::~FloatingPointGuard() {
  const std::uint32_t present = _mm_getcsr();
  if (((present ^ saved) & exceptionMasks) != 0)
    _mm_setcsr((present & ~exceptionMasks) | (saved & exceptionMasks));
  const std::uint16_t presentX87 = ReadX87Control();
  if (((presentX87 ^ savedX87) & x87Bits) != 0)
    WriteX87Control(static_cast<std::uint16_t>((presentX87 & ~x87Bits) | (savedX87 & x87Bits)));
}

#if defined(__GLIBCXX__) && !defined(_WIN32)
// The reference is null: there is no object of C++ behind it.
__attribute__((no_sanitize("null"))) void PassForcedUnwind() {
  try {
    throw;
  } catch (const abi::__forced_unwind&) {
    throw;
  } catch (...) {
    // The caller's handler has it.
  }
}
#else
void PassForcedUnwind() {}
#endif

namespace {
void (*unloadHandler)() = nullptr;
}

void SetUnloadHandler(void (*handler)()) {
  unloadHandler = handler;
}

#if defined(_WIN32)

// The last argument tells the end of the process from an unloading.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
  if (reason == DLL_PROCESS_DETACH && !processEnds && unloadHandler) unloadHandler();
  return TRUE;
}

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

namespace {

// At the end of a process static objects are destroyed before any library's own end is called, in
// an unloading afterwards.
bool processEnds = false;
const struct ProcessEnd {
  ~ProcessEnd() { processEnds = true; }
} processEnd;

__attribute__((destructor)) void Unload() {
  if (!processEnds && unloadHandler) unloadHandler();
}

}  // namespace

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
