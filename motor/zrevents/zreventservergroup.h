#pragma once

#include <memory>
#include <vector>

#include "host/platform/zrmutex.h"
#include "host/platform/zrthread.h"
#include "host/tools/zrdatetime.h"
#include "zrevents/zreventsexport.h"
#include "zrevents/zreventstatus.h"

class ZREventDriver;

// The events of one group, and the worker that runs them.
//
// Threads   AddEvent, Start, Stop on the host's thread; GetLastEventClientActionsDateTime on any.
// Order     mutex comes after the gate of the server, and before the worker's times.
// Owns      its workers; the events are the store's.
class ZREVENTS_API ZREventServerGroup {
 public:
  class ZREVENTS_HIDDEN ZREventServerGroupPartial;  // the worker proper

  ZREventServerGroup();
  virtual ~ZREventServerGroup();  // stops
  ZREventServerGroup(const ZREventServerGroup&) = delete;
  ZREventServerGroup& operator=(const ZREventServerGroup&) = delete;

  // The event is run from the next Start on, after those added before.
  void AddEvent(ZREventDriver* event);
  [[nodiscard]] int NumEvents() const { return static_cast<int>(events.size()); }

  // Starts the worker. True if it runs already; false without events or without a thread.
  [[nodiscard]] bool Start();
  // Ends the worker. It is noticed between passes: this takes up to a pass and a second.
  void Stop();

  // The newest time of a transition among the events with client actions; invalid if there was
  // none. `out` stays as it is unless the group is started. Always true.
  [[nodiscard]] bool GetLastEventClientActionsDateTime(ZRDateTime& out);

  // Milliseconds that the worker's last pass took; 0 before the first one is over.
  [[nodiscard]] std::uint32_t LongestPass();

 private:
  std::vector<ZREventDriver*> events;
  ZRMutex mutex;
  bool started ZR_GUARDED_BY(mutex) = false;
  std::vector<std::unique_ptr<ZREventServerGroupPartial>> partials ZR_GUARDED_BY(mutex);
};
