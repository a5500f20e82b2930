// An event, and its occurrences, as elements of the active and notified services; acknowledging
// one of them.

#include <algorithm>
#include <utility>

#include "host/tools/zrtext.h"
#include "zrevents/services/zrxmlwriter.h"
#include "zrevents/zreventdriver.h"

namespace {

constexpr const wchar_t* kDriverSeparator = L".";

bool IsShown(const tagSEventRT& occurrence, int mark, const ZRDateTime& time) {
  return (occurrence.status & mark) != 0 && time.Valid();
}

// An element of that name, if the occurrence has the mark and its time.
void WriteDate(ZRXmlWriter& xml, std::string_view tag, const tagSEventRT& occurrence, int mark,
               const ZRDateTime& time) {
  if (!IsShown(occurrence, mark, time)) return;
  ZRString text;
  (void)DateTime2String(text, time, false, false);
  xml.Write("<");
  xml.Write(tag);
  xml.Write(">");
  xml.Write(text.View());
  xml.Write("</");
  xml.Write(tag);
  xml.Write(">");
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

// The lines of memory of a text, up to a number: the processor sees to the rest by itself.
void PrefetchLines(const void* text, std::size_t bytes) {
  constexpr std::size_t kLine = 64;
  constexpr std::size_t kLines = 12;
  for (std::size_t at = 0; at < std::min(bytes, kLines * kLine); at += kLine)
    __builtin_prefetch(static_cast<const char*>(text) + at);
}

const wchar_t* Flag(bool flag) {
  return flag ? L"T" : L"F";
}

}  // namespace

void ZREventDriver::PrefetchTexts() const {
  if (!IsEnabled()) return;
  __builtin_prefetch(groups.data());
  const ZRMutexLock lock(textMutex);
  PrefetchLines(activeElement.Text(), activeElement.Length());
}

// What stands between the id and the annotation, ready to be sent: the same in every answer.
void ZREventDriver::PrepareHead() {
  ZRString escaped;
  head = "</idn><name>";
  Text2Xml(escaped, Utf16ToUtf8(name.View()));
  head.Append(escaped.View());
  head.Append("</name><description>");
  Text2Xml(escaped, Utf16ToUtf8(description.View()));
  head.Append(escaped.View());
  head.Append("</description><annotation>");
  const ZRMutexLock lock(textMutex);
  activeElement.Reset();
}

// From the opening tag to the opened annotation.
void ZREventDriver::WriteHead(ZRXmlWriter& xml, const uuid& idToShow) const {
  std::array<char, kUuidTextLength + 1> idText{};
  guidtoc(idToShow, idText.data());
  const std::string_view shown(idText.data(), kUuidTextLength);
  xml.Write("<event><id>");
  xml.Write(shown);
  xml.Write("</id><idn>");
  xml.Write(shown);
  xml.Write(head.View());
}

// Most answers find it as the last one left it.
void ZREventDriver::MakeActiveElement() {
  ZRXmlWriter xml(activeElement);
  WriteHead(xml, id);
  xml.WriteText(annotationText);
  xml.Write("</annotation><deaAnnotation>");
  xml.WriteText(deaAnnotationText);
  xml.Write("</deaAnnotation><ackAnnotation>");
  xml.WriteText(ackAnnotationText);
  xml.Write("</ackAnnotation>");
  if (activeSince.Valid()) {
    const auto digits = FourteenDigits(activeSince.LTC2UTC());
    xml.Write("<dateTime>");
    xml.Write(std::string_view(digits.data(), digits.size()));
    xml.Write("</dateTime>");
  }
  xml.Write("<notified>");
  xml.WriteFlag(notify);
  xml.Write("</notified></event>");
}

bool ZREventDriver::ProcessHttpServiceEventsActived(ZRHttpResponse& response) {
  if (!IsEnabled()) return true;
  ZRXmlWriter xml(response);
  ZRString tooLong;
  {
    const ZRMutexLock lock(textMutex);
    if (activeElement.IsEmpty()) MakeActiveElement();
    // What the writer has room for isn't handed to the answer before the lock is released.
    if (activeElement.Length() <= ZRXmlWriter::kRoom) {
      xml.Write(activeElement.View());
      return true;
    }
    tooLong = std::move(activeElement);
  }
  xml.Write(tooLong.View());
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
  ZRXmlWriter xml(response);
  WriteHead(xml, occurrence->id);
  // Narrow texts go out as they were stored.
  xml.Write(occurrence->annotation.View());
  xml.Write("</annotation><deaAnnotation>");
  xml.Write(occurrence->deaAnnotation.View());
  xml.Write("</deaAnnotation><ackAnnotation>");
  xml.Write(occurrence->ackAnnotation.View());
  xml.Write("</ackAnnotation>");
  WriteDate(xml, "dateTime", *occurrence, kActivated, occurrence->actived);
  WriteDate(xml, "ackDateTime", *occurrence, kAcknowledged, occurrence->acknowledged);
  WriteDate(xml, "disableDateTime", *occurrence, kDeactivated, occurrence->deactivated);
  xml.Write("<canAcknowledge>");
  xml.WriteFlag(canAcknowledge);
  xml.Write("</canAcknowledge></event>");
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
  SetIdStr(composed);
  XmlDocument::XmlNode& element = AddEvent(document, L"actived");
  element.SetValue(L"id", composed);
  element.SetValue(L"idn", NamePath(driverName));
  element.SetValue(L"name", name);
  element.SetValue(L"description", description);
  element.SetValue(L"annotation", Annotation());
  element.SetValue(L"deaAnnotation", DeaAnnotation());
  element.SetValue(L"ackAnnotation", AckAnnotation());
  const ZRDateTime since = LastActiveDateTime();
  if (since.Valid()) {
    const auto digits = FourteenDigits(since.LTC2UTC());
    element.SetValue(L"dateTime", ZRString(digits.data(), digits.size()));
  }
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

bool ZREventDriver::ProcessHttpServiceAck(const uuid& toAcknowledge) {
  const ZRMutexLock lock(occurrencesMutex);
  for (tagSEventRT* const occurrence : occurrences) {
    if (occurrence->id != toAcknowledge && occurrence->driver->id != toAcknowledge) continue;
    (void)SetEventStatus(occurrence, kAcknowledged);
    return true;
  }
  return false;
}
