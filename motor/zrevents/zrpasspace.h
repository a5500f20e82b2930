#pragma once

#include <cstdint>

// Tells a worker when to give up the processor: at least once in each millisecond of running,
// without asking the clock at every event.
//
// Threads   one, the worker's.
class ZRPassPace {
 public:
  // A pass begins.
  void Begin();
  // True if it is time. `busy` says that the event served last may have taken long.
  [[nodiscard]] bool IsDue(bool busy);

 private:
  static constexpr int kQuietEvents = 64;  // some microseconds

  int quiet = 0;            // events since the clock was asked
  std::uint32_t since = 0;  // ticks
};
