#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "zrevents/timetables/zrtimeofday.h"
#include "zrevents/timetables/zrtimetable.h"

// What is wrong with a slot's element: nothing, its `from`, its `to`, or their order.
enum class ZRSlotFault { kNone, kFrom, kTo, kBackwards };

// A span of a day in which events are switched off, in minutes since midnight.
struct tagSlot {
  std::uint16_t from;  // inclusive
  std::uint16_t to;    // exclusive, at most 1440

  bool operator==(const tagSlot&) const = default;
};

// Reads an element `slot` with its values `from` and `to`, and says why it can't be used.
[[nodiscard]] ZRSlotFault ReadSlot(const XmlDocument::XmlNode& element, tagSlot& slot);

// The slots of a table grow so far by repetition; beyond, a new slot is inserted once.
inline constexpr std::size_t kMaximumRepeatedSlots = 4096;

// Puts `slot` before every slot that begins later, once before each of them, or at the end if
// there is none. The first occurrences stay in ascending order, and no later one can decide.
void InsertSlot(std::vector<tagSlot>& slots, const tagSlot& slot);

// True if no slot holds the minute `minuteOfDay`.
[[nodiscard]] bool IsOutsideSlots(const std::vector<tagSlot>& slots, int minuteOfDay);

// A day table: the same slots every day.
class ZRTimeTableDay : public ZRTimeTable {
 public:
  // Reads the children `slot` with `from` and `to`. A slot that can't be read, or that ends
  // before it begins, is passed over.
  [[nodiscard]] bool LoadXml(const XmlDocument::XmlNode* node) override;
  [[nodiscard]] bool NeedCheck(const ZRDateTime& now) override;

  [[nodiscard]] const std::vector<tagSlot>& Slots() const { return slots; }

 private:
  std::vector<tagSlot> slots;
};
