#include "main/lib/base/platform.h"

// Any header of the standard library tells which one it is.
#include <version>

#if defined(_WIN32)
#include <windows.h>
#elif defined(__GLIBCXX__)
#include <cxxabi.h>
#endif

namespace ztlib {

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

}  // namespace ztlib
