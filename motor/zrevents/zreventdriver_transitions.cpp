// The marks of an occurrence, and what is told to the world when one is set.

#include <string>

#include "host/base/zrlogger.h"
#include "host/tools/zrcoreexception.h"
#include "host/tools/zrstringtable.h"
#include "host/tools/zrtext.h"
#include "zrevents/lists/zreventlist.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventsystem.h"
#include "zrevents/zreventtransition.h"

namespace {

using Domain::CoreExceptionNS::CoreException;
using Domain::CoreExceptionNS::ExceptionType;

constexpr const char* kUnknownMoment = "Not supported action!";
constexpr std::array<const wchar_t*, kMoments> kMomentTexts = {L"ACTIVATE", L"WHILE", L"DEACTIVATE",
                                                               L"ACKNOWLEDGE"};
constexpr const wchar_t* kLogMoment =
    L"ZREventDriver::ExecuteActions(%ls) about to execute event id '%ls', name '%ls', %d "
    L"actions...";
constexpr const wchar_t* kLogAction = L"Executing action '%ls'...";

}  // namespace

bool ZREventDriver::SetEventStatus(tagSEventRT* occurrence, int status) {
  if (!MarkAllowed(occurrence->status, status)) return false;
  SetMark(*occurrence, status);
  occurrence->status |= status;
  QueueForListeners(*occurrence, status);
  const ZRDateTime now = ZRDateTime::UTC();
  TellDriver(status, now);
  if (record) {
    tagSEventRT transition = TransitionRecord(*occurrence, status, now);
    PublishTriggeredEvent(&transition);
    SaveEvent(&transition);
  }
  if (ZREventSystem::Get().GetRssActive()) PublishFeed(*occurrence, status);
  return true;
}

// A time that is valid already stays, and what goes with it isn't done again.
void ZREventDriver::SetMark(tagSEventRT& occurrence, int status) {
  switch (status) {
    case kActivated:
      if (occurrence.actived.Valid()) return;
      occurrence.actived = ZRDateTime::UTC();
      SetTime(&ZREventDriver::lastActived, occurrence.actived);
      return;
    case kDeactivated:
      if (occurrence.deactivated.Valid()) return;
      occurrence.deactivated = ZRDateTime::UTC();
      SetTime(&ZREventDriver::lastDeActived, occurrence.deactivated);
      return;
    default:
      if (!occurrence.acknowledged.Valid()) Acknowledge(occurrence);
      return;
  }
}

void ZREventDriver::Acknowledge(tagSEventRT& occurrence) {
  occurrence.acknowledged = ZRDateTime::UTC();
  ExpandText(&ZREventDriver::ackAnnotationText, ackAnnotation);
  Utf16ToUtf8(occurrence.ackAnnotation, AckAnnotation());
  ExecuteActions(kMomentAcknowledge);
  SetTime(&ZREventDriver::lastAcknowledge, occurrence.acknowledged);
}

void ZREventDriver::QueueForListeners(const tagSEventRT& occurrence, int status) {
  ZREventList* const list = eventList.load(std::memory_order_acquire);
  if (list == nullptr || list->listenerCount == 0) return;
  auto change = std::make_unique<tagSEventRT>(ListenerChange(occurrence, id, status));
  list->QueueChange(change.release());
}

void ZREventDriver::PublishFeed(const tagSEventRT& occurrence, int status) {
  struct {
    bool wanted;
    int text;
    const ZRDateTime& time;
  } const item =
      status == kActivated ? decltype(item){rssActivate, zrstring::kActivated, occurrence.actived}
      : status == kDeactivated
          ? decltype(item){rssDeactivate, zrstring::kDeactivated, occurrence.deactivated}
          : decltype(item){rssAcknowledge, zrstring::kAcknowledged, occurrence.acknowledged};
  if (!item.wanted || !item.time.Valid()) return;
  const tagFeedItem content = FeedItem(name, description, occurrence, ZRLoadString(item.text));
  ZREventSystem::Get().PublishRSS(content.title, content.text, item.time, status);
}

bool ZREventDriver::ExecuteActions(int moment) {
  if (moment < 0 || moment >= kMoments) throw CoreException(ExceptionType::General, kUnknownMoment);
  const auto column = static_cast<std::size_t>(moment);
  static const tagActionList kNone;
  const tagActionList& list = actions == nullptr ? kNone : actions->lists[kServerSide][column];
  if (IsLogged(kLogTrace)) {
    logger(kLogTrace, kLogMoment, kMomentTexts[column], id.toWString().Text(), name.Text(),
           static_cast<int>(list.size()));
  }
  for (const std::unique_ptr<ZREventAction>& action : list) {
    ZRPlatform::Get().Sleep(0);
    logger(kLogTrace, kLogAction, action->Parent()->Name().Text());
    (void)action->Execute(moment);
  }
  return true;
}

void ZREventDriver::PerformActivateActions() {
  SetTime(&ZREventDriver::activeSince, ZRDateTime::LTC());
  ExpandText(&ZREventDriver::annotationText, annotation);
  SetText(&ZREventDriver::deaAnnotationText, {});
  SetText(&ZREventDriver::ackAnnotationText, {});
  ExecuteActions(kMomentActivate);
  enabled.store(true, std::memory_order_release);
  delayOnMs = 0;
  delayOffMs = 0;
  updateDriverVariableState();
  delayOffStart = 0;
}
