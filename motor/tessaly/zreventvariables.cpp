#include "tessaly/zreventvariables.h"

#include <algorithm>
#include <utility>

#include "host/drivervariables/zrdrivervariablenames.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventsystem.h"

namespace {

constexpr const wchar_t* kDriverName = L"EVENTS";
constexpr const wchar_t* kStateVariable = L"ST";
constexpr const wchar_t* kTimeVariable = L"TACT";
constexpr std::int64_t kVariables = 2;  // of each event
constexpr double kMillisecondsInSecond = 1000.0;

// Null if the name is taken.
ZRLiveValue* PublishNew(const ZRWString& event, const wchar_t* variable) {
  ZRWString fullName;
  JoinDriverVariable(event, variable, fullName);
  ZRLiveValue* const taken = ZRLiveValues::Get().Find(fullName);
  if (taken == nullptr) return ZRLiveValues::Get().Publish(fullName);
  ZRLiveValues::Get().Release(taken);
  return nullptr;
}

}  // namespace

ZREventVariables::ZREventVariables(tagObserver toTell)
    : ZRDriver(kDriverName, kDriverName), observer(std::move(toTell)) {}

ZREventVariables::~ZREventVariables() {
  for (const tagEntry& entry : entries) {
    if (entry.state != nullptr) ZRLiveValues::Get().Withdraw(entry.state);
    if (entry.time != nullptr) ZRLiveValues::Get().Withdraw(entry.time);
  }
}

void ZREventVariables::Bind(ZREventSystem& system) {
  entries.reserve(static_cast<std::size_t>(system.EventsSize()));
  for (auto event = system.EventsBegin(); event != system.EventsEnd(); ++event) {
    tagEntry entry;
    entry.event = *event;
    entry.state = PublishNew((*event)->Name(), kStateVariable);
    entry.time = PublishNew((*event)->Name(), kTimeVariable);
    entries.push_back(entry);
  }
  std::int64_t state = 0;
  for (const tagEntry& entry : entries) {
    std::int64_t time = state + 1;
    entry.event->setDriverVariables(this, state, time);
    state += kVariables;
  }
}

void ZREventVariables::SetVariableValue(std::int64_t variable, double value) {
  tagEntry& entry = entries[static_cast<std::size_t>(variable / kVariables)];
  if (variable % kVariables == 0) {
    SetState(entry, value != 0.0);
  } else {
    SetTime(entry, value);
  }
}

void ZREventVariables::SetState(tagEntry& entry, bool active) const {
  if (entry.isKnown && entry.active == active) return;
  const std::int64_t now = ZRPlatform::Get().UtcMilliseconds();
  if (entry.state != nullptr) entry.state->SetNumber(active ? 1.0 : 0.0, now);
  const bool changed = entry.isKnown || active;
  entry.isKnown = true;
  entry.active = active;
  if (active) entry.since = now;
  if (!changed || !observer) return;
  const std::int64_t span = active ? 0 : std::max<std::int64_t>(now - entry.since, 0);
  observer(*entry.event, active, static_cast<double>(span) / kMillisecondsInSecond);
}

void ZREventVariables::SetTime(tagEntry& entry, double seconds) {
  if (entry.seconds == seconds) return;
  entry.seconds = seconds;
  if (entry.time != nullptr) entry.time->SetNumber(seconds, ZRPlatform::Get().UtcMilliseconds());
}
