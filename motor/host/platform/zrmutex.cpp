#include "host/platform/zrmutex.h"

namespace {

// What is left of a wait that began at `start` and may last `milliseconds`.
std::uint32_t Remaining(std::uint32_t start, std::uint32_t milliseconds) {
  if (milliseconds == ZRPlatform::kInfinite) return milliseconds;
  const std::uint32_t gone = ZRPlatform::Get().TickCount() - start;
  return gone >= milliseconds ? 0 : milliseconds - gone;
}

std::uint32_t StartOf(std::uint32_t milliseconds) {
  return milliseconds == ZRPlatform::kInfinite ? 0 : ZRPlatform::Get().TickCount();
}

}  // namespace

bool ZRMutex::WaitAndTake(std::uint32_t milliseconds) {
  ZRPlatform& platform = ZRPlatform::Get();
  const std::uint32_t start = StartOf(milliseconds);
  // Whoever gets past here holds a word that says "contended", even if nobody waits any more:
  // one wake-up too many does no harm, one too few would leave a thread asleep.
  while (word.exchange(kContended, std::memory_order_acquire) != kFree) {
    const std::uint32_t left = Remaining(start, milliseconds);
    if (left == 0) return false;
    (void)platform.Wait(word, kContended, left);
  }
  return true;
}

void ZRMutex::WakeNext() {
  ZRPlatform::Get().WakeOne(word);
}

bool ZRCondition::Wait(ZRMutex& mutex, std::uint32_t milliseconds) {
  const std::uint32_t seen = changes.load(std::memory_order_relaxed);
  mutex.Unlock();
  const bool woken = ZRPlatform::Get().Wait(changes, seen, milliseconds);
  mutex.Lock();
  return woken;
}

void ZRCondition::NotifyOne() {
  changes.fetch_add(1, std::memory_order_release);
  ZRPlatform::Get().WakeOne(changes);
}

void ZRCondition::NotifyAll() {
  changes.fetch_add(1, std::memory_order_release);
  ZRPlatform::Get().WakeAll(changes);
}

bool ZRSemaphore::Acquire(std::uint32_t milliseconds) {
  const std::uint32_t start = StartOf(milliseconds);
  const ZRMutexLock lock(mutex);
  while (free == 0) {
    const std::uint32_t left = Remaining(start, milliseconds);
    if (left == 0) return false;
    (void)freed.Wait(mutex, left);
  }
  --free;
  return true;
}

void ZRSemaphore::Release() {
  {
    const ZRMutexLock lock(mutex);
    if (free == most) return;
    ++free;
  }
  freed.NotifyOne();
}

void ZRSharedMutex::Lock() {
  const ZRMutexLock lock(mutex);
  ++writersWaiting;
  while (writing || readers != 0)
    (void)changed.Wait(mutex, ZRPlatform::kInfinite);
  --writersWaiting;
  writing = true;
}

void ZRSharedMutex::Unlock() {
  const ZRMutexLock lock(mutex);
  writing = false;
  changed.NotifyAll();
}

void ZRSharedMutex::LockShared() {
  const ZRMutexLock lock(mutex);
  while (writing || writersWaiting != 0)
    (void)changed.Wait(mutex, ZRPlatform::kInfinite);
  ++readers;
}

void ZRSharedMutex::UnlockShared() {
  const ZRMutexLock lock(mutex);
  if (--readers == 0) changed.NotifyAll();
}
