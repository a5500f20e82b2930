#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "zrevents/zreventpass.h"
#include "zrevents/zreventservergroup.h"

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
  std::atomic<std::uint32_t> lastPass{0};
  ZREventPass pass;            // worker only
  mutable ZRMutex timesMutex;  // behind it only textMutex of an event
  ZRDateTime lastActivated ZR_GUARDED_BY(timesMutex);
  ZRDateTime lastDeactivated ZR_GUARDED_BY(timesMutex);
  ZRDateTime lastAcknowledged ZR_GUARDED_BY(timesMutex);
};
