#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <vector>

#include "host/platform/zrmutex.h"
#include "host/platform/zrthread.h"
#include "zrevents/actions/zreventmailgroup.h"

class ZRMSmtp;

// The mails of all actions that wait to be sent, and the thread that sends them, which lives only
// while there is work. It goes over the groups in passes, with 10 s in between; a group that isn't
// complete after three turns is given up, with a system event.
//
// Threads   Add on any; the queue's own thread; construction and destruction on the host's, while
//           nobody adds.
// Order     mutex and startMutex aren't held together. Under mutex: the system events, the log.
// Owns      the groups, and its thread.
// Promise   the destructor waits for the thread, which can take a whole turn and 10 s, and drops
//           what is left in silence.
class ZREventMailQueue {
 public:
  ZREventMailQueue() = default;
  ~ZREventMailQueue();
  ZREventMailQueue(const ZREventMailQueue&) = delete;
  ZREventMailQueue& operator=(const ZREventMailQueue&) = delete;

  // Appends a message, and wakes the thread. Always true. Waits while a turn or the pause between
  // two passes lasts.
  bool Add(const std::vector<ZRString>& addresses, const ZRString& subject, const ZRString& body);

 private:
  using tagGroups = std::list<std::unique_ptr<ZREventMailGroup>>;

  // What `state` holds.
  static constexpr std::uint32_t kStarting = 1;
  static constexpr std::uint32_t kRunning = 2;
  static constexpr std::uint32_t kStopping = 3;
  static constexpr std::uint32_t kEnded = 5;

  void EnsureThread();
  void Work();
  [[nodiscard]] bool Begin();
  [[nodiscard]] bool Step(ZRMSmtp& smtp);
  void Leave() ZR_REQUIRES(mutex);
  void EndPass() ZR_REQUIRES(mutex);
  void TakeTurn(ZREventMailGroup& group, ZRMSmtp& smtp) ZR_REQUIRES(mutex);
  void MoveOn() ZR_REQUIRES(mutex);
  void DropOverflow() ZR_REQUIRES(mutex);

  ZRMutex mutex;  // held for whole turns, and through the pause between two passes
  tagGroups groups ZR_GUARDED_BY(mutex);  // the oldest first
  // The next one to work on; the end when a pass is over.
  tagGroups::iterator current ZR_GUARDED_BY(mutex) = groups.end();
  std::atomic<int> lastGroupId{0};
  ZRStateWord state{kEnded};
  ZRMutex startMutex;  // the test of `state` and the start of a thread are one step
  ZRThread thread ZR_GUARDED_BY(startMutex);  // goes first: its body uses the rest
};
