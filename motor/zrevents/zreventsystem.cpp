#include "zrevents/zreventsystem.h"

#include <algorithm>

#include "zrevents/timetables/zrtimetablereference.h"
#include "zrevents/zreventdriver.h"

namespace {

std::atomic<ZREventSystem*> instance{nullptr};

template <typename List, typename Matches>
auto* FirstIn(const List& list, Matches matches) {
  const auto found = std::find_if(list.begin(), list.end(), matches);
  return found == list.end() ? nullptr : *found;
}

template <typename Named>
bool HasName(const Named& named, const wchar_t* name) {
  return ZRWideChar::Compare(named.Name().Text(), name) == 0;
}

template <typename Named>
bool ComesBefore(const Named& a, const Named& b) {
  return ZRWideChar::Compare(a.Name().Text(), b.Name().Text()) < 0;
}

}  // namespace

ZREventSystem::ZREventSystem() {
  instance = this;
}

ZREventSystem::~ZREventSystem() {
  Reset();
  ZREventSystem* self = this;
  instance.compare_exchange_strong(self, nullptr);
}

ZREventSystem& ZREventSystem::Get() {
  return *instance;
}

void ZREventSystem::Reset() {
  const ZRExclusiveLock lock(storeMutex);
  eventsById.clear();
  events.Clear();
  timeTables.Clear();
  eventsGroups.Clear();
  generatedDocuments.Clear();
  circularTimeTable = nullptr;
}

void ZREventSystem::Sort() {
  const ZRExclusiveLock lock(storeMutex);
  events.StableSort(ComesBefore<ZREventDriver>);
  IndexEvents();
}

// Of several events of one id the first in the list stays the first.
void ZREventSystem::IndexEvents() {
  eventsById.clear();
  eventsById.reserve(static_cast<std::size_t>(events.Size()));
  for (ZREventDriver* event : events)
    eventsById.push_back({event->Id(), event});
  std::stable_sort(eventsById.begin(), eventsById.end(),
                   [](const tagIdOfEvent& a, const tagIdOfEvent& b) { return a.id < b.id; });
}

void ZREventSystem::SortEventsGroups() {
  const ZRExclusiveLock lock(storeMutex);
  eventsGroups.StableSort(ComesBefore<ZREventDriverGroup>);
}

ZREventDriver* ZREventSystem::LockEvent(const uuid& id) {
  if (eventsById.empty())
    return FirstIn(events, [&](const ZREventDriver* event) { return event->Id() == id; });
  const auto found = std::lower_bound(
      eventsById.begin(), eventsById.end(), id,
      [](const tagIdOfEvent& each, const uuid& wanted) { return each.id < wanted; });
  return found == eventsById.end() || found->id != id ? nullptr : found->event;
}

ZREventDriver* ZREventSystem::LockEvent(const wchar_t* name) {
  return FirstIn(events, [&](const ZREventDriver* event) { return HasName(*event, name); });
}

ZREventDriverGroup* ZREventSystem::LockEventsGroup(const uuid& id) {
  return FirstIn(eventsGroups, [&](const ZREventDriverGroup* group) { return group->Id() == id; });
}

ZREventDriverGroup* ZREventSystem::LockEventsGroup(const wchar_t* name) {
  return FirstIn(eventsGroups,
                 [&](const ZREventDriverGroup* group) { return HasName(*group, name); });
}

ZRTimeTable* ZREventSystem::LockTimeTable(const wchar_t* idOrName) {
  return TimeTableByNumber(TimeTableNumber(idOrName));
}

std::uint32_t ZREventSystem::TimeTableNumber(const wchar_t* idOrName) const {
  std::uint32_t number = 0;
  for (const ZRTimeTable* table : timeTables) {
    ++number;
    if (table->Id() == idOrName || HasName(*table, idOrName)) return number;
  }
  return 0;
}

ZRTimeTable* ZREventSystem::TimeTableByNumber(std::uint32_t number) const {
  return number == 0 ? nullptr : timeTables.At(number - 1);
}

ZRSlotFault ZREventSystem::SlotFault(const XmlDocument::XmlNode& slot) {
  tagSlot ignored{};
  return ReadSlot(slot, ignored);
}

template <typename Table>
void ZREventSystem::AddTimeTables(const XmlDocument& document, const wchar_t* branch) {
  const XmlDocument::XmlNode* const list =
      document.Root() == nullptr ? nullptr : document.Root()->Node(branch);
  if (list == nullptr) return;
  for (auto child = list->ChildsBegin(); child != list->ChildsEnd(); ++child) {
    auto table = std::make_unique<Table>();
    if (!table->LoadXml(*child)) continue;
    const ZRExclusiveLock lock(storeMutex);
    timeTables.Append(std::move(table));
  }
}

bool ZREventSystem::LoadTimeTableXml(const XmlDocument& document) {
  AddTimeTables<ZRTimeTableDay>(document, L"days");
  AddTimeTables<ZRTimeTableWeek>(document, L"weeks");
  AddTimeTables<ZRTimeTableCalendar>(document, L"calendars");
  return true;
}
