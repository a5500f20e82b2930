// A platform whose time moves only when nothing is left to do: recorded months are replayed in
// seconds, and tests never sleep.
//
// Its threads are fibers of the one thread that made the object. One runs at a time, until it
// waits; then the next one that is ready runs, in the order in which they became ready, and if
// none is, time jumps to the earliest wait that ends. The same program therefore takes the same
// steps on every run.
#pragma once

#include <cstdint>
#include <deque>
#include <list>
#include <map>
#include <memory>
#include <thread>
#include <utility>

#include "host/platform/zrplatform.h"

// Threads   one: the maker's, on which every fiber runs. A wait on another thread aborts.
// Owns      its fibers; all must have ended before it is destroyed.
// Promise   replaces the platform in force for as long as it lives.
class ZRVirtualTime : public ZRPlatform {
 public:
  static constexpr std::int64_t kDefaultUtc = 1'767'225'600'000;  // 2026-01-01T00:00:00Z

  // Starts at `utcMilliseconds`, with a tick count of 1000.
  explicit ZRVirtualTime(std::int64_t utcMilliseconds = kDefaultUtc);
  ~ZRVirtualTime() override;
  ZRVirtualTime(const ZRVirtualTime&) = delete;
  ZRVirtualTime& operator=(const ZRVirtualTime&) = delete;

  // Lets `milliseconds` pass for the caller, serving each wait of the others at its own time,
  // those due at the very end included.
  void Advance(std::uint64_t milliseconds);

  // Steps the clock or the tick count without letting time pass.
  void SetUtc(std::int64_t utcMilliseconds);
  void SetTickCount(std::uint32_t ticks);

  // The next `count` starts of a thread succeed, and all later ones fail; negative: none fails.
  void FailThreadsAfter(int count) { threadsLeft = count; }

  // Puts another disk in the place of the system's, for Files() alone; null takes it away again.
  // It has to live on while it is in use.
  void SetFiles(ZRFileSystem* toUse) { files = toUse; }

  // Number of changes from one fiber to another since the start: a measure of work.
  [[nodiscard]] std::uint64_t Switches() const { return switches; }

  std::uint32_t TickCount() override;
  std::int64_t UtcMilliseconds() override;
  void Sleep(std::uint32_t milliseconds) override;
  tagThread StartThread(std::function<void()> body) override;
  void JoinThread(tagThread thread) override;
  bool Wait(ZRWaitWord& word, std::uint32_t expected, std::uint32_t milliseconds) override;
  void WakeOne(ZRWaitWord& word) override;
  void WakeAll(ZRWaitWord& word) override;
  ZRFileSystem& Files() override { return files != nullptr ? *files : ZRPlatform::Files(); }

 private:
  class CFiber;
  // When a wait ends, those of equal time by arrival; an Advance comes behind all of its time.
  struct tagDue {
    std::uint64_t when;
    bool advance;
    std::uint64_t arrival;
    auto operator<=>(const tagDue&) const = default;  // NOLINT(modernize-use-nullptr)
  };

  static constexpr std::uint64_t kNever = ~std::uint64_t{0};

  void CheckThread() const;
  // Puts the running fiber to sleep until it is made ready. True if it was woken, false if its
  // time ran out.
  bool Block(const ZRWaitWord* word, std::uint64_t due, bool advance);
  void MakeReady(CFiber& fiber, bool woken);
  bool ServeNextDue();
  void RunNext();
  void SwitchTo(CFiber& next);
  void Wake(const ZRWaitWord& word, bool all);
  static void Entry();

  const std::thread::id owner;
  std::unique_ptr<CFiber> main;
  std::map<tagThread, std::unique_ptr<CFiber>> fibers;
  CFiber* running;
  std::deque<CFiber*> ready;
  std::map<tagDue, CFiber*> timed;
  std::list<CFiber*> blocked;  // on a word, in order of arrival
  std::uint64_t now = 0;       // milliseconds since the start
  std::int64_t utcStart;
  std::uint32_t tickStart = 1000;
  std::uint64_t arrivals = 0;
  std::uint64_t switches = 0;
  tagThread nextThread = 1;
  int threadsLeft = -1;
  ZRFileSystem* files = nullptr;
};
