// The system's own processes, behind ZRPlatform. Not for use elsewhere.
#pragma once

#include "host/platform/zrplatform.h"

class ZRProcess {
 public:
  [[nodiscard]] static int Start(const ZRProcessStart& start);
  [[nodiscard]] static bool Wait(int process, std::uint32_t milliseconds, int& exitCode);
  static void End(int process);
};
