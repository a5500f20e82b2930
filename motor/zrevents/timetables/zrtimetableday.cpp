#include "zrevents/timetables/zrtimetableday.h"

#include <algorithm>
#include <cwchar>
#include <iterator>

namespace {

constexpr unsigned long kMinutesInHour = 60;
constexpr unsigned long kLastHour = 24;

// Two characters as a decimal number, in the manner of wcstol: white space and a sign in front
// are taken, the rest ends at the first character that is no digit. A negative number is huge.
unsigned long PairValue(const wchar_t* pair) {
  const wchar_t text[] = {pair[0], pair[1], L'\0'};
  return static_cast<unsigned long>(std::wcstol(text, nullptr, 10));
}

}  // namespace

bool ParseTimeOfDay(const ZRWString& text, std::uint16_t& minutes) {
  if (text.Length() < 2) return false;
  const unsigned long hour = PairValue(text.Text());
  const unsigned long minute = PairValue(text.Text() + text.Length() - 2);
  if (hour > kLastHour || minute >= kMinutesInHour) return false;
  if (hour == kLastHour && minute != 0) return false;
  minutes = static_cast<std::uint16_t>(hour * kMinutesInHour + minute);
  return true;
}

void InsertSlot(std::vector<tagSlot>& slots, const tagSlot& slot) {
  const auto later = [&slot](const tagSlot& other) { return other.from > slot.from; };
  const auto count = static_cast<std::size_t>(std::count_if(slots.begin(), slots.end(), later));
  if (count == 0) {
    slots.push_back(slot);
    return;
  }
  if (slots.size() + count > kMaximumRepeatedSlots) {
    slots.insert(std::find_if(slots.begin(), slots.end(), later), slot);
    return;
  }
  std::vector<tagSlot> longer;
  longer.reserve(slots.size() + count);
  for (const tagSlot& existing : slots) {
    if (later(existing)) longer.push_back(slot);
    longer.push_back(existing);
  }
  slots = std::move(longer);
}

bool IsOutsideSlots(const std::vector<tagSlot>& slots, int minuteOfDay) {
  for (const tagSlot& slot : slots) {
    if (slot.from > minuteOfDay) return true;
    if (slot.to > minuteOfDay) return false;
  }
  return true;
}

bool ZRTimeTableDay::LoadXml(const XmlDocument::XmlNode* node) {
  if (!ZRTimeTable::LoadXml(node)) return false;
  for (auto child = node->ChildsBegin(); child != node->ChildsEnd(); ++child) {
    if ((*child)->TagUtf8() != "slot") continue;
    tagSlot slot{};
    if (!ParseTimeOfDay((*child)->Value(L"from", L""), slot.from)) continue;
    if (!ParseTimeOfDay((*child)->Value(L"to", L""), slot.to)) continue;
    if (slot.from > slot.to) continue;
    InsertSlot(slots, slot);
  }
  return true;
}

bool ZRTimeTableDay::NeedCheck(const ZRDateTime& now) {
  return IsOutsideSlots(slots, now.Hour() * static_cast<int>(kMinutesInHour) + now.Minute());
}
