// Who listens, for people, and how much there is to tell them.

#include <string>

#include "zrevents/services/zrlistenerboard.h"
#include "zrevents/services/zrservicedocument.h"
#include "zrevents/services/zrxmlwriter.h"
#include "zrevents/zreventserver.h"

namespace {

void WriteElement(ZRXmlWriter& xml, std::string_view tag, std::string_view plain) {
  xml.Write("<");
  xml.Write(tag);
  xml.Write(">");
  xml.Write(plain);
  xml.Write("</");
  xml.Write(tag);
  xml.Write(">");
}

void WriteTextElement(ZRXmlWriter& xml, std::string_view tag, const ZRWString& text) {
  xml.Write("<");
  xml.Write(tag);
  xml.Write(">");
  xml.WriteText(text);
  xml.Write("</");
  xml.Write(tag);
  xml.Write(">");
}

// A host as it was narrowed: whatever its bytes are, they become text.
ZRWString HostText(const ZRString& host) {
  std::wstring text;
  for (const char byte : host.View())
    text += static_cast<wchar_t>(static_cast<unsigned char>(byte));
  return ZRWString(text);
}

void WriteListener(ZRXmlWriter& xml, const ZRListenerBoard::tagRow& row) {
  const auto since = FourteenDigits(row.since);
  xml.Write("<listener>");
  WriteTextElement(xml, "driverId", row.driverId);
  WriteTextElement(xml, "driverName", row.driverName);
  WriteTextElement(xml, "user", row.user);
  WriteElement(xml, "isUser", row.isUser ? "T" : "F");
  WriteTextElement(xml, "ip", HostText(row.host));
  WriteElement(xml, "port", std::to_string(row.port));
  WriteElement(xml, "all", row.needsAll ? "T" : "F");
  WriteElement(xml, "since", {since.data(), since.size()});
  if (row.lastStatus >= 0) WriteElement(xml, "status", std::to_string(row.lastStatus));
  xml.Write("</listener>");
}

}  // namespace

bool ZREventServer::ProcessHttpServiceListeners(ZRHttpRequest& request, ZRHttpResponse& response) {
  const int waiting = eventList.PendingChangesSize() + eventList.PendingRemoteChangesSize();
  response.Begin(kOk, request.AcceptDeflate() ? kContentXmlDeflated : kContentXml);
  {
    ZRXmlWriter xml(response);
    xml.Write(kXmlHeader);
    xml.Write("<listeners>");
    WriteElement(xml, "waiting", std::to_string(waiting));
    for (const ZRListenerBoard::tagRow& row : listenerBoard->Rows())
      WriteListener(xml, row);
    xml.Write("</listeners>");
  }
  return response.End();
}

ZREventServer::tagRemoteLoad ZREventServer::RemoteLoad() {
  return {eventList.RemoteSize(), eventList.PendingRemoteChangesSize()};
}
