#include "zrevents/zreventservergrouppartial.h"

#include <utility>

#include "zrevents/zreventdriver.h"

namespace {

constexpr std::uint32_t kPause = 1000;  // ms between two passes

}  // namespace

void ZRPassPace::Begin() {
  quiet = 0;
  since = ZRPlatform::Get().TickCount();
}

bool ZRPassPace::IsDue(bool busy) {
  if (!busy && ++quiet < kQuietEvents) return false;
  quiet = 0;
  const std::uint32_t now = ZRPlatform::Get().TickCount();
  if (now == since) return false;
  since = now;
  return true;
}

ZREventServerGroup::ZREventServerGroupPartial::ZREventServerGroupPartial(
    std::vector<ZREventDriver*> toServe)
    : events(std::move(toServe)) {}

ZREventServerGroup::ZREventServerGroupPartial::~ZREventServerGroupPartial() {
  Stop();
}

bool ZREventServerGroup::ZREventServerGroupPartial::Start() {
  if (state.Get() == kThreadRunning) return true;
  state.Set(kThreadStarting);
  if (!thread.Start([this] { Run(); })) return false;
  state.WaitWhile(kThreadStarting);
  return true;
}

void ZREventServerGroup::ZREventServerGroupPartial::Stop() {
  if (state.Get() != kThreadRunning) return;
  state.Set(kThreadStopRequested);
  state.WaitUntil(kThreadStopped);
  thread.Join();
}

void ZREventServerGroup::ZREventServerGroupPartial::Run() {
  state.Set(kThreadRunning);
  while (state.Get() != kThreadStopRequested) {
    Pass();
    ZRPlatform::Get().Sleep(kPause);
  }
  state.Set(kThreadStopped);
}

void ZREventServerGroup::ZREventServerGroupPartial::Pass() {
  const std::uint32_t begun = ZRPlatform::Get().TickCount();
  const ZRDateTime now = ZRDateTime::LTC();
  pace.Begin();
  for (ZREventDriver* event : events) {
    const bool wasEnabled = event->IsEnabled();
    event->Work(now);
    if (event->hasClientActions()) UpdateTimes(*event);
    if (pace.IsDue(wasEnabled || event->IsEnabled())) ZRPlatform::Get().Sleep(0);
  }
  lastPass = ZRPlatform::Get().TickCount() - begun;
}

void ZREventServerGroup::ZREventServerGroupPartial::UpdateTimes(const ZREventDriver& event) {
  const ZRMutexLock lock(timesMutex);
  KeepNewest(lastActivated, event.GetLastEventActivedDateTime());
  KeepNewest(lastDeactivated, event.GetLastEventDeActivedDateTime());
  KeepNewest(lastAcknowledged, event.GetLastEventAcknowledgeDateTime());
}

void ZREventServerGroup::ZREventServerGroupPartial::KeepNewestTimes(ZRDateTime& newest) const {
  const ZRMutexLock lock(timesMutex);
  KeepNewest(newest, lastActivated);
  KeepNewest(newest, lastDeactivated);
  KeepNewest(newest, lastAcknowledged);
}
