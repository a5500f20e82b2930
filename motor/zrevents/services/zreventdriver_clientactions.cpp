// What clients have to do for an event, as elements of the client-actions service.

#include "host/base/zrlogger.h"
#include "host/tools/zrtext.h"
#include "zrevents/services/zrxmlwriter.h"
#include "zrevents/zreventdriver.h"

namespace {

constexpr const wchar_t* kLogOccurrence =
    L"Calling ProcessHttpServiceEventsActions() for %ls event...";
constexpr const wchar_t* kLogList = L"Trying to generate xml with actions list...";

// When, by the moment.
constexpr std::array<const char*, kMoments> kWhen = {
    "<when>ON_ACTIVATE</when>", "<when>WHILE_ACTIVE</when>", "<when>ON_DEACTIVATE</when>",
    "<when>ON_ACKNOWLEDGE</when>"};

}  // namespace

bool ZREventDriver::ProcessHttpServiceEventsActions(ZRHttpResponse& response) {
  const ZRMutexLock lock(occurrencesMutex);
  for (tagSEventRT* const occurrence : occurrences)
    ProcessHttpServiceEventsActions(occurrence, response);
  return true;
}

bool ZREventDriver::ProcessHttpServiceEventsActions(tagSEventRT* occurrence,
                                                    ZRHttpResponse& response) {
  if (occurrence->status == 0) return true;
  ZRString text;
  logger(kLogTrace, kLogOccurrence, occurrence->id.toWString().Text());
  if (!ProcessHttpServiceEventsActions(text)) return true;
  ZRXmlWriter xml(response);
  xml.Write("<eventAction><eventId>");
  xml.WriteText(id.toWString());
  xml.Write("</eventId>");
  if (notify) {
    xml.Write("<deactivated>");
    xml.WriteFlag((occurrence->status & kDeactivated) != 0);
    xml.Write("</deactivated><acknowledge>");
    xml.WriteFlag((occurrence->status & kAcknowledged) != 0);
    xml.Write("</acknowledge>");
  }
  xml.Write(text.View());
  xml.Write("</eventAction>");
  return true;
}

bool ZREventDriver::ProcessHttpServiceEventsActions(ZRBasicString<char>& text) {
  logger(kLogTrace, kLogList);
  if (actions == nullptr) return false;
  const std::uint32_t before = text.Length();
  for (std::size_t moment = 0; moment < kMoments; ++moment) {
    if (moment == kMomentAcknowledge && !notify) continue;
    for (const std::unique_ptr<ZREventAction>& action : actions->lists[kClientSide][moment]) {
      ZRString one;
      if (!action->ProcessHttpServiceEventsActions(one)) continue;
      text += "<action>";
      text += kWhen[moment];
      text += one;
      text += "</action>";
    }
  }
  return text.Length() > before;
}
