// How the messages of the event bus travel.
#pragma once

#include <cstddef>
#include <string>

#include "host/tools/zruuid.h"

// One engine's way to its broker. Definitions and states are a picture there: one message of each
// for each event, of which only the newest counts. Transitions pass by.
//
// Threads   Start and Stop on the host's; the messages on one other.
// Promise   a message waits for nobody: what the broker can't take yet waits itself. Of the picture
//           nothing is dropped; once the broker is reached it is right, and holds nothing of
//           events that aren't there any more.
class ZRBusTransport {
 public:
  static constexpr const char* kOnline = "online";
  static constexpr const char* kOffline = "offline";

  virtual ~ZRBusTransport() = default;

  // Goes to the broker; the events that exist are defined by now. False if the system gives no
  // thread.
  [[nodiscard]] virtual bool Start() = 0;
  // Sends what waits, for a bounded time, and says that the engine is offline.
  virtual void Stop() = 0;

  // One message of an event. False, and nothing is sent, for one of more than MostBytes.
  [[nodiscard]] virtual bool KeepDefinition(const uuid& event, std::string json,
                                            const std::string& name) = 0;
  [[nodiscard]] virtual bool KeepState(const uuid& event, std::string json) = 0;
  [[nodiscard]] virtual bool PassTransition(const uuid& event, std::string json) = 0;
  [[nodiscard]] virtual std::size_t MostBytes() const = 0;
};
