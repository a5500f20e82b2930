// What has changed, as elements of a listener's document.

#include <algorithm>
#include <span>

#include "host/user/zrsecuritymanager.h"
#include "zrevents/lists/zreventlist.h"
#include "zrevents/lists/zrlistelement.h"
#include "zrevents/lists/zruserrights.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventdrivergroup.h"
#include "zrevents/zreventstatus.h"

namespace {

using tagNode = XmlDocument::XmlNode;

// A transition, with the date and the reason that tell of it.
struct tagReason {
  int mark;
  ZRDateTime tagSEventRT::*time;
  const wchar_t* dateKey;
  const wchar_t* why;
};
constexpr tagReason kOnReason = {kActivated, &tagSEventRT::actived, L"dateTime", kActivation};
constexpr tagReason kAckReason = {kAcknowledged, &tagSEventRT::acknowledged, L"ackDateTime",
                                  kAcknowledge};
constexpr tagReason kOffReason = {kDeactivated, &tagSEventRT::deactivated, L"disableDateTime",
                                  kDeactivation};

// In the order in which they are looked for.
constexpr tagReason kActivedReasons[] = {kOnReason, kOffReason};
constexpr tagReason kNotifiedReasons[] = {kOnReason, kAckReason, kOffReason};

// The first reason that applies; nothing if none does.
void SetReason(ZRListElement& out, const tagSEventRT& change, std::span<const tagReason> reasons) {
  for (const tagReason& reason : reasons) {
    const ZRDateTime& time = change.*reason.time;
    if ((change.status & reason.mark) == 0 || !time.Valid()) continue;
    ZRWString text;
    (void)DateTime2String(text, time, false, false);
    out.Set(reason.dateKey, text);
    out.Set(L"whyFired", reason.why);
    return;
  }
}

// The texts as they are configured, not as an occurrence has them.
void SetTexts(ZRListElement& out, const ZREventDriver& event) {
  out.Set(L"name", event.Name());
  out.Set(L"description", event.Description());
  out.Set(L"annotation", event.AnnotationTemplate());
  out.Set(L"deaAnnotation", event.DeaAnnotationTemplate());
  out.Set(L"ackAnnotation", event.AckAnnotationTemplate());
}

// Copies the date that goes with a received reason; none for an unknown one.
void CopyDate(ZRListElement& out, const tagNode& change, const ZRWString& why,
              std::span<const tagReason> reasons) {
  for (const tagReason& reason : reasons)
    if (why == reason.why) out.Copy(change, {reason.dateKey});
}

// What one call adds to one document.
class CChanges {
 public:
  CChanges(const ZREventListener& forListener, tagNode& into)
      : listener(forListener), rights(forListener.user), target(into) {}

  void AddActived(const tagSEventRT& change);
  void AddActived(const tagNode& change);
  void AddNotified(const tagSEventRT& change);
  void AddNotified(const tagNode& change);

 private:
  const ZREventListener& listener;
  const ZRUserRights rights;
  tagNode& target;
};

void CChanges::AddActived(const tagSEventRT& change) {
  if ((change.status & (kActivated | kDeactivated)) == 0) return;
  ZREventDriver& event = *change.driver;
  if (rights.FirstGroup(event, kResourceActiveEvents) == nullptr) return;
  const ZRWString id = change.id.toWString();
  ZRListElement out(target);
  out.Set(L"id", PathThrough(listener.driverId, id));
  SetTexts(out, event);
  SetReason(out, change, kActivedReasons);
  if (listener.isUser) return;
  out.Set(L"idn", PathThrough(listener.driverName, id));
  out.Set(L"notified", event.hasNotified());
}

void CChanges::AddActived(const tagNode& change) {
  const ZRWString why = change.Value(L"whyFired", L"");
  ZRWString driverId;
  if (!change.bValue(L"isActived", false) || (why != kActivation && why != kDeactivation) ||
      !DriverIdOf(change, driverId) || !rights.Has(kResourceRemoteActive, driverId))
    return;
  ZRListElement out(target);
  out.Set(L"id", PathThrough(listener.driverId, change.Value(L"id", L"")));
  out.Copy(change, kTextKeys);
  CopyDate(out, change, why, kActivedReasons);
  out.Set(L"whyFired", why);
  if (listener.isUser) return;
  out.Set(L"idn", PathThrough(listener.driverName, change.Value(L"idn", L"")));
  out.Copy(change, {L"notified"});
}

void CChanges::AddNotified(const tagSEventRT& change) {
  const ZREventDriver& event = *change.driver;
  if (!event.Notify()) return;
  const ZREventDriverGroup* const group = rights.FirstGroup(event, kResourceNotifiedEvents);
  if (group == nullptr) return;
  const ZRWString id = change.id.toWString();
  ZRListElement out(target);
  out.Set(L"id", PathThrough(listener.driverId, id));
  out.Set(L"idn", PathThrough(listener.driverName, id));
  SetTexts(out, event);
  SetReason(out, change, kNotifiedReasons);
  out.Set(L"canAcknowledge", rights.Has(kResourceAcknowledgeEvents, group->IdStr()));
  out.Set(L"notified", true);
}

void CChanges::AddNotified(const tagNode& change) {
  ZRWString driverId;
  if (change.Value(L"isActived", L"") != L"F" || !change.bValue(L"notified", false) ||
      !DriverIdOf(change, driverId) || !rights.Has(kResourceRemoteNotified, driverId))
    return;
  const ZRWString why = change.Value(L"whyFired", L"");
  ZRListElement out(target);
  out.Set(L"id", PathThrough(listener.driverId, change.Value(L"id", L"")));
  out.Set(L"idn", PathThrough(listener.driverName, change.Value(L"idn", L"")));
  out.Copy(change, kTextKeys);
  CopyDate(out, change, why, kNotifiedReasons);
  out.Set(L"whyFired", why);
  out.Copy(change, {L"notified"});
  out.Set(L"canAcknowledge", change.bValue(L"canAcknowledge", false) &&
                                 rights.Has(kResourceRemoteAcknowledge, driverId));
}

}  // namespace

void ZREventList::AddActivedChanges(XmlDocument& doc, const ZREventListener& listener,
                                    int localCount, int remoteCount) {
  if (!doc.IsOK() || !listener.actived || !AreQueued(localCount, remoteCount)) return;
  CChanges changes(listener, listener.isUser ? *doc.Root() : SectionOf(doc, kSectionActived));
  for (const tagSEventRT* const change : FirstChanges(localCount))
    changes.AddActived(*change);
  for (const tagNode* const change : FirstRemoteChanges(remoteCount))
    changes.AddActived(*change);
}

void ZREventList::AddNotifiedChanges(XmlDocument& doc, const ZREventListener& listener,
                                     int localCount, int remoteCount) {
  if (!doc.IsOK() || !listener.notified || !AreQueued(localCount, remoteCount)) return;
  CChanges changes(listener, SectionOf(doc, kSectionNotified));
  for (const tagSEventRT* const change : FirstChanges(localCount))
    changes.AddNotified(*change);
  for (const tagNode* const change : FirstRemoteChanges(remoteCount))
    changes.AddNotified(*change);
}
