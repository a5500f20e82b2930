// Display texts by number, in the installation's language.
#pragma once

#include "host/tools/zrbasicstring.h"

// Numbers in use, each with its texts in zrstringtable.cpp.
namespace zrstring {
// The fixed groups of events.
inline constexpr int kGroupGeneral = 34875;  // the default group of events
inline constexpr int kGroupSystem = 33210;
inline constexpr int kGroupQuality = 36166;
inline constexpr int kGroupConsumption = 36157;
inline constexpr int kGroupMaintenance = 36185;
inline constexpr int kGroupSecurity = 24543;
inline constexpr int kGroupParking = 34031;

// Words about an event.
inline constexpr int kNoTimeTable = 32830;
inline constexpr int kActivated = 32724;
inline constexpr int kDeactivated = 32149;
inline constexpr int kAcknowledged = 32858;

// The two labels of a two-state variable.
inline constexpr int kStateOff = 607;
inline constexpr int kStateOn = 608;

// Formats with one argument, a wide text (%ls).
inline constexpr int kCannotStart = 32347;      // the command line
inline constexpr int kSubjectActivate = 34154;  // the event's name, in these four
inline constexpr int kSubjectAcknowledge = 34155;
inline constexpr int kSubjectDeactivate = 34156;
inline constexpr int kSubjectWhile = 34157;

// Texts of system events.
inline constexpr int kMailNotSent = 37539;
inline constexpr int kModemPortEmpty = 38591;
inline constexpr int kSmsNotSent = 38600;

// Title of the feed.
inline constexpr int kFeedTitle = 34441;

// Labels of the selection of an event's variables.
inline constexpr int kSelectAll = 183;
inline constexpr int kVariableState = 32031;
inline constexpr int kVariableActivations = 34100;
inline constexpr int kVariableDeactivations = 34101;
inline constexpr int kVariableAcknowledgements = 34102;
inline constexpr int kVariableTime = 34103;
inline constexpr int kNothingToSelect = 34296;
}  // namespace zrstring

// Sets the language by its two letters ("en", "es"); false for one that the table doesn't have, and
// then nothing changes. English until then. Safe from any thread.
[[nodiscard]] bool SetStringLanguage(const ZRString& language);
[[nodiscard]] ZRString StringLanguage();

// The text of a number in the language in force; "#" and the number if there is none, and then
// the first two forms return false. Safe from any thread.
[[nodiscard]] bool ZRLoadString(int id, ZRWString& text);
[[nodiscard]] bool ZRLoadString(int id, ZRString& text);
[[nodiscard]] ZRWString ZRLoadString(int id);
[[nodiscard]] bool StringId2String(int id, ZRWString& text);
