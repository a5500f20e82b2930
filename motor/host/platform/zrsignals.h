// Requests to the process, taken one after the other by the thread that waits for them.
#pragma once

#include <cstdint>

enum class ZRSignal { kNone, kStop, kReload };

class ZRSignals {
 public:
  // Keeps SIGINT, SIGTERM and SIGHUP for Wait, in this thread and those that it starts, and
  // SIGPIPE from ending the process. Called first in main.
  static void Keep();

  // The next request: kStop for SIGINT and SIGTERM, kReload for SIGHUP, kNone if none came within
  // `milliseconds`. Real time.
  [[nodiscard]] static ZRSignal Wait(std::uint32_t milliseconds);
};
