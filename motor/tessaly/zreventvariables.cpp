#include "tessaly/zreventvariables.h"

#include <algorithm>
#include <utility>

#include "zrevents/zreventdriver.h"
#include "zrevents/zreventsystem.h"

namespace {

constexpr const wchar_t* kDriverName = L"EVENTS";
constexpr std::int64_t kBound = 2;  // variables of each event
constexpr double kMillisecondsInSecond = 1000.0;
constexpr wchar_t kSeparator = L'.';

std::int64_t Now() {
  return ZRPlatform::Get().UtcMilliseconds();
}

}  // namespace

ZREventVariables::ZREventVariables(tagObserver toTell, ZRCountUnit countUnit)
    : ZRDriver(kDriverName, kDriverName), observer(std::move(toTell)), unit(countUnit) {}

ZREventVariables::~ZREventVariables() {
  Stop();
}

void ZREventVariables::Bind(ZREventSystem& system) {
  store = &system;
  bound = Now();
  entries = std::vector<tagEntry>(static_cast<std::size_t>(system.EventsSize()));
  std::int64_t begin = 0;
  {
    const ZRMutexLock lock(mutex);
    period = CountPeriodAround(unit, bound);
    begin = period.begin;
  }
  auto event = system.EventsBegin();
  std::int64_t state = 0;
  for (tagEntry& entry : entries) {
    entry.event = *event;
    entry.counts = ZREventCounts(begin);
    std::int64_t time = state + 1;
    entry.event->setDriverVariables(this, state, time);
    state += kBound;
    ++event;
  }
  UseSource(this);
}

// --- what the events tell ---

void ZREventVariables::SetVariableValue(std::int64_t variable, double value) {
  tagEntry& entry = entries[static_cast<std::size_t>(variable / kBound)];
  if (variable % kBound == 0) {
    SetState(entry, value != 0.0);
  } else {
    SetTime(entry, value);
  }
}

void ZREventVariables::SetState(tagEntry& entry, bool active) {
  if (entry.active == active) return;
  const std::int64_t now = Now();
  {
    const ZRMutexLock lock(mutex);
    entry.active = active;
    ShowState(entry, now);
  }
  if (active) entry.since = now;
  if (!observer) return;
  const std::int64_t span = active ? 0 : std::max<std::int64_t>(now - entry.since, 0);
  observer(*entry.event, active, static_cast<double>(span) / kMillisecondsInSecond);
}

// Either it is seen here that there is a device, or DeviceAt sees the new seconds.
void ZREventVariables::SetTime(tagEntry& entry, double seconds) {
  if (entry.seconds.load(std::memory_order_relaxed) == seconds) return;
  entry.seconds.store(seconds);
  if (entry.device.load() == nullptr) return;
  const std::int64_t now = Now();
  const ZRMutexLock lock(mutex);
  Settle(entry, now);
  ShowTimes(entry, now);
}

void ZREventVariables::NoteMark(std::int64_t state, int mark, std::int64_t utc) {
  tagEntry& entry = entries[static_cast<std::size_t>(state / kBound)];
  const ZRMutexLock lock(mutex);
  Settle(entry, utc);
  entry.counts.Note(mark, utc);
  ShowCounts(entry, utc);
}

void ZREventVariables::Settle(tagEntry& entry, std::int64_t now) {
  if (period.IsToBeLeft(now)) period = CountPeriodAround(unit, now);
  if (entry.counts.Begin() == period.begin) return;
  entry.counts.Restart(period.begin);
  entry.isRead = true;  // nothing of this period was before Bind
  ShowCounts(entry, now);
}

// --- what the devices show, with the mutex held ---

void ZREventVariables::ShowState(const tagEntry& entry, std::int64_t now) {
  ZREventDevice* const device = entry.device.load();
  if (device != nullptr) device->Show(ZREventDevice::kState, entry.active ? 1.0 : 0.0, now);
}

void ZREventVariables::ShowTimes(const tagEntry& entry, std::int64_t now) {
  ZREventDevice* const device = entry.device.load();
  if (device == nullptr) return;
  device->Show(ZREventDevice::kActiveTime, entry.seconds.load(), now);
  if (!entry.isRead) return;
  device->Show(ZREventDevice::kTotalTime, static_cast<double>(entry.counts.Seconds(now)), now);
}

void ZREventVariables::ShowCounts(const tagEntry& entry, std::int64_t now) {
  ZREventDevice* const device = entry.device.load();
  if (device == nullptr || !entry.isRead) return;
  const ZREventCounts& counts = entry.counts;
  device->Show(ZREventDevice::kActivations, counts.Activations(), now);
  device->Show(ZREventDevice::kDeactivations, counts.Deactivations(), now);
  device->Show(ZREventDevice::kAcknowledgements, counts.Acknowledgements(), now);
  device->Show(ZREventDevice::kTotalTime, static_cast<double>(counts.Seconds(now)), now);
}

// --- devices ---

ZRDriver* ZREventVariables::DriverOfId(const ZRWString& id) {
  const uuid eventId = wtouuid(id);
  const ZREventDriver* const event = store->LockEvent(eventId);
  if (event == nullptr || !(eventId.toWString() == id)) return nullptr;
  std::size_t place = PlaceOfName(event->Name());
  while (entries[place].event != event)
    ++place;
  return DeviceAt(place);
}

ZRDriver* ZREventVariables::DriverOfName(const ZRWString& name) {
  const std::size_t place = PlaceOfName(name);
  return place == entries.size() ? nullptr : DeviceAt(place);
}

// A name of an event may have points, those of its variables have none.
ZRDriver* ZREventVariables::DriverOfVariable(const ZRWString& fullName, std::int64_t& variable) {
  const std::wstring_view whole = fullName.View();
  const std::size_t point = whole.rfind(kSeparator);
  if (point == whole.npos || !ZREventDevice::IsVariable(whole.substr(point + 1))) return nullptr;
  ZRDriver* const device = DriverOfName(ZRWString(whole.substr(0, point)));
  const std::int64_t number =
      device == nullptr ? -1 : device->VariableNumber(ZRWString(whole.substr(point + 1)));
  if (number < 0) return nullptr;
  variable = number;
  return device;
}

void ZREventVariables::Bring(const ZRWString& fullName) {
  std::int64_t ignored = 0;
  (void)DriverOfVariable(fullName, ignored);
}

// Of the first event of that name; behind the last one if there is none.
std::size_t ZREventVariables::PlaceOfName(const ZRWString& name) const {
  const auto found = std::lower_bound(
      entries.begin(), entries.end(), name,
      [](const tagEntry& entry, const ZRWString& wanted) { return entry.event->Name() < wanted; });
  const bool isThere = found != entries.end() && found->event->Name() == name;
  return static_cast<std::size_t>((isThere ? found : entries.end()) - entries.begin());
}

ZRDriver* ZREventVariables::DeviceAt(std::size_t place) {
  tagEntry& entry = entries[place];
  const ZRMutexLock lock(mutex);
  if (ZREventDevice* const known = entry.device.load()) return known;
  const ZREventDriver& event = *entry.event;
  const bool isFirst = place == 0 || !(entries[place - 1].event->Name() == event.Name());
  auto device = std::make_unique<ZREventDevice>(event.Id(), event.Name(), isFirst);
  entry.device.store(device.get());
  devices.push_back(std::move(device));
  const std::int64_t now = Now();
  Settle(entry, now);
  ShowState(entry, now);
  ShowTimes(entry, now);
  ShowCounts(entry, now);
  return devices.back().get();
}
