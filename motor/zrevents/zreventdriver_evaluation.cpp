// One cycle of an event: whether it is looked at, what its conditions say, its delays, and what
// becomes of its occurrences.

#include "host/base/zrlogger.h"
#include "host/tools/zrtext.h"
#include "zrevents/timetables/zrtimetable.h"
#include "zrevents/zrdelay.h"
#include "zrevents/zreventdriver.h"

namespace {

constexpr double kTrue = 1.0;

constexpr const wchar_t* kLogNoEvaluation = L"CheckEvent(): no evaluation done (case '!eval')";
constexpr const wchar_t* kLogStopEvaluation =
    L"CheckEvent(): evaluation returned %d, valueType = %d, value = %f (case 'eval && enabled && "
    L"evalStop')";
constexpr const wchar_t* kLogEvaluation =
    L"CheckEvent(): evaluation returned %d, valueType = %d, value = %f (case 'eval && (!enabled || "
    L"!evalStop)')";

// The outcome of one expression.
struct tagEvaluation {
  int code = 0;
  int valueType = 0;
  double value = 0.0;

  [[nodiscard]] bool Holds() const {
    return valueType == ZREvaluator::kTypeLogical && value == kTrue;
  }
};

tagEvaluation EvaluateWith(ZREvaluator& evaluator, bool verbose, const wchar_t* logFormat) {
  tagEvaluation result;
  result.code = evaluator.Evaluate(result.value, result.valueType);
  if (verbose) logger(kLogTrace, logFormat, result.code, result.valueType, result.value);
  return result;
}

}  // namespace

bool ZREventDriver::NeedCheck(const ZRDateTime& now) {
  if (!condition) return false;
  return timeTable == nullptr || timeTable->NeedCheck(now);
}

ZREventDriver::tagVerdict ZREventDriver::CheckEvent(bool verbose) {
  const ZRMutexLock lock(evaluatorsMutex);
  if (!condition) {
    if (verbose) logger(kLogTrace, kLogNoEvaluation);
    return tagVerdict::kInactive;
  }
  const bool stopDecides = IsEnabled() && conditionStop != nullptr;
  const tagEvaluation result = stopDecides
                                   ? EvaluateWith(*conditionStop, verbose, kLogStopEvaluation)
                                   : EvaluateWith(*condition, verbose, kLogEvaluation);
  if (result.code != ZREvaluator::kSuccess) return tagVerdict::kError;
  return result.Holds() != stopDecides ? tagVerdict::kActive : tagVerdict::kInactive;
}

bool ZREventDriver::Work(const ZRDateTime& now) {
  if (NeedCheck(now)) {
    switch (CheckEvent(false)) {
      case tagVerdict::kError:
        return true;
      case tagVerdict::kInactive:
        WorkInactive();
        break;
      case tagVerdict::kActive:
        WorkActive();
        break;
    }
  } else if (IsEnabled()) {
    // The time table has closed on an active event: it ends at once.
    (void)Disable(false);
    DeactivateOccurrences();
  }
  if (HasOccurrences()) RemoveOldOccurrences();
  return true;
}

void ZREventDriver::WorkInactive() {
  if (!IsEnabled()) {
    ResetDelayONCounter();
  } else if (Disable(true)) {
    DeactivateOccurrences();
  }
  updateDriverVariableState();
}

void ZREventDriver::WorkActive() {
  if (IsEnabled()) {
    ExecuteActions(kMomentWhile);
    ResetDelayOFFCounter();
    updateDriverVariableTime();
  } else if (Enable()) {
    const ZRMutexLock lock(occurrencesMutex);
    (void)SetEventStatus(NewEventRT(), kActivated);
  }
}

bool ZREventDriver::Enable() {
  delayOffStart = 0;
  if (delayOnMs == 0) {
    delayOnMs = EvaluateDelay(delayToActivate.get());
    if (delayOnMs == 0) {
      PerformActivateActions();
      return true;
    }
  }
  const std::uint32_t ticks = ZRPlatform::Get().TickCount();
  if (delayOnStart != 0 && HasElapsed(ticks, delayOnStart, delayOnMs)) {
    PerformActivateActions();
    return true;
  }
  if (delayOnStart == 0) delayOnStart = ticks;
  return false;
}

// The three endings differ in when, and whether, the activation text and time are cleared: the
// deactivate actions and the services can see it, and it is required.
bool ZREventDriver::Disable(bool withDelay) {
  if (delayOffMs == 0) delayOffMs = EvaluateDelay(delayToDeactivate.get());
  delayOnStart = 0;
  if (withDelay && delayOffMs == 0) {
    EndActivity();
    SetText(&ZREventDriver::annotationText, {});
    ExpandText(&ZREventDriver::deaAnnotationText, deaAnnotation);
    ExecuteActions(kMomentDeactivate);
    SetTime(&ZREventDriver::activeSince, {});
    ClearDelays();
    return true;
  }
  if (withDelay) {
    const std::uint32_t ticks = ZRPlatform::Get().TickCount();
    if (delayOffStart == 0) {
      delayOffStart = ticks;
      return false;
    }
    if (!HasElapsed(ticks, delayOffStart, delayOffMs)) return false;
  }
  EndActivity();
  ExpandText(&ZREventDriver::deaAnnotationText, deaAnnotation);
  ExecuteActions(kMomentDeactivate);
  if (withDelay) {
    SetText(&ZREventDriver::annotationText, {});
    SetTime(&ZREventDriver::activeSince, {});
  }
  ClearDelays();
  return true;
}

void ZREventDriver::EndActivity() {
  enabled.store(false, std::memory_order_release);
  updateDriverVariableState();
  updateDriverVariableTime();
}

void ZREventDriver::ClearDelays() {
  delayOnMs = 0;
  delayOffMs = 0;
  delayOnStart = 0;
}

std::int32_t ZREventDriver::EvaluateDelay(ZREvaluator* delay) {
  if (delay == nullptr) return 0;
  const ZRMutexLock lock(evaluatorsMutex);
  double seconds = 0.0;
  int valueType = 0;
  (void)delay->Evaluate(seconds, valueType);
  return DelayMilliseconds(seconds);
}

void ZREventDriver::DeactivateOccurrences() {
  const ZRMutexLock lock(occurrencesMutex);
  for (tagSEventRT* occurrence : occurrences) {
    ZRWString text;
    ParseAnnotation(text, deaAnnotation);
    Utf16ToUtf8(occurrence->deaAnnotation, text);
    (void)SetEventStatus(occurrence, kDeactivated);
  }
}

void ZREventDriver::RemoveOldOccurrences() {
  const ZRMutexLock lock(occurrencesMutex);
  occurrences.RemoveIf(
      [](const tagSEventRT& occurrence) { return occurrence.status == kFinished; });
  while (occurrences.Size() > 1)
    occurrences.RemoveFirst();
}
