// The active, notified and client-actions services, and the counters that go with the first two.

#include "host/base/zrlogger.h"
#include "host/user/zrsecuritymanager.h"
#include "zrevents/services/zrservicedocument.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventserver.h"
#include "zrevents/zrgatetoken.h"

namespace {

constexpr const char* kNoBody = "";  // digest of a request without one
constexpr int kToTerminator = -1;

constexpr const wchar_t* kLogActions = L"@ ZREventServer::ProcessHttpServiceEventsActions()...";
constexpr const wchar_t* kLogActionsEvent = L"Event '%ls' is activated and has client actions!";
constexpr const wchar_t* kLogActionsCall =
    L"Calling ProcessHttpServiceEventsActions() for current event...";

bool MayUse(int right, const ZREventDriverGroup& group, ZRHttpRequest& request) {
  return CanAccessResourcesFromEngine(right, group.IdStr().Text(), request, kNoBody);
}

// The first group of the event on which the caller holds `right`, or null.
const ZREventDriverGroup* FirstAllowedGroup(const ZREventDriver& event, int right,
                                            ZRHttpRequest& request) {
  for (auto group = event.GroupsVectorBegin(); group != event.GroupsVectorEnd(); ++group)
    if (MayUse(right, **group, request)) return *group;
  return nullptr;
}

void BeginDocument(ZRHttpRequest& request, ZRHttpResponse& response) {
  response.Begin(kOk, request.AcceptDeflate() ? kContentXmlDeflated : kContentXml);
  response.Write(kXmlHeader, kToTerminator);
}

// Walks ahead of who lists the events, so that they are near when their turn comes.
class CScout {
 public:
  explicit CScout(const ZREventSystem& system)
      : fields(system.EventsBegin()), texts(fields), end(system.EventsEnd()) {
    for (int i = 0; i < kFieldsAhead; ++i)
      StepFields();
    for (int i = 0; i < kTextsAhead; ++i)
      StepTexts();
  }
  void Step() {
    StepFields();
    StepTexts();
  }

 private:
  static constexpr int kFieldsAhead = 12;
  static constexpr int kTextsAhead = 6;

  void StepFields() {
    if (fields == end) return;
    (*fields)->PrefetchFields();
    ++fields;
  }
  void StepTexts() {
    if (texts == end) return;
    (*texts)->PrefetchTexts();
    ++texts;
  }

  ZREventSystem::tagEvents::const_iterator fields;
  ZREventSystem::tagEvents::const_iterator texts;
  const ZREventSystem::tagEvents::const_iterator end;
};

// Counts the events that `isListed` and on which some group gives the caller `right`.
template <typename IsListed>
int CountEvents(ZREventSystem& system, int right, ZRHttpRequest& request, IsListed isListed) {
  const ZRSharedLock lock(system.StoreMutex());
  int count = 0;
  for (auto event = system.EventsBegin(); event != system.EventsEnd(); ++event)
    if (isListed(**event) && FirstAllowedGroup(**event, right, request) != nullptr) ++count;
  return count;
}

}  // namespace

bool ZREventServer::ProcessHttpServiceEventsActived(ZRHttpRequest& request,
                                                    ZRHttpResponse& response) {
  const ZRGateToken token(*gate);
  if (!token.Taken()) return RefuseForNow(response);
  BeginDocument(request, response);
  response.Write("<activedEvents>", kToTerminator);
  CScout scout(eventSystem);
  for (auto event = eventSystem.EventsBegin(); event != eventSystem.EventsEnd(); ++event) {
    scout.Step();
    if (!(*event)->IsEnabled()) continue;
    if (FirstAllowedGroup(**event, kResourceActiveEvents, request) != nullptr)
      (*event)->ProcessHttpServiceEventsActived(response);
  }
  eventList.SendActived(request, response);
  response.Write("</activedEvents>", kToTerminator);
  return response.End();
}

bool ZREventServer::ProcessHttpServiceEventsNotified(ZRHttpRequest& request,
                                                     ZRHttpResponse& response) {
  const ZRGateToken token(*gate);
  if (!token.Taken()) return RefuseForNow(response);
  BeginDocument(request, response);
  response.Write("<notifiedEvents>", kToTerminator);
  for (auto event = eventSystem.EventsBegin(); event != eventSystem.EventsEnd(); ++event) {
    if (!(*event)->hasNotified()) continue;
    const auto* const group = FirstAllowedGroup(**event, kResourceNotifiedEvents, request);
    if (group == nullptr) continue;
    (*event)->ProcessHttpServiceEventsNotified(response,
                                               MayUse(kResourceAcknowledgeEvents, *group, request));
  }
  eventList.SendNotified(request, response);
  response.Write("</notifiedEvents>", kToTerminator);
  return response.End();
}

bool ZREventServer::ProcessHttpServiceEventsActions(ZRHttpRequest& request,
                                                    ZRHttpResponse& response) {
  const ZRGateToken token(*gate);
  if (!token.Taken()) return RefuseForNow(response);
  logger(kLogTrace, kLogActions);
  BeginDocument(request, response);
  response.Write("<eventsActions>", kToTerminator);
  for (auto event = eventSystem.EventsBegin(); event != eventSystem.EventsEnd(); ++event) {
    if (!(*event)->hasClientActions() || !(*event)->hasActived()) continue;
    logger(kLogTrace, kLogActionsEvent, (*event)->Name().Text());
    if (FirstAllowedGroup(**event, kResourceClientActions, request) == nullptr) continue;
    logger(kLogTrace, kLogActionsCall);
    (*event)->ProcessHttpServiceEventsActions(response);
  }
  response.Write("</eventsActions>", kToTerminator);
  return response.End();
}

int ZREventServer::ActiveEventsCount(ZRHttpRequest& request, ZRHttpResponse& response) {
  const int local = CountEvents(eventSystem, kResourceActiveEvents, request,
                                [](const ZREventDriver& event) { return event.IsEnabled(); });
  return local + eventList.ActivedCount(request, response);
}

int ZREventServer::NotifiedEventsCount(ZRHttpRequest& request, ZRHttpResponse& response) {
  const int local = CountEvents(eventSystem, kResourceNotifiedEvents, request,
                                [](ZREventDriver& event) { return event.hasNotified(); });
  return local + eventList.NotifiedCount(request, response);
}
