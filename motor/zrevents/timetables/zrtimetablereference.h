#pragma once

#include <atomic>
#include <cstdint>

#include "zrevents/timetables/zrtimetable.h"

// What week and calendar tables share: a table that picks another one by the date, by id or name,
// and asks it. The pick is looked up when the date's key changes, and kept.
//
// Tables may refer to each other. Who passes more tables than there are ends with true, and the
// store remembers the table that was asked.
//
// Threads   the cache is one atomic word: key and pick never disagree.
class ZRTimeTableReference : public ZRTimeTable {
 public:
  [[nodiscard]] bool LoadXml(const XmlDocument::XmlNode* toKeep) override;
  // True without a pick, else the pick's answer.
  [[nodiscard]] bool NeedCheck(const ZRDateTime& now) override;

 protected:
  // The part of the date that decides. 0 is the key of a table that was never asked: for it
  // nothing is looked up until the key has changed once.
  [[nodiscard]] virtual std::uint32_t Key(const ZRDateTime& now) const = 0;
  // The element that names the pick for that date, or null.
  [[nodiscard]] virtual const XmlDocument::XmlNode* Entry(const XmlDocument::XmlNode& table,
                                                          const ZRDateTime& now) const = 0;

 private:
  [[nodiscard]] ZRTimeTable* Pick(const ZRDateTime& now);

  const XmlDocument::XmlNode* node = nullptr;  // constant after LoadXml
  // The key in the upper half; in the lower the number of the pick in the store, from 1.
  std::atomic<std::uint64_t> cache{0};
};

// Picks by the day of the week: the child "day0" (Sunday) to "day6".
class ZRTimeTableWeek final : public ZRTimeTableReference {
 protected:
  [[nodiscard]] std::uint32_t Key(const ZRDateTime& now) const override;
  [[nodiscard]] const XmlDocument::XmlNode* Entry(const XmlDocument::XmlNode& table,
                                                  const ZRDateTime& now) const override;
};

// Picks by the date: the child `year` of that value `year`, in it "month1" to "month12", in it
// "day1" to "day31".
class ZRTimeTableCalendar final : public ZRTimeTableReference {
 protected:
  [[nodiscard]] std::uint32_t Key(const ZRDateTime& now) const override;
  [[nodiscard]] const XmlDocument::XmlNode* Entry(const XmlDocument::XmlNode& table,
                                                  const ZRDateTime& now) const override;
};
