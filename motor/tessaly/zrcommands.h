// What the program does for each verb.
#pragma once

#include "tessaly/zrcommandline.h"

// Carries out a command. The exit code.
[[nodiscard]] int RunCommand(const ZRCommand& command);

[[nodiscard]] int RunSite(const ZRCommand& command);
[[nodiscard]] int CheckSite(const ZRCommand& command);
[[nodiscard]] int EvaluateOnSite(const ZRCommand& command);
[[nodiscard]] int ReplaySite(const ZRCommand& command);
