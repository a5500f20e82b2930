#include "zrevents/history/zreventloggerinfo.h"

#include <memory>

#include "zrevents/zreventdriver.h"
#include "zrevents/zreventsystem.h"

namespace {

// From so many variables on the store is walked once for all of them.
constexpr int kMany = 16;

}  // namespace

ZREventLoggerInfoVar::ZREventLoggerInfoVar(const uuid& eventId) : id(eventId) {}

ZREventLoggerInfoVar::~ZREventLoggerInfoVar() = default;

bool ZREventLoggerInfoVar::Lock() {
  driver = ZREventSystem::Get().LockEvent(id);
  return driver != nullptr;
}

ZREventLoggerInfo::ZREventLoggerInfo() = default;

ZREventLoggerInfo::~ZREventLoggerInfo() = default;

ZREventLoggerInfo::ZREventLoggerInfo(const ZREventLoggerInfo& other) {
  *this = other;
}

ZREventLoggerInfo& ZREventLoggerInfo::operator=(const ZREventLoggerInfo& other) {
  if (this == &other) return *this;
  variables.Clear();
  for (const ZREventLoggerInfoVar* variable : other.variables)
    variables.Append(std::make_unique<ZREventLoggerInfoVar>(*variable));
  Remember();
  return *this;
}

void ZREventLoggerInfo::Remember() {
  ids.Clear();
  const auto idOf = [this](std::uint32_t place) -> const uuid& { return variables.At(place)->id; };
  for (int place = 0; place < variables.Size(); ++place) {
    const auto number = static_cast<std::uint32_t>(place);
    (void)ids.FindOrAdd(variables.At(number)->id, number, idOf);
  }
}

void ZREventLoggerInfo::AddVariable(const uuid& id) {
  const auto place = static_cast<std::uint32_t>(variables.Size());
  const auto idOf = [this](std::uint32_t at) -> const uuid& { return variables.At(at)->id; };
  if (ids.FindOrAdd(id, place, idOf) == ZRUuidTable::kNone)
    variables.Append(std::make_unique<ZREventLoggerInfoVar>(id));
}

void ZREventLoggerInfo::Lock() {
  if (variables.Size() < kMany) {
    for (ZREventLoggerInfoVar* variable : variables)
      (void)variable->Lock();
  } else {
    LockAmongMany();
  }
  const int before = variables.Size();
  variables.RemoveIf([](const ZREventLoggerInfoVar& variable) { return !variable.IsLocked(); });
  if (variables.Size() != before) Remember();
}

// Of events with one id the first of the store counts, as for LockEvent.
void ZREventLoggerInfo::LockAmongMany() {
  const auto idOf = [this](std::uint32_t at) -> const uuid& { return variables.At(at)->id; };
  Unlock();
  const ZREventSystem& system = ZREventSystem::Get();
  for (auto event = system.EventsBegin(); event != system.EventsEnd(); ++event) {
    const std::uint32_t place = ids.Find((*event)->Id(), idOf);
    if (place == ZRUuidTable::kNone) continue;
    ZREventLoggerInfoVar& variable = *variables.At(place);
    if (!variable.IsLocked()) variable.driver = *event;
  }
}

void ZREventLoggerInfo::Unlock() {
  for (ZREventLoggerInfoVar* variable : variables)
    variable->Unlock();
}

void ZREventLoggerInfo::DeleteAll() {
  Unlock();
  variables.Clear();
  ids.Clear();
}
