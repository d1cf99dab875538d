#pragma once

#include <cstdint>

#include <pthread.h>

namespace ztlib {

// Locks over POSIX threads. Misuse throws CSynchronException; destructors never throw, they print.

// A mutex of one of three kinds, held by one thread.
class CMutex {
 public:
  enum class Kind : int {
    Normal = PTHREAD_MUTEX_NORMAL,
    Recursive = PTHREAD_MUTEX_RECURSIVE,
    ErrorCheck = PTHREAD_MUTEX_ERRORCHECK
  };
  explicit CMutex(Kind kind);
  virtual ~CMutex();
  CMutex(const CMutex&) = delete;
  CMutex& operator=(const CMutex&) = delete;

  void Lock();
  void Unlock();
  [[nodiscard]] bool TryLock();

 protected:
  pthread_mutex_t mutex;
};

// Holds a CMutex for a scope.
class CAutoLock {
 public:
  explicit CAutoLock(CMutex* mutex);
  ~CAutoLock();
  CAutoLock(const CAutoLock&) = delete;
  CAutoLock& operator=(const CAutoLock&) = delete;

 private:
  CMutex* mutex;
};

// A mutex with a condition; the caller of Wait and TimedWaitMS holds the mutex.
class CConditionMutex : public CMutex {
 public:
  explicit CConditionMutex(Kind kind);
  ~CConditionMutex() override;
  void Wait();
  // Returns true if the condition was signalled, false if the time ran out.
  [[nodiscard]] bool TimedWaitMS(std::uint32_t ms);
  void Signal();
  void Broadcast();

 private:
  void Init();
  pthread_cond_t condition;
};

// Held by many readers or one writer.
class CRWMutex {
 public:
  CRWMutex();
  ~CRWMutex();
  CRWMutex(const CRWMutex&) = delete;
  CRWMutex& operator=(const CRWMutex&) = delete;
  void RLock();
  void WLock();
  void Unlock();

 private:
  void Init();
  pthread_rwlock_t lock;
};

// Holds a CRWMutex for a scope, for writing or for reading.
class CAutoRWLock {
 public:
  CAutoRWLock(CRWMutex& mutex, bool forWriting);
  ~CAutoRWLock();
  CAutoRWLock(const CAutoRWLock&) = delete;
  CAutoRWLock& operator=(const CAutoRWLock&) = delete;

 private:
  CRWMutex& mutex;
};

}  // namespace ztlib
