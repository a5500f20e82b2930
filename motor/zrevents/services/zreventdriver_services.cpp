// An event, and its occurrences, as elements of the active and notified services.

#include "host/tools/zrtext.h"
#include "zrevents/services/zrxmltext.h"
#include "zrevents/zreventdriver.h"

namespace {

constexpr const wchar_t* kDriverSeparator = L".";

bool IsShown(const tagSEventRT& occurrence, int mark, const ZRDateTime& time) {
  return (occurrence.status & mark) != 0 && time.Valid();
}

void AppendDate(ZRString& xml, std::string_view tag, const tagSEventRT& occurrence, int mark,
                const ZRDateTime& time) {
  if (!IsShown(occurrence, mark, time)) return;
  ZRString text;
  (void)DateTime2String(text, time, false, false);
  AppendRawElement(xml, tag, text.View());
}

void AddDate(XmlDocument::XmlNode& element, const wchar_t* key, const tagSEventRT& occurrence,
             int mark, const ZRDateTime& time) {
  if (!IsShown(occurrence, mark, time)) return;
  ZRWString text;
  (void)DateTime2String(text, time, false, false);
  element.SetValue(key, text);
}

// A new element `event` in the section of that name, which is made when it is missing.
XmlDocument::XmlNode& AddEvent(XmlDocument& document, const wchar_t* section) {
  XmlDocument::XmlNode* list = document.Root()->Node(section);
  if (list == nullptr) list = document.Root()->NewChild(section, nullptr);
  return *list->NewChild(L"event", nullptr);
}

const wchar_t* Flag(bool flag) {
  return flag ? L"T" : L"F";
}

}  // namespace

void ZREventDriver::AppendHead(ZRString& xml, const uuid& idToShow) const {
  const ZRWString idText = idToShow.toWString();
  AppendElement(xml, "id", idText);
  AppendElement(xml, "idn", idText);
  AppendElement(xml, "name", name);
  AppendElement(xml, "description", description);
}

bool ZREventDriver::ProcessHttpServiceEventsActived(ZRHttpResponse& response) {
  if (!IsEnabled()) return true;
  ZRString xml;
  xml.SetGrowth(ZRString::kGrow | ZRString::kGrowDouble);
  xml.Append("<event>");
  AppendHead(xml, id);
  AppendElement(xml, "annotation", Annotation());
  AppendElement(xml, "deaAnnotation", DeaAnnotation());
  AppendElement(xml, "ackAnnotation", AckAnnotation());
  const ZRDateTime since = LastActiveDateTime();
  if (since.Valid()) AppendElement(xml, "dateTime", FourteenDigits(since.LTC2UTC()));
  AppendFlag(xml, "notified", notify);
  xml.Append("</event>");
  response.Write(xml);
  return true;
}

bool ZREventDriver::ProcessHttpServiceEventsNotified(ZRHttpResponse& response,
                                                     bool canAcknowledge) {
  const ZRMutexLock lock(occurrencesMutex);
  for (const tagSEventRT* occurrence : occurrences)
    ProcessHttpServiceEventsNotified(occurrence, response, canAcknowledge);
  return true;
}

bool ZREventDriver::ProcessHttpServiceEventsNotified(const tagSEventRT* occurrence,
                                                     ZRHttpResponse& response,
                                                     bool canAcknowledge) const {
  if (!notify || occurrence->status == 0) return true;
  ZRString xml;
  xml.SetGrowth(ZRString::kGrow | ZRString::kGrowDouble);
  xml.Append("<event>");
  AppendHead(xml, occurrence->id);
  AppendRawElement(xml, "annotation", occurrence->annotation.View());
  AppendRawElement(xml, "deaAnnotation", occurrence->deaAnnotation.View());
  AppendRawElement(xml, "ackAnnotation", occurrence->ackAnnotation.View());
  AppendDate(xml, "dateTime", *occurrence, kActivated, occurrence->actived);
  AppendDate(xml, "ackDateTime", *occurrence, kAcknowledged, occurrence->acknowledged);
  AppendDate(xml, "disableDateTime", *occurrence, kDeactivated, occurrence->deactivated);
  AppendFlag(xml, "canAcknowledge", canAcknowledge);
  xml.Append("</event>");
  response.Write(xml);
  return true;
}

ZRWString ZREventDriver::NamePath(const ZRWString& driverName) const {
  if (driverName.IsEmpty()) return id.toWString();
  return driverName + kDriverSeparator + (idn.IsEmpty() ? id.toWString() : idn);
}

bool ZREventDriver::ProcessHttpServiceEventsActived(XmlDocument& document,
                                                    const ZRWString& driverId,
                                                    const ZRWString& driverName) {
  if (document.Root() == nullptr) return false;
  if (!IsEnabled()) return true;
  // The composed text stays in the event, and the bus sends it from now on: required.
  const ZRWString composed = driverId + kDriverSeparator + id.toWString();
  SetText(&ZREventDriver::idStr, composed);
  XmlDocument::XmlNode& element = AddEvent(document, L"actived");
  element.SetValue(L"id", composed);
  element.SetValue(L"idn", NamePath(driverName));
  element.SetValue(L"name", name);
  element.SetValue(L"description", description);
  element.SetValue(L"annotation", Annotation());
  element.SetValue(L"deaAnnotation", DeaAnnotation());
  element.SetValue(L"ackAnnotation", AckAnnotation());
  const ZRDateTime since = LastActiveDateTime();
  if (since.Valid()) element.SetValue(L"dateTime", FourteenDigits(since.LTC2UTC()));
  element.SetValue(L"notified", Flag(notify));
  return true;
}

bool ZREventDriver::ProcessHttpServiceEventsNotified(XmlDocument& document, bool canAcknowledge,
                                                     const ZRWString& driverId,
                                                     const ZRWString& driverName) {
  if (document.Root() == nullptr) return false;
  const ZRMutexLock lock(occurrencesMutex);
  for (const tagSEventRT* occurrence : occurrences)
    ProcessHttpServiceEventsNotified(occurrence, document, canAcknowledge, driverId, driverName);
  return true;
}

bool ZREventDriver::ProcessHttpServiceEventsNotified(const tagSEventRT* occurrence,
                                                     XmlDocument& document, bool canAcknowledge,
                                                     const ZRWString& driverId,
                                                     const ZRWString& driverName) const {
  if (!notify || occurrence->status == 0) return true;
  XmlDocument::XmlNode& element = AddEvent(document, L"notified");
  element.SetValue(L"id", driverId + kDriverSeparator + id.toWString());
  element.SetValue(L"idn", NamePath(driverName));
  element.SetValue(L"name", name);
  element.SetValue(L"description", description);
  element.SetValue(L"annotation", Utf8ToUtf16(occurrence->annotation.View()));
  element.SetValue(L"deaAnnotation", Utf8ToUtf16(occurrence->deaAnnotation.View()));
  element.SetValue(L"ackAnnotation", Utf8ToUtf16(occurrence->ackAnnotation.View()));
  AddDate(element, L"dateTime", *occurrence, kActivated, occurrence->actived);
  AddDate(element, L"ackDateTime", *occurrence, kAcknowledged, occurrence->acknowledged);
  AddDate(element, L"disableDateTime", *occurrence, kDeactivated, occurrence->deactivated);
  element.SetValue(L"canAcknowledge", Flag(canAcknowledge));
  element.SetValue(L"notified", Flag(notify));
  return true;
}
