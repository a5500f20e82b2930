#include "host/platform/zrthread.h"

#include <utility>

bool ZRThread::Start(std::function<void()> body) {
  Join();
  thread = ZRPlatform::Get().StartThread(std::move(body));
  return thread != 0;
}

void ZRThread::Join() {
  if (thread != 0) ZRPlatform::Get().JoinThread(std::exchange(thread, 0));
}

void ZRStateWord::Set(std::uint32_t value) {
  word.store(value, std::memory_order_release);
  ZRPlatform::Get().WakeAll(word);
}

bool ZRStateWord::Replace(std::uint32_t expected, std::uint32_t value) {
  if (!word.compare_exchange_strong(expected, value, std::memory_order_acq_rel)) return false;
  ZRPlatform::Get().WakeAll(word);
  return true;
}

void ZRStateWord::WaitWhile(std::uint32_t value) {
  while (Get() == value)
    (void)ZRPlatform::Get().Wait(word, value, ZRPlatform::kInfinite);
}

void ZRStateWord::WaitUntil(std::uint32_t value) {
  for (std::uint32_t now = Get(); now != value; now = Get())
    (void)ZRPlatform::Get().Wait(word, now, ZRPlatform::kInfinite);
}
