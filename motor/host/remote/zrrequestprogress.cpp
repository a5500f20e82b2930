#include "host/remote/zrrequestprogress.h"

void ZRRequestProgress::Open() {
  const ZRMutexLock lock(mutex);
  shut = false;
}

void ZRRequestProgress::Shut() {
  const ZRMutexLock lock(mutex);
  shut = true;
}

bool ZRRequestProgress::IsShut() {
  const ZRMutexLock lock(mutex);
  return shut;
}

void ZRRequestProgress::BeginRequest() {
  const ZRMutexLock lock(mutex);
  ++requests;
}

void ZRRequestProgress::EndRequest() {
  const ZRMutexLock lock(mutex);
  --requests;
  changed.NotifyAll();
}

bool ZRRequestProgress::BeginRoute() {
  const ZRMutexLock lock(mutex);
  if (shut) return false;
  ++routes;
  return true;
}

void ZRRequestProgress::EndRoute() {
  const ZRMutexLock lock(mutex);
  --routes;
  changed.NotifyAll();
}

void ZRRequestProgress::WaitUntilQuiet(std::uint32_t milliseconds) {
  const ZRMutexLock lock(mutex);
  while (routes != 0)
    (void)changed.Wait(mutex, ZRPlatform::kInfinite);
  const std::uint32_t start = ZRPlatform::Get().TickCount();
  while (requests != 0) {
    const std::uint32_t gone = ZRPlatform::Get().TickCount() - start;
    if (gone >= milliseconds) return;
    (void)changed.Wait(mutex, milliseconds - gone);
  }
}
