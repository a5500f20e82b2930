#pragma once

#include <cstddef>
#include <vector>

#include "host/tools/zrdatetime.h"
#include "zrevents/zrpasspace.h"

class ZREventDriver;

// The passes of a worker over its events.
//
// Threads   one, the worker's.
// Promise   gives up the processor as ZRPassPace says. Allocates nothing.
class ZREventPass {
 public:
  explicit ZREventPass(std::vector<ZREventDriver*> toServe);

  // Calls Work of each event in order, and after each `served` with the event.
  template <typename Served>
  void Run(const ZRDateTime& now, Served served) {
    pace.Begin();
    for (std::size_t place = 0; place < events.size(); ++place) {
      Serve(place, now);
      served(*events[place]);
      GiveWay(*events[place]);
    }
  }

 private:
  // How far ahead an event, and its condition, are brought near.
  static constexpr std::size_t kEventsAhead = 12;
  static constexpr std::size_t kConditionsAhead = 6;

  void Serve(std::size_t place, const ZRDateTime& now);
  void GiveWay(const ZREventDriver& served);

  const std::vector<ZREventDriver*> events;
  ZRPassPace pace;
  bool wasEnabled = false;  // the event that is served
};
