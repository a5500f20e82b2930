#include "zrevents/timetables/zrtimetablereference.h"

#include "zrevents/zreventsystem.h"

bool ZRTimeTableReference::LoadXml(const XmlDocument::XmlNode* toKeep) {
  if (!ZRTimeTable::LoadXml(toKeep)) return false;
  node = toKeep;
  cache.store(0, std::memory_order_relaxed);
  return true;
}

bool ZRTimeTableReference::NeedCheck(const ZRDateTime& now) {
  ZREventSystem& system = ZREventSystem::Get();
  ZRTimeTable* table = this;
  for (int passed = 0; passed <= system.TimeTablesSize(); ++passed) {
    auto* const reference = dynamic_cast<ZRTimeTableReference*>(table);
    if (reference == nullptr) return table->NeedCheck(now);
    table = reference->Pick(now);
    if (table == nullptr) return true;
  }
  system.NoteCircularTimeTable(*this);
  return true;
}

ZRTimeTable* ZRTimeTableReference::Pick(const ZRDateTime& now) {
  constexpr unsigned kKeyShift = 32;
  ZREventSystem& system = ZREventSystem::Get();
  const std::uint64_t key = std::uint64_t{Key(now)} << kKeyShift;
  std::uint64_t known = cache.load(std::memory_order_relaxed);
  if ((known & ~std::uint64_t{0xFFFFFFFFu}) != key) {
    const XmlDocument::XmlNode* const entry = Entry(*node, now);
    known = key | (entry == nullptr ? 0u : system.TimeTableNumber(entry->Value().Text()));
    cache.store(known, std::memory_order_relaxed);
  }
  return system.TimeTableByNumber(static_cast<std::uint32_t>(known));
}

std::uint32_t ZRTimeTableWeek::Key(const ZRDateTime& now) const {
  return static_cast<std::uint32_t>(now.DayOfWeek());
}

const XmlDocument::XmlNode* ZRTimeTableWeek::Entry(const XmlDocument::XmlNode& table,
                                                   const ZRDateTime& now) const {
  return table.NodeV(L"/day%d", now.DayOfWeek());
}

std::uint32_t ZRTimeTableCalendar::Key(const ZRDateTime& now) const {
  constexpr int kMonths = 16;
  constexpr int kDays = 32;
  return static_cast<std::uint32_t>((now.Year() * kMonths + now.Month()) * kDays + now.Day());
}

const XmlDocument::XmlNode* ZRTimeTableCalendar::Entry(const XmlDocument::XmlNode& table,
                                                       const ZRDateTime& now) const {
  const XmlDocument::XmlNode* const year = table.NodeV(L"/year?year=%d?", now.Year());
  if (year == nullptr) return nullptr;
  const XmlDocument::XmlNode* const month = year->NodeV(L"month%d", now.Month());
  if (month == nullptr) return nullptr;
  return month->NodeV(L"day%d", now.Day());
}
