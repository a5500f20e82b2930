#include "host/drivers/zrpolleddriver.h"

#include <algorithm>
#include <utility>

#include "host/base/zrlogger.h"
#include "host/tools/zrstringtable.h"
#include "host/tools/zrtext.h"

ZRPolledDriver::ZRPolledDriver(const ZRWString& ofId, const ZRWString& ofName,
                               std::uint32_t periodMilliseconds)
    : ZRDriver(ofId, ofName),
      period(std::clamp(periodMilliseconds, kShortestPeriod, kLongestPeriod)) {
  RestartElapsed();
}

ZRPolledDriver::~ZRPolledDriver() {
  ZRPolledDriver::Stop();
}

bool ZRPolledDriver::Start() {
  if (running) return true;
  {
    ZRMutexLock lock(mutex);
    stopping = false;
  }
  online.store(true, std::memory_order_release);
  if (Prepare()) {
    RestartElapsed();
    Poll(ZRPlatform::Get().UtcMilliseconds());
    running = thread.Start([this] { Run(); });
    if (!running) logger(kLogInvariant, L"driver '%ls': the system gives no thread", Name().Text());
  }
  if (!running) GoOffline();
  return running;
}

void ZRPolledDriver::Stop() {
  if (!running) return;
  {
    ZRMutexLock lock(mutex);
    stopping = true;
  }
  changed.NotifyAll();
  thread.Join();
  running = false;
  GoOffline();
}

bool ZRPolledDriver::ForceValue(std::int64_t /*variable*/, const ZRValue& /*value*/,
                                const wchar_t* /*name*/) {
  return false;
}

bool ZRPolledDriver::ValueInfo(std::int64_t variable, tagSVariableValueInfo& info) const {
  if (!ZRDriver::ValueInfo(variable, info)) return false;
  info.flags = 0;
  return true;
}

void ZRPolledDriver::Run() {
  logger(kLogTrace, L"driver '%ls': started", Name().Text());
  std::int64_t due = NextDue(0);
  while (WaitUntilDue(due)) {
    Poll(ZRPlatform::Get().UtcMilliseconds());
    due = NextDue(due);
    const std::int64_t now = Elapsed();
    if (due < now) due = NextDue(now);
  }
  logger(kLogTrace, L"driver '%ls': stopped", Name().Text());
}

bool ZRPolledDriver::WaitUntilDue(std::int64_t due) {
  ZRMutexLock lock(mutex);
  while (!stopping) {
    const std::int64_t left = due - Elapsed();
    if (std::exchange(woken, false) || left <= 0) return true;
    const std::int64_t wait = std::min<std::int64_t>(left, kLongestPeriod);
    (void)changed.Wait(mutex, static_cast<std::uint32_t>(wait));
  }
  return false;
}

std::int64_t ZRPolledDriver::Elapsed() {
  const std::uint32_t ticks = ZRPlatform::Get().TickCount();
  elapsed += ticks - lastTicks;
  lastTicks = ticks;
  return elapsed;
}

void ZRPolledDriver::RestartElapsed() {
  lastTicks = ZRPlatform::Get().TickCount();
  elapsed = 0;
}

bool ZRPolledDriver::IsStopping() {
  ZRMutexLock lock(mutex);
  return stopping;
}

void ZRPolledDriver::Wake() {
  {
    ZRMutexLock lock(mutex);
    woken = true;
  }
  changed.NotifyAll();
}

ZRString ZRPolledDriver::StateLabel(bool isOn, const std::string* word) {
  ZRString shown;
  if (word != nullptr) {
    shown = word->c_str();
  } else {
    (void)ZRLoadString(isOn ? zrstring::kStateOn : zrstring::kStateOff, shown);
  }
  ZRString label;
  Text2Xml(label, shown);
  return label;
}

std::int64_t ZRPolledDriver::AddPolled(const ZRWString& variable) {
  const bool isNew = VariableNumber(variable) < 0;
  const std::int64_t number = AddVariable(variable);
  if (isNew) polled.push_back(number);
  return number;
}

void ZRPolledDriver::GoOffline() {
  online.store(false, std::memory_order_release);
  for (const std::int64_t number : polled)
    Variable(number).SetUnavailable();
}
