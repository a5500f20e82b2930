// How received elements become the picture of the remote events, and how they leave it.

#include "host/driversupport/zrdriver.h"
#include "host/tools/zrtext.h"
#include "zrevents/lists/zreventlist.h"

namespace {

using tagNode = XmlDocument::XmlNode;

// A received element on its way into one section.
class CMerge {
 public:
  CMerge(ZRRemoteEvents& into, const tagNode& received, bool toActive)
      : list(into), event(received), isActive(toActive), id(received.ValueUtf8("id")) {}

  void Activate() {
    tagNode* element = Existing();
    if (element == nullptr) {
      element = list.Add(isActive, id);
      Copy(*element, L"idn", "idn");
    }
    CopyTexts(*element);
    Copy(*element, L"dateTime", "dateTime");
    element->SetValue(L"ackDateTime", L"");
    element->SetValue(L"disableDateTime", L"");
  }
  void Deactivate() {
    tagNode* const element = Existing();
    if (element == nullptr) return;
    if (isActive || !element->ValueUtf8("ackDateTime").empty()) {
      list.Remove(isActive, id);
      return;
    }
    CopyTexts(*element);
    Copy(*element, L"disableDateTime", "disableDateTime");
  }
  void Acknowledge() {
    tagNode* const element = Existing();
    if (element == nullptr) return;
    if (isActive) {
      list.Remove(true, id);
      list.Remove(false, id);
      return;
    }
    if (!element->ValueUtf8("disableDateTime").empty()) {
      list.Remove(false, id);
      return;
    }
    CopyTexts(*element);
    Copy(*element, L"ackDateTime", "ackDateTime");
  }
  // An element that says how things are and not what happened.
  void TakeState() {
    if (!event.ValueUtf8("dateTime").empty()) Activate();
    if (!event.ValueUtf8("disableDateTime").empty()) Deactivate();
    if (!event.ValueUtf8("ackDateTime").empty()) Acknowledge();
  }

 private:
  [[nodiscard]] tagNode* Existing() { return list.Find(isActive, id); }
  void Copy(tagNode& element, const wchar_t* key, std::string_view from) const {
    element.SetValue(key, ZRString(event.ValueUtf8(from)));
  }
  void CopyTexts(tagNode& element) const {
    Copy(element, L"name", "name");
    Copy(element, L"description", "description");
    Copy(element, L"annotation", "annotation");
    Copy(element, L"deaAnnotation", "deaAnnotation");
    Copy(element, L"ackAnnotation", "ackAnnotation");
    if (!isActive) Copy(element, L"canAcknowledge", "canAcknowledge");
    Copy(element, L"notified", "notified");
  }

  ZRRemoteEvents& list;
  const tagNode& event;
  const bool isActive;
  const std::string_view id;
};

bool IsToGo(const tagNode& element, const ZRWString& driverId) {
  ZRWString through;
  if (!DriverIdOf(element, through)) return true;
  const ZRDriver* const driver = ZRDriver::LockDriver(through.Text(), nullptr);
  if (driver == nullptr || !driver->IsOnline()) return true;
  return !driverId.IsEmpty() && ZRWideChar::Compare(through.Text(), driverId.Text()) == 0;
}

}  // namespace

void ZREventList::UpdateEntry(const XmlDocument::XmlNode* event, bool isActive) {
  if (event == nullptr) return;
  const ZRMutexLock lock(documentMutex);
  document.Prepare();
  CMerge merge(document, *event, isActive);
  const ZRWString why = event->Value(L"whyFired", L"");
  if (why == kActivation) {
    merge.Activate();
  } else if (why == kDeactivation) {
    merge.Deactivate();
  } else if (why == kAcknowledge) {
    merge.Acknowledge();
  } else {
    merge.TakeState();
  }
}

void ZREventList::RemoveDriverEvents(const ZRWString& driverId) {
  const ZRMutexLock lock(documentMutex);
  for (const bool isActive : {true, false})
    document.RemoveIf(isActive, [&](const tagNode& element) { return IsToGo(element, driverId); });
}

bool ZREventList::CanAcknowledge(const wchar_t* id) {
  const ZRMutexLock lock(documentMutex);
  const tagNode* const element = document.Find(false, Utf16ToUtf8(ZRWString(id).View()).View());
  return element != nullptr && element->bValue(L"canAcknowledge", false);
}

bool ZREventList::EventName(const wchar_t* id, ZRWString& name) {
  const ZRMutexLock lock(documentMutex);
  const tagNode* const element = document.Find(false, Utf16ToUtf8(ZRWString(id).View()).View());
  if (element == nullptr) return false;
  name = element->Value(L"name", L"");
  return true;
}
