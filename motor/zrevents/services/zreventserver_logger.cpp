// The logger service: what happened in a period.

#include <array>
#include <charconv>
#include <string_view>

#include "zrevents/history/zreventloggerdata.h"
#include "zrevents/services/zrservicedocument.h"
#include "zrevents/services/zrxmlwriter.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventserver.h"
#include "zrevents/zrgatetoken.h"

namespace {

using CDataRecord = ZREventLoggerData::CDataRecord;

void WriteId(ZRXmlWriter& xml, const uuid& id) {
  std::array<char, kUuidTextLength + 1> text{};
  guidtoc(id, text.data());
  xml.Write({text.data(), kUuidTextLength});
}

// Seconds, unless it hasn't happened. What doesn't fit an int is written as one: required.
void WriteDelay(ZRXmlWriter& xml, std::uint32_t offset, std::string_view opening,
                std::string_view closing) {
  if (offset == ZREventLoggerData::kNoOffset) return;
  std::array<char, 16> digits{};
  const auto seconds = static_cast<std::int32_t>(offset);
  const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), seconds).ptr;
  xml.Write(opening);
  xml.Write({digits.data(), static_cast<std::size_t>(end - digits.data())});
  xml.Write(closing);
}

void WriteRecord(ZRXmlWriter& xml, const CDataRecord& record) {
  xml.Write("<record><id>");
  WriteId(xml, record.RecordId());
  xml.Write("</id><eventId>");
  WriteId(xml, record.EventId());
  xml.Write("</eventId>");
  if (!record.AnnotationView().empty()) {
    xml.Write("<annotation>");
    xml.Write(record.AnnotationView());  // as it was stored
    xml.Write("</annotation>");
  }
  const auto digits = FourteenDigits(record.Time());
  xml.Write("<dateTime>");
  xml.Write({digits.data(), digits.size()});
  xml.Write("</dateTime>");
  WriteDelay(xml, record.AckOffset(), "<ackDelay>", "</ackDelay>");
  WriteDelay(xml, record.DisableOffset(), "<disabledDelay>", "</disabledDelay>");
  xml.Write("</record>");
}

}  // namespace

bool ZREventServer::ProcessHttpServiceEventsLogger(ZRHttpRequest& request, ZRHttpResponse& response,
                                                   const ZRDateTime& from, const ZRDateTime& to) {
  const ZRGateToken token(*gate);
  if (!token.Taken()) return RefuseForNow(response);
  ZREventLoggerInfo events;
  ZREventLoggerData data;
  for (auto event = eventSystem.EventsBegin(); event != eventSystem.EventsEnd(); ++event)
    events.AddVariable((*event)->Id());
  data.Setup(events);
  (void)data.SelectData(from, to, false);
  response.Begin(kOk, request.AcceptDeflate() ? kContentLoggerXmlDeflated : kContentLoggerXml);
  {
    ZRXmlWriter xml(response);
    xml.Write(kXmlHeader);
    xml.Write("<loggerEvents>");
    const auto& records = data.RecordGroup();
    for (auto record = records.Begin(); record != records.End(); ++record)
      WriteRecord(xml, **record);
    xml.Write("</loggerEvents>");
  }
  return response.End();
}
