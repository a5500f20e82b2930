// Display texts by number, in the installation's language.
#pragma once

#include "host/tools/zrbasicstring.h"

// Numbers in use, each with its English text in zrstringtable.cpp.
namespace zrstring {
inline constexpr int kGroupGeneral = 34875;  // the default group of events
inline constexpr int kGroupSystem = 33210;
inline constexpr int kGroupQuality = 36166;
inline constexpr int kGroupConsumption = 36157;
inline constexpr int kGroupMaintenance = 36185;
inline constexpr int kGroupSecurity = 24543;
inline constexpr int kGroupParking = 34031;
inline constexpr int kNoTimeTable = 32830;
inline constexpr int kActivated = 32724;
inline constexpr int kDeactivated = 32149;
inline constexpr int kAcknowledged = 32858;
}  // namespace zrstring

// Sets the language by its two letters; false for one that the table doesn't have, and then
// nothing changes. English until then. Safe from any thread.
[[nodiscard]] bool SetStringLanguage(const ZRString& language);
[[nodiscard]] ZRString StringLanguage();

// The text of a number in the language in force; "#" and the number if there is none, and then
// the first two forms return false.
[[nodiscard]] bool ZRLoadString(int id, ZRWString& text);
[[nodiscard]] bool ZRLoadString(int id, ZRString& text);
[[nodiscard]] ZRWString ZRLoadString(int id);
[[nodiscard]] bool StringId2String(int id, ZRWString& text);
