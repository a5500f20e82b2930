// A thread that is joined, and the word by which others follow its life.
#pragma once

#include <functional>

#include "host/platform/zrplatform.h"

// Threads   one thread starts and joins; the body runs on the new one.
// Promise   the destructor joins: a body never outlives the object.
class ZRThread {
 public:
  ZRThread() = default;
  ~ZRThread() { Join(); }
  ZRThread(const ZRThread&) = delete;
  ZRThread& operator=(const ZRThread&) = delete;

  // False if the system gives no thread. An earlier thread is joined first.
  [[nodiscard]] bool Start(std::function<void()> body);
  void Join();

 private:
  ZRPlatform::tagThread thread = 0;
};

// A small number that one side sets and another waits for: the effect of spinning on it with
// Sleep(0), without the heat.
class ZRStateWord {
 public:
  explicit ZRStateWord(std::uint32_t initial) : word(initial) {}
  ZRStateWord(const ZRStateWord&) = delete;
  ZRStateWord& operator=(const ZRStateWord&) = delete;

  [[nodiscard]] std::uint32_t Get() const { return word.load(std::memory_order_acquire); }
  void Set(std::uint32_t value);
  // Sets `value` if the word is `expected`, in one step. False if it isn't.
  bool Replace(std::uint32_t expected, std::uint32_t value);

  // Return at once if the word differs from, or is, `value`; else wait for that without limit.
  void WaitWhile(std::uint32_t value);
  void WaitUntil(std::uint32_t value);

 private:
  ZRWaitWord word;
};
