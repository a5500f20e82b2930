// Says what goes wrong again and again once for a cause.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include "host/platform/zrmutex.h"

// Threads   any.
// Order     a leaf.
// Promise   however many subjects there are, and whatever they do: bounded memory, and a bounded
//           number of lines an hour.
class ZRToldCauses {
 public:
  static constexpr std::size_t kMostSubjects = 64;
  static constexpr std::uint32_t kMemory = 3600'000;  // ms

  // Whether this is worth a line: the subject is new, or has another cause, or it was said an hour
  // ago. Not if there are too many subjects.
  [[nodiscard]] bool IsNews(const std::string& subject, const std::string& cause)
      ZR_EXCLUDES(mutex);

 private:
  struct tagTold {
    std::string cause;
    std::uint32_t when = 0;  // ticks
  };

  ZRMutex mutex;
  std::map<std::string, tagTold> told ZR_GUARDED_BY(mutex);
};
