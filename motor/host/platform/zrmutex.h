// Locks of the engine and its host: visible to clang's analysis, four bytes each, and waiting
// through the platform, so that they work in virtual time.
#pragma once

#include "host/platform/zrannotations.h"
#include "host/platform/zrplatform.h"

// Not recursive. A locked mutex is released by the thread that locked it. Taking a free one is
// a single atomic operation.
class ZR_CAPABILITY("mutex") ZRMutex {
 public:
  ZRMutex() = default;
  ZRMutex(const ZRMutex&) = delete;
  ZRMutex& operator=(const ZRMutex&) = delete;

  void Lock() ZR_ACQUIRE() {
    if (!TryTake()) (void)WaitAndTake(ZRPlatform::kInfinite);
  }

  // False if the mutex wasn't free within `milliseconds`.
  [[nodiscard]] bool TryLockFor(std::uint32_t milliseconds) ZR_TRY_ACQUIRE(true) {
    return TryTake() || WaitAndTake(milliseconds);
  }

  void Unlock() ZR_RELEASE() {
    if (word.exchange(kFree, std::memory_order_release) == kContended) WakeNext();
  }

 private:
  static constexpr std::uint32_t kFree = 0;
  static constexpr std::uint32_t kTaken = 1;
  static constexpr std::uint32_t kContended = 2;  // taken, and somebody may be waiting

  bool TryTake() {
    std::uint32_t expected = kFree;
    return word.compare_exchange_strong(expected, kTaken, std::memory_order_acquire,
                                        std::memory_order_relaxed);
  }
  bool WaitAndTake(std::uint32_t milliseconds);
  void WakeNext();

  ZRWaitWord word{kFree};
};

class ZR_SCOPED_CAPABILITY ZRMutexLock {
 public:
  explicit ZRMutexLock(ZRMutex& toLock) ZR_ACQUIRE(toLock) : mutex(toLock) { mutex.Lock(); }
  ~ZRMutexLock() ZR_RELEASE() { mutex.Unlock(); }
  ZRMutexLock(const ZRMutexLock&) = delete;
  ZRMutexLock& operator=(const ZRMutexLock&) = delete;

 private:
  ZRMutex& mutex;
};

// Threads that wait, with a mutex given up meanwhile, until another one says that something has
// changed. A wait may also end for no reason: test the condition in a loop.
class ZRCondition {
 public:
  // False if `milliseconds` went by. The mutex is held again in either case.
  [[nodiscard]] bool Wait(ZRMutex& mutex, std::uint32_t milliseconds) ZR_REQUIRES(mutex);
  void NotifyOne();
  void NotifyAll();

 private:
  ZRWaitWord changes{0};
};

// A count of tokens that starts full. Giving back more than were taken has no effect.
class ZRSemaphore {
 public:
  explicit ZRSemaphore(int maximum) : free(maximum), most(maximum) {}
  ZRSemaphore(const ZRSemaphore&) = delete;
  ZRSemaphore& operator=(const ZRSemaphore&) = delete;

  // False if no token was free within `milliseconds`.
  [[nodiscard]] bool Acquire(std::uint32_t milliseconds);
  void Release();

 private:
  ZRMutex mutex;
  ZRCondition freed;
  int free ZR_GUARDED_BY(mutex);
  const int most;
};

// Many readers or one writer. A writer that waits keeps new readers out.
class ZR_CAPABILITY("shared mutex") ZRSharedMutex {
 public:
  ZRSharedMutex() = default;
  ZRSharedMutex(const ZRSharedMutex&) = delete;
  ZRSharedMutex& operator=(const ZRSharedMutex&) = delete;

  void Lock() ZR_ACQUIRE() ZR_NO_ANALYSIS;
  void Unlock() ZR_RELEASE() ZR_NO_ANALYSIS;
  void LockShared() ZR_ACQUIRE_SHARED() ZR_NO_ANALYSIS;
  void UnlockShared() ZR_RELEASE_SHARED() ZR_NO_ANALYSIS;

 private:
  ZRMutex mutex;
  ZRCondition changed;
  int readers ZR_GUARDED_BY(mutex) = 0;
  int writersWaiting ZR_GUARDED_BY(mutex) = 0;
  bool writing ZR_GUARDED_BY(mutex) = false;
};

class ZR_SCOPED_CAPABILITY ZRExclusiveLock {
 public:
  explicit ZRExclusiveLock(ZRSharedMutex& toLock) ZR_ACQUIRE(toLock) : mutex(toLock) {
    mutex.Lock();
  }
  ~ZRExclusiveLock() ZR_RELEASE() { mutex.Unlock(); }
  ZRExclusiveLock(const ZRExclusiveLock&) = delete;
  ZRExclusiveLock& operator=(const ZRExclusiveLock&) = delete;

 private:
  ZRSharedMutex& mutex;
};

class ZR_SCOPED_CAPABILITY ZRSharedLock {
 public:
  explicit ZRSharedLock(ZRSharedMutex& toLock) ZR_ACQUIRE_SHARED(toLock) : mutex(toLock) {
    mutex.LockShared();
  }
  ~ZRSharedLock() ZR_RELEASE_GENERIC() { mutex.UnlockShared(); }
  ZRSharedLock(const ZRSharedLock&) = delete;
  ZRSharedLock& operator=(const ZRSharedLock&) = delete;

 private:
  ZRSharedMutex& mutex;
};
