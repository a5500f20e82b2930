// The event bus: what is said on it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>

#include "host/messaging/zrbustransport.h"
#include "host/messaging/zrinprocessbus.h"
#include "host/platform/zrmutex.h"
#include "host/platform/zrthread.h"
#include "host/tools/zruuid.h"

struct ZREventBusSettings {
  uuid engine;
  std::size_t mostTold = 100'000;  // messages of the engine that wait to be made
};

// Sets both factories of publishers: what the engine tells becomes the messages of docs/bus.md.
//
// Threads   made, begun, opened and destroyed on the host's thread; ShowState and the publishers on
//           any; a thread of its own makes messages of what was told.
// Order     `mutex` is a leaf. It comes behind the lock of ZRInProcessBus, and both behind those of
//           the publishers.
// Owns      the transport.
// Promise   who publishes, or shows a state, waits for nothing but these locks. Beyond mostTold
//           messages that aren't made yet the oldest are dropped and counted; a state never is.
class ZREventBus {
 public:
  ZREventBus(const ZREventBusSettings& toUse, std::unique_ptr<ZRBusTransport> toUseForTravel);
  ~ZREventBus();  // takes its factories away, sends what waits, and says that it is offline
  ZREventBus(const ZREventBus&) = delete;
  ZREventBus& operator=(const ZREventBus&) = delete;

  // Listens to the engine from now on. False if the system gives no thread.
  [[nodiscard]] bool Begin();
  // Goes to the broker. All events that exist are to be defined by now; waits until their messages
  // are made. False if the system gives no thread.
  [[nodiscard]] bool Open() ZR_EXCLUDES(mutex);

  // An event has become active, or isn't any more, at this moment.
  void ShowState(const uuid& event, bool active) ZR_EXCLUDES(mutex);

 private:
  struct tagState {
    bool active = false;
    std::wstring since;
  };

  void Take(const std::wstring& json) ZR_EXCLUDES(mutex);
  void Work() ZR_EXCLUDES(mutex);
  void SayWhatIsDropped(std::uint64_t number);
  void Tell(const std::wstring& json);
  void KeepState(const uuid& event, const tagState& state);

  const ZREventBusSettings settings;
  const std::string engine;  // its id as text
  const std::unique_ptr<ZRBusTransport> transport;
  std::unique_ptr<ZRInProcessBus> source;
  bool saidUnreadable = false;  // the thread's own
  std::uint64_t droppedTold = 0;

  ZRMutex mutex;
  ZRCondition changed;
  std::deque<std::wstring> told ZR_GUARDED_BY(mutex);
  std::map<uuid, tagState> states ZR_GUARDED_BY(mutex);  // new ones
  std::uint64_t dropped ZR_GUARDED_BY(mutex) = 0;
  bool isIdle ZR_GUARDED_BY(mutex) = true;
  bool stopping ZR_GUARDED_BY(mutex) = false;
  ZRThread thread;
};
