// The remote events for others to read: counted, as elements of the services, as elements of a
// listener's document.

#include "host/tools/zrtext.h"
#include "host/user/zrsecuritymanager.h"
#include "zrevents/lists/zreventlist.h"
#include "zrevents/lists/zrlistelement.h"
#include "zrevents/lists/zruserrights.h"
#include "zrevents/services/zrxmlwriter.h"

namespace {

using tagNode = XmlDocument::XmlNode;

bool IsActive(const tagNode& element) {
  return element.ValueUtf8("disableDateTime").empty();
}
bool IsNotified(const tagNode& element) {
  return element.ValueUtf8("notified") == "T";
}
bool IsAny(const tagNode& /*element*/) {
  return true;
}

ZRWString UserOf(ZRHttpRequest& request) {
  return Utf8ToUtf16(request.Authorization().User().View());
}

bool MayAcknowledge(const tagNode& element, const ZRUserRights& rights, const ZRWString& driver) {
  return element.ValueUtf8("canAcknowledge") == "T" &&
         rights.Has(kResourceRemoteAcknowledge, driver);
}

void WriteElement(ZRXmlWriter& xml, std::string_view tag, std::string_view content) {
  xml.Write("<");
  xml.Write(tag);
  xml.Write(">");
  xml.Write(content);
  xml.Write("</");
  xml.Write(tag);
  xml.Write(">");
}

void WriteText(ZRXmlWriter& xml, const tagNode& element, std::string_view tag) {
  ZRString escaped;
  Text2Xml(escaped, ZRString(element.ValueUtf8(tag)));
  WriteElement(xml, tag, escaped.View());
}

// As it was received, and nothing for an empty one.
void WriteDate(ZRXmlWriter& xml, const tagNode& element, std::string_view tag) {
  const std::string_view date = element.ValueUtf8(tag);
  if (!date.empty()) WriteElement(xml, tag, date);
}

void WriteHead(ZRXmlWriter& xml, const tagNode& element) {
  WriteText(xml, element, "id");
  if (!element.ValueUtf8("idn").empty()) WriteText(xml, element, "idn");
  for (const std::string_view tag :
       {"name", "description", "annotation", "deaAnnotation", "ackAnnotation"})
    WriteText(xml, element, tag);
  WriteDate(xml, element, "dateTime");
}

}  // namespace

// Calls `begin` if the section exists, then `visit` for each element that is shown and that may be
// seen. False for an unknown user, and for a picture without a root.
bool ZREventList::Walk(const tagView& view, const ZRUserRights& rights,
                       const std::function<void()>& begin, const tagVisit& visit) {
  if (!rights.KnowsUser()) return false;
  const ZRMutexLock lock(documentMutex);
  if (!document.HasRoot()) return false;
  const tagNode* const section = document.Section(view.section);
  if (section == nullptr) return true;
  begin();
  for (auto element = section->ChildsBegin(); element != section->ChildsEnd(); ++element) {
    ZRWString driverId;
    if (!view.isShown(**element) || !DriverIdOf(**element, driverId)) continue;
    if (rights.Has(view.right, driverId)) visit(**element, driverId);
  }
  return true;
}

int ZREventList::Count(const tagView& view, ZRHttpRequest& request) {
  int count = 0;
  const auto one = [&count](const tagNode&, const ZRWString&) { ++count; };
  return Walk(
             view, ZRUserRights(UserOf(request)), [] {}, one)
             ? count
             : 0;
}

int ZREventList::ActivedCount(ZRHttpRequest& request, ZRHttpResponse& /*response*/) {
  return Count({kSectionActived, kResourceRemoteActive, &IsActive}, request);
}

// It counts what SendNotified leaves out, the elements that aren't `notified`: required.
int ZREventList::NotifiedCount(ZRHttpRequest& request, ZRHttpResponse& /*response*/) {
  return Count({kSectionNotified, kResourceRemoteNotified, &IsAny}, request);
}

bool ZREventList::SendActived(ZRHttpRequest& request, ZRHttpResponse& response) {
  ZRXmlWriter xml(response);
  const ZRUserRights rights(UserOf(request));
  const auto write = [&xml](const tagNode& element, const ZRWString&) {
    xml.Write("<event>");
    WriteHead(xml, element);
    xml.Write("</event>");
  };
  return Walk(
      {kSectionActived, kResourceRemoteActive, &IsActive}, rights, [] {}, write);
}

bool ZREventList::SendNotified(ZRHttpRequest& request, ZRHttpResponse& response) {
  ZRXmlWriter xml(response);
  const ZRUserRights rights(UserOf(request));
  const auto write = [&](const tagNode& element, const ZRWString& driver) {
    xml.Write("<event>");
    WriteHead(xml, element);
    WriteDate(xml, element, "ackDateTime");
    WriteDate(xml, element, "disableDateTime");
    WriteElement(xml, "canAcknowledge", MayAcknowledge(element, rights, driver) ? "T" : "F");
    xml.Write("</event>");
  };
  return Walk(
      {kSectionNotified, kResourceRemoteNotified, &IsNotified}, rights, [] {}, write);
}

bool ZREventList::AddAllActived(const ZREventListener& listener, XmlDocument& doc,
                                const ZRWString& user, const ZRWString& driverId,
                                const ZRWString& driverName) {
  if (!doc.IsOK()) return false;
  // The picture has no section of that name: a user's client gets nothing here.
  const wchar_t* const section = listener.isUser ? L"producer" : kSectionActived;
  tagNode* target = nullptr;
  const auto add = [&](const tagNode& element, const ZRWString&) {
    ZRListElement out(*target);
    out.Set(L"id", PathThrough(driverId, element.Value(L"id", L"")));
    out.Copy(element, kTextKeys);
    out.Copy(element, {L"dateTime"});
    if (listener.isUser) return;
    out.Set(L"idn", PathThrough(driverName, element.Value(L"idn", L"")));
    out.Copy(element, {L"notified"});
  };
  return Walk(
      {section, kResourceRemoteActive, &IsActive}, ZRUserRights(user),
      [&] { target = &SectionOf(doc, section); }, add);
}

bool ZREventList::AddAllNotified(XmlDocument& doc, const ZRWString& user, const ZRWString& driverId,
                                 const ZRWString& driverName) {
  if (!doc.IsOK()) return false;
  const ZRUserRights rights(user);
  tagNode* target = nullptr;
  const auto add = [&](const tagNode& element, const ZRWString& driver) {
    ZRListElement out(*target);
    out.Set(L"id", PathThrough(driverId, element.Value(L"id", L"")));
    if (!driverName.IsEmpty()) out.Set(L"idn", PathThrough(driverName, element.Value(L"idn", L"")));
    out.Copy(element, {L"annotation", L"deaAnnotation", L"ackAnnotation", L"name", L"description",
                       L"dateTime", L"ackDateTime", L"disableDateTime", L"notified"});
    out.Set(L"canAcknowledge", MayAcknowledge(element, rights, driver));
  };
  return Walk(
      {kSectionNotified, kResourceRemoteNotified, &IsNotified}, rights,
      [&] { target = &SectionOf(doc, kSectionNotified); }, add);
}
