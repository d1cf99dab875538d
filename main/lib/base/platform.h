#pragma once

#if !defined(_WIN32)
#include <pthread.h>
#endif

namespace ztlib {

// All that differs between operating systems, except the export macro of the public header.

// Comes first in every `catch (...)` that does not throw again and that a callback of the client
// runs under. On Linux a cancelled thread unwinds its stack by an exception that must not end on
// its way; it goes on here. No such callback may run inside a handler: the runtime library cannot
// catch this exception while another one is being handled.
void PassForcedUnwind();

// While it lives a request to cancel the thread waits: for what runs in destructors, which such an
// exception cannot leave.
class CancellationPause {
 public:
#if defined(_WIN32)
  CancellationPause() {}
  ~CancellationPause() {}
#else
  CancellationPause() {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &saved);
  }
  ~CancellationPause() {
    pthread_setcancelstate(saved, nullptr);
  }
#endif
  CancellationPause(const CancellationPause&) = delete;
  CancellationPause& operator=(const CancellationPause&) = delete;

#if !defined(_WIN32)
 private:
  int saved = 0;
#endif
};

// Sets what is called when the library is unloaded by a process that goes on. At the end of a
// process nothing is called: its other threads may still be at work, and its memory goes anyway.
void SetUnloadHandler(void (*handler)());

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

}  // namespace ztlib
