// The listener thread: once a second it tells the listeners what has changed, or everything, and
// gives back what the actions have started and what has ended since.

#include <algorithm>

#include "host/user/zrsecuritymanager.h"
#include "zrevents/actions/zrstartedprocesses.h"
#include "zrevents/lists/zruserrights.h"
#include "zrevents/services/zrlistenerboard.h"
#include "zrevents/services/zrlistenerround.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventserver.h"
#include "zrevents/zrgatetoken.h"

namespace {

constexpr std::uint32_t kPause = 1000;  // ms between two rounds

}  // namespace

void ZREventServer::Work() {
  {
    ZRListenerRound round(*listenerBoard);
    state.Set(kThreadRunning);
    {
      const ZRMutexLock lock(listenersMutex);
      RefreshAllListeners();
    }
    while (state.Get() != kThreadStopRequested) {
      NotifyListeners(round);
      ZRStartedProcesses::Get().Reap();
      ZRPlatform::Get().Sleep(kPause);
    }
  }
  state.Set(kThreadStopped);
}

void ZREventServer::RefreshAllListeners() {
  for (const auto& listener : listeners)
    listener->needsAll = true;
  ShowListeners();
}

void ZREventServer::ShowListeners() {
  listenerBoard->Show(listeners, ZRDateTime::UTC());
}

// The mutex stays held while documents are put, also through the pauses: required.
void ZREventServer::NotifyListeners(ZRListenerRound& round) {
  eventList.RemoveDriverEvents(L"");
  const ZRMutexLock lock(listenersMutex);
  // What is queued from here on is for the next round.
  const int localCount = eventList.PendingChangesSize();
  const int remoteCount = eventList.PendingRemoteChangesSize();
  if (localCount > 0 || remoteCount > 0) SendChanges(round, localCount, remoteCount);
  SendAll(round);
  DropFailedListeners(round);
}

// A listener gets a document of each batch of changes, even if it holds none for him: required.
void ZREventServer::SendChanges(ZRListenerRound& round, int localCount, int remoteCount) {
  for (const auto& listener : listeners) {
    if (listener->needsAll) continue;
    round.Begin(*listener, false);
    if (!listener->isUser)
      eventList.AddNotifiedChanges(round.document, *listener, localCount, remoteCount);
    eventList.AddActivedChanges(round.document, *listener, localCount, remoteCount);
    round.Send(*listener);
  }
  if (localCount != 0) eventList.DropChanges(localCount);
  if (remoteCount != 0) eventList.DropRemoteChanges(remoteCount);
  DropFailedListeners(round);
}

void ZREventServer::SendAll(ZRListenerRound& round) {
  for (const auto& listener : listeners) {
    if (!listener->needsAll) continue;
    const ZRGateToken token(*gate);
    if (!token.Taken()) continue;
    round.Begin(*listener, true);
    AddAllEvents(round.document, *listener);
    (void)eventList.AddAllActived(*listener, round.document, listener->user, listener->driverId,
                                  listener->driverName);
    if (!listener->isUser) {
      (void)eventList.AddAllNotified(round.document, listener->user, listener->driverId,
                                     listener->driverName);
    }
    // Before it is sent: one that fails now is not tried again.
    listener->needsAll = false;
    round.Send(*listener);
  }
}

// Without a group that the listener's user may see, an event isn't sent.
void ZREventServer::AddAllEvents(XmlDocument& document, const ZREventListener& listener) {
  const ZRUserRights rights(listener.user);
  for (auto at = eventSystem.EventsBegin(); at != eventSystem.EventsEnd(); ++at) {
    ZREventDriver& event = **at;
    if (listener.notified && event.hasNotified()) {
      const ZREventDriverGroup* const group = rights.FirstGroup(event, kResourceNotifiedEvents);
      if (group != nullptr) {
        (void)event.ProcessHttpServiceEventsNotified(
            document, rights.Has(kResourceAcknowledgeEvents, group->IdStr()), listener.driverId,
            listener.driverName);
      }
    }
    if (listener.actived && event.IsEnabled() &&
        rights.FirstGroup(event, kResourceActiveEvents) != nullptr)
      (void)event.ProcessHttpServiceEventsActived(document, listener.driverId, listener.driverName);
  }
}

void ZREventServer::DropFailedListeners(ZRListenerRound& round) {
  if (!round.failed.empty()) {
    const ZRMutexLock lock(listenerDriverIdsMutex);
    for (const ZREventListener* const failed : round.failed) {
      listenerDriverIds.remove(failed->driverId);
      std::erase_if(listeners, [failed](const auto& one) { return one.get() == failed; });
    }
    round.failed.clear();
  }
  eventList.listenerCount = static_cast<int>(listeners.size());
  ShowListeners();
}
