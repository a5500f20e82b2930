#include "zrevents/timetables/zrtimetableday.h"

#include <algorithm>
#include <iterator>

ZRSlotFault ReadSlot(const XmlDocument::XmlNode& element, tagSlot& slot) {
  if (!ParseTimeOfDay(element.Value(L"from", L""), slot.from)) return ZRSlotFault::kFrom;
  if (!ParseTimeOfDay(element.Value(L"to", L""), slot.to)) return ZRSlotFault::kTo;
  return slot.from > slot.to ? ZRSlotFault::kBackwards : ZRSlotFault::kNone;
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
    tagSlot slot{};
    if ((*child)->TagUtf8() == "slot" && ReadSlot(**child, slot) == ZRSlotFault::kNone)
      InsertSlot(slots, slot);
  }
  return true;
}

bool ZRTimeTableDay::NeedCheck(const ZRDateTime& now) {
  return IsOutsideSlots(slots, now.Hour() * kMinutesInHour + now.Minute());
}
