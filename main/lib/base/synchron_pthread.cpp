#include "main/lib/base/synchron_pthread.h"

#include "main/lib/base/debug.h"
#include "main/lib/base/platform.h"

#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <ctime>

namespace ztlib {

namespace {
constexpr char source[] = "main/lib/base/synchron_pthread";

[[noreturn]] void Fail(const char* message, const char* function, int line) {
  ZT_THROW(CSynchronException, message, function, source, line);
}

// Prints from a destructor. Printing may be where a thread is cancelled, and the exception by which
// a cancelled thread ends must not leave a destructor, so cancellation waits meanwhile.
ZT_PRINTF_LIKE(1, 2) void Complain(const char* format, ...) {
  const CancellationPause pause;
  va_list values;
  va_start(values, format);
  std::vprintf(format, values);
  va_end(values);
}
}  // namespace

CMutex::CMutex(Kind kind) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, static_cast<int>(kind));
  pthread_mutex_init(&mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
}

CMutex::~CMutex() {
  if (pthread_mutex_destroy(&mutex) != 0)
    Complain("ERROR: Mutex still locked in mutex destructor! [0x%16p]\n", static_cast<void*>(this));
}

void CMutex::Lock() {
  switch (pthread_mutex_lock(&mutex)) {
    case 0:
      return;
    // Which of the two a deadlock gives depends on the threads library.
    case EDEADLK:
    case EAGAIN:
      Fail("Mutex deadlock detected", "Lock", 46);
    case EINVAL:
      Fail("Uninitialized mutex being used", "Lock", 49);
    default:
      Fail("Mutex error", "Lock", 52);
  }
}

void CMutex::Unlock() {
  switch (pthread_mutex_unlock(&mutex)) {
    case 0:
      return;
    case EPERM:
      Fail("Mutex not locked in this thread", "Unlock", 65);
    case EINVAL:
      Fail("Uninitialized mutex being used", "Unlock", 68);
    default:
      Fail("Mutex error", "Unlock", 71);
  }
}

bool CMutex::TryLock() {
  switch (pthread_mutex_trylock(&mutex)) {
    case 0:
      return true;
    case EBUSY:
      return false;
    case EINVAL:
      Fail("Uninitialized mutex being used", "TryLock", 85);
    default:
      Fail("Mutex error", "TryLock", 88);
  }
}

CAutoLock::CAutoLock(CMutex* mutex) : mutex(mutex) {
  if (!mutex) Fail("Uninitialized mutex used for autolock", "CAutoLock", 85);
  mutex->Lock();
}

CAutoLock::~CAutoLock() {
  if (!mutex) {
    Complain("ERROR: Uninitialized mutex used for autolock\n");
    return;
  }
  mutex->Unlock();
}

CConditionMutex::CConditionMutex(Kind kind) : CMutex(kind) {
  Init();
}

void CConditionMutex::Init() {
  pthread_condattr_t attributes;
  pthread_condattr_init(&attributes);
  const int code = pthread_cond_init(&condition, &attributes);
  pthread_condattr_destroy(&attributes);
  if (code != 0) Fail("Condition variable could not be initialized", "Init", 106);
}

CConditionMutex::~CConditionMutex() {
  if (pthread_cond_destroy(&condition) != 0)
    Complain("ERROR: ConditionMutex could not be destroyed, possibly locked & waiting\n");
}

void CConditionMutex::Wait() {
  if (pthread_cond_wait(&condition, &mutex) != 0) Fail("Waiting on condition failed", "Wait", 116);
}

bool CConditionMutex::TimedWaitMS(std::uint32_t ms) {
  constexpr std::int64_t nsPerSecond = 1'000'000'000;
  const std::int64_t ns = std::chrono::duration_cast<std::chrono::nanoseconds>(
                              std::chrono::system_clock::now().time_since_epoch())
                              .count() +
                          std::int64_t{ms} * 1'000'000;
  timespec deadline{};
  deadline.tv_sec = static_cast<std::time_t>(ns / nsPerSecond);
  deadline.tv_nsec = static_cast<decltype(deadline.tv_nsec)>(ns % nsPerSecond);
  const int code = pthread_cond_timedwait(&condition, &mutex, &deadline);
  if (code == 0) return true;
  if (code == ETIMEDOUT) return false;
  ZT_LOG(1, source, 131, "pthread_cond_timedwait() returned with code %d", code);
  Fail("Waiting on condition failed!", "TimedWaitMS", 132);
}

void CConditionMutex::Signal() {
  if (pthread_cond_signal(&condition) != 0) Fail("Invalid condition variable", "Signal", 136);
}

void CConditionMutex::Broadcast() {
  if (pthread_cond_broadcast(&condition) != 0) Fail("Invalid condition variable", "Broadcast", 141);
}

CRWMutex::CRWMutex() {
  Init();
}

void CRWMutex::Init() {
  if (pthread_rwlock_init(&lock, nullptr) != 0)
    Fail("Read/Write Lock initialization failed", "Init", 150);
}

CRWMutex::~CRWMutex() {
  if (pthread_rwlock_destroy(&lock) != 0)
    Complain("ERROR: Read/Write lock still locked in destructor\n");
}

void CRWMutex::RLock() {
  if (pthread_rwlock_rdlock(&lock) != 0)
    Fail("Read/Write lock's readlock deadlocked", "RLock", 231);
}

void CRWMutex::WLock() {
  if (pthread_rwlock_wrlock(&lock) != 0)
    Fail("Read/Write lock's writelock is deadlocked", "WLock", 236);
}

void CRWMutex::Unlock() {
  if (pthread_rwlock_unlock(&lock) != 0) Fail("Read/Write lock's unlock failed", "Unlock", 170);
}

CAutoRWLock::CAutoRWLock(CRWMutex& mutex, bool forWriting) : mutex(mutex) {
  if (forWriting)
    mutex.WLock();
  else
    mutex.RLock();
}

CAutoRWLock::~CAutoRWLock() {
  mutex.Unlock();
}

}  // namespace ztlib
