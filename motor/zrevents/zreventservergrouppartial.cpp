#include "zrevents/zreventservergrouppartial.h"

#include <utility>

#include "zrevents/zreventdriver.h"
#include "zrevents/zrnewesttime.h"

namespace {

constexpr std::uint32_t kPause = 1000;  // ms between two passes

}  // namespace

ZREventServerGroup::ZREventServerGroupPartial::ZREventServerGroupPartial(
    std::vector<ZREventDriver*> toServe)
    : pass(std::move(toServe)) {}

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
  pass.Run(now, [this](const ZREventDriver& event) {
    if (event.hasClientActions()) UpdateTimes(event);
  });
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
