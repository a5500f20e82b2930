// What the program does for each verb.
#pragma once

#include "tessaly/zrcommandline.h"

// Carries out a command. The exit code.
[[nodiscard]] int RunCommand(const ZRCommand& command);

[[nodiscard]] int RunSite(const ZRCommand& command);
[[nodiscard]] int CheckSite(const ZRCommand& command);
[[nodiscard]] int EvaluateOnSite(const ZRCommand& command);
[[nodiscard]] int ReplaySite(const ZRCommand& command);
[[nodiscard]] int ShowHistory(const ZRCommand& command);
[[nodiscard]] int VerifyHistory(const ZRCommand& command);
[[nodiscard]] int DumpHistory(const ZRCommand& command);
[[nodiscard]] int RenameHistory(const ZRCommand& command);
[[nodiscard]] int ShowSystemEvents(const ZRCommand& command);
[[nodiscard]] int ManageUsers(const ZRCommand& command);
[[nodiscard]] int ShowActive(const ZRCommand& command);
[[nodiscard]] int ShowNotified(const ZRCommand& command);
[[nodiscard]] int ShowListeners(const ZRCommand& command);
[[nodiscard]] int ShowDrivers(const ZRCommand& command);
[[nodiscard]] int ForceVariable(const ZRCommand& command);
[[nodiscard]] int AcknowledgeEvents(const ZRCommand& command);
