#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "zrevents/zreventservergroup.h"

// Tells a worker when to give up the processor: at least once in each millisecond of running,
// without asking the clock at every event.
class ZRPassPace {
 public:
  // True if it is time. `busy` says that the event served last may have taken long.
  [[nodiscard]] bool IsDue(bool busy);
  void Begin();

 private:
  static constexpr int kQuietEvents = 64;  // some microseconds

  int quiet = 0;
  std::uint32_t since = 0;  // ticks
};

// The worker of a group: one thread that serves its events in turn, with a second of sleep after
// each pass.
class ZREventServerGroup::ZREventServerGroupPartial {
 public:
  explicit ZREventServerGroupPartial(std::vector<ZREventDriver*> toServe);
  virtual ~ZREventServerGroupPartial();  // stops
  ZREventServerGroupPartial(const ZREventServerGroupPartial&) = delete;
  ZREventServerGroupPartial& operator=(const ZREventServerGroupPartial&) = delete;

  [[nodiscard]] bool Start();
  void Stop();

  // One pass over all events.
  void Pass();

  // Milliseconds that the last pass took.
  [[nodiscard]] std::uint32_t LastPass() const { return lastPass; }

  // Lets each of the newest times, activated, deactivated, acknowledged, replace `newest`.
  void KeepNewestTimes(ZRDateTime& newest) const;

 private:
  void Run();
  void UpdateTimes(const ZREventDriver& event);

  ZRStateWord state{kThreadStopped};
  ZRThread thread;
  const std::vector<ZREventDriver*> events;
  std::atomic<std::uint32_t> lastPass{0};
  ZRPassPace pace;             // worker only
  mutable ZRMutex timesMutex;  // a leaf
  ZRDateTime lastActivated ZR_GUARDED_BY(timesMutex);
  ZRDateTime lastDeactivated ZR_GUARDED_BY(timesMutex);
  ZRDateTime lastAcknowledged ZR_GUARDED_BY(timesMutex);
};
