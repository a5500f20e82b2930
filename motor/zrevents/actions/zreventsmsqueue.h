#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <vector>

#include "host/eventactions/eventactionsmssender.h"
#include "host/platform/zrmutex.h"
#include "host/platform/zrthread.h"
#include "zrevents/actions/zreventsmsgroup.h"

// The SMS of all actions that wait to be sent, and the thread that sends them, which lives only
// while there is work. It goes over the groups in passes, with 10 s in between; a group that isn't
// complete after three turns is given up, with a system event. The end of any group empties all
// others: what they hadn't sent is lost in silence.
//
// Threads   Add on any; the queue's own thread; construction and destruction on the host's, while
//           nobody adds.
// Order     under mutex: the sender, the system events, the log.
// Owns      the sender, the groups, and its thread.
// Promise   the destructor waits for the thread, which can take a whole turn and 10 s, and drops
//           what is left in silence.
class ZREventSmsQueue {
 public:
  // Null: there is nothing to send with, and every SMS counts as sent.
  explicit ZREventSmsQueue(std::unique_ptr<EventActionSmsSender> toUse);
  ~ZREventSmsQueue();
  ZREventSmsQueue(const ZREventSmsQueue&) = delete;
  ZREventSmsQueue& operator=(const ZREventSmsQueue&) = delete;

  // Appends a text, cut as CutIntoSms does, and wakes the thread. Always true. Waits while a turn
  // or the pause between two passes lasts.
  bool Add(const std::vector<ZRString>& phones, const ZRString& text, bool forceBreak);

 private:
  using tagGroups = std::list<std::unique_ptr<ZREventSmsGroup>>;

  // What `state` holds.
  static constexpr std::uint32_t kStarting = 1;
  static constexpr std::uint32_t kRunning = 2;
  static constexpr std::uint32_t kStopping = 3;
  static constexpr std::uint32_t kEnded = 5;

  void DropOverflow() ZR_REQUIRES(mutex);
  void EnsureThread() ZR_REQUIRES(mutex);
  void Work();
  [[nodiscard]] bool Begin();
  [[nodiscard]] bool Step();
  void Leave();
  void EndPass() ZR_REQUIRES(mutex);
  void TakeTurn(ZREventSmsGroup& group) ZR_REQUIRES(mutex);
  [[nodiscard]] bool SendToAll(ZREventSmsMessage& message, int groupId) ZR_REQUIRES(mutex);
  void MoveOn() ZR_REQUIRES(mutex);
  tagGroups::iterator Delete(tagGroups::iterator group) ZR_REQUIRES(mutex);

  const std::unique_ptr<EventActionSmsSender> sender;  // used under mutex; null: none
  ZRMutex mutex;  // held for whole turns, and through the pause between two passes
  tagGroups groups ZR_GUARDED_BY(mutex);  // the oldest first
  // The next one to work on; the end when a pass is over.
  tagGroups::iterator current ZR_GUARDED_BY(mutex) = groups.end();
  std::atomic<int> lastGroupId{0};
  ZRStateWord state{kEnded};
  ZRThread thread ZR_GUARDED_BY(mutex);  // goes first: its body uses the rest
};
