#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "host/platform/zrmutex.h"
#include "host/remote/zrhttprequest.h"
#include "host/remote/zrhttpresponse.h"
#include "host/tools/xmldocument.h"
#include "zrevents/lists/zrremoteevents.h"
#include "zrevents/zreventlistener.h"
#include "zrevents/zreventrt.h"

class ZRUserRights;

// The live picture of remote engines' events, and what has changed, here and there, since the
// listeners were told the last time. All of it is in memory: an engine starts with an empty list,
// and the picture comes back when the remote engines send everything after registration.
//
// Threads   any; the changes are read and dropped by one thread only, the listener thread.
// Order     localMutex and remoteMutex are leaves. documentMutex: behind it the drivers' IsOnline,
//           the security manager, and writing into a response. No two are held together.
// Owns      the changes that wait, and the picture. A local change names its event: it is dropped
//           before the events are.
class ZREventList {
 public:
  // --- what waits for listeners ---

  // Takes over a change for the listeners. Without a listener it is destroyed.
  void QueueChange(tagSEventRT* change);
  // Keeps a copy of a received element and of the section that it came from. Without a listener
  // nothing happens.
  void QueueRemoteChange(const XmlDocument::XmlNode* event, bool isActive);

  [[nodiscard]] int PendingChangesSize();
  [[nodiscard]] int PendingRemoteChangesSize();
  // Destroy the `count` oldest changes; all of them for a count that is not above 0, or is above
  // their number. The listener thread, or nobody else at work.
  void DropChanges(int count);
  void DropRemoteChanges(int count);

  // Add the oldest changes, so many of each kind, to a document for `listener`: what it wants and
  // its user may see. Nothing if a count is negative or above what waits. The listener thread.
  //
  // A user's client gets its active events under the root itself.
  void AddActivedChanges(XmlDocument& doc, const ZREventListener& listener, int localCount,
                         int remoteCount);
  void AddNotifiedChanges(XmlDocument& doc, const ZREventListener& listener, int localCount,
                          int remoteCount);

  // --- the picture of remote events ---

  // Merges a received element into the section `actived` or `notified`: a step, by its `whyFired`,
  // or a state, by its dates. Nothing for null.
  void UpdateEntry(const XmlDocument::XmlNode* event, bool isActive);
  // Removes the elements of drivers that don't exist or aren't online, and those of `driverId`,
  // unless that is empty.
  void RemoveDriverEvents(const ZRWString& driverId);

  // Elements that are known, in both sections together.
  [[nodiscard]] std::size_t RemoteSize();
  // Of the element of `notified` with exactly this id. False if there is none.
  [[nodiscard]] bool CanAcknowledge(const wchar_t* id);
  [[nodiscard]] bool EventName(const wchar_t* id, ZRWString& name);

  // The remote events that the caller of `request` may see; the second argument is unused. The
  // second counts also those that aren't `notified`, which the service leaves out.
  [[nodiscard]] int ActivedCount(ZRHttpRequest& request, ZRHttpResponse& response);
  [[nodiscard]] int NotifiedCount(ZRHttpRequest& request, ZRHttpResponse& response);
  // Write them as elements. False if there is no such user, or no remote event was ever received.
  bool SendActived(ZRHttpRequest& request, ZRHttpResponse& response);
  bool SendNotified(ZRHttpRequest& request, ZRHttpResponse& response);
  // Add them to a document for a listener, whose user is `user`, with its driver in front of their
  // ids. False as above.
  bool AddAllActived(const ZREventListener& listener, XmlDocument& doc, const ZRWString& user,
                     const ZRWString& driverId, const ZRWString& driverName);
  bool AddAllNotified(XmlDocument& doc, const ZRWString& user, const ZRWString& driverId,
                      const ZRWString& driverName);

  // The number of registered listeners, as far as the list knows. Never below 0.
  std::atomic<int> listenerCount{0};

 private:
  using tagNode = XmlDocument::XmlNode;
  // One answer about the remote events: where they stand, which of them, and who may see them.
  struct tagView {
    const wchar_t* section;
    int right;
    bool (*isShown)(const tagNode& element);
  };
  using tagVisit = std::function<void(const tagNode& element, const ZRWString& driverId)>;

  [[nodiscard]] bool Walk(const tagView& view, const ZRUserRights& rights,
                          const std::function<void()>& begin, const tagVisit& visit);
  [[nodiscard]] int Count(const tagView& view, ZRHttpRequest& request);

  [[nodiscard]] bool AreQueued(int localCount, int remoteCount);
  // They stay where they are until the listener thread drops them.
  [[nodiscard]] std::vector<const tagSEventRT*> FirstChanges(int count);
  [[nodiscard]] std::vector<const tagNode*> FirstRemoteChanges(int count);

  std::deque<std::unique_ptr<tagSEventRT>> pendingChanges ZR_GUARDED_BY(localMutex);
  std::deque<std::unique_ptr<XmlDocument>> pendingRemoteChanges ZR_GUARDED_BY(remoteMutex);
  ZRRemoteEvents document ZR_GUARDED_BY(documentMutex);
  ZRMutex localMutex;
  ZRMutex remoteMutex;
  ZRMutex documentMutex;
};
