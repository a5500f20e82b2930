// The events' own variables: the state of each event, for other events' conditions and for whoever
// wants to hear of a change.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "host/driversupport/zrdriver.h"

class ZREventDriver;
class ZREventSystem;

// Shows each event as two variables: [NAME.ST], 1 while it is active and 0 otherwise, and
// [NAME.TACT], the seconds since its activation. Of two events with one name the first has them.
//
// Threads   bound and destroyed on the host's thread, before the engine starts and after it has
//           stopped; written by the workers.
// Owns      the live values; the events are the store's.
class ZREventVariables final : public ZRDriver {
 public:
  // Told when an event becomes active or inactive, on its worker, with the seconds it was active.
  // Quick: the event's cycle waits.
  using tagObserver = std::function<void(ZREventDriver& event, bool active, double seconds)>;

  explicit ZREventVariables(tagObserver toTell);
  ~ZREventVariables() override;

  // Binds every event of the store.
  void Bind(ZREventSystem& system);

  void SetVariableValue(std::int64_t variable, double value) override;

 private:
  // One event; the two variables have the numbers 2 * place and 2 * place + 1.
  struct tagEntry {
    ZREventDriver* event = nullptr;
    ZRLiveValue* state = nullptr;  // null for the second event of a name
    ZRLiveValue* time = nullptr;
    // The worker's own.
    bool isKnown = false;
    bool active = false;
    double seconds = -1.0;   // as the variable shows them
    std::int64_t since = 0;  // UTC in ms of the activation
  };

  void SetState(tagEntry& entry, bool active) const;
  static void SetTime(tagEntry& entry, double seconds);

  const tagObserver observer;
  std::vector<tagEntry> entries;
};
