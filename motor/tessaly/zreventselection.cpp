#include "tessaly/zreventselection.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "host/driversupport/zrdriver.h"
#include "host/tools/zrtext.h"
#include "host/user/zrsecuritymanager.h"
#include "host/xmlsupport/zrdriverlayoutmetrics.h"
#include "tessaly/zranswers.h"
#include "zrevents/publication/zrselectionxmlcreatoreventsvariables.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventsystem.h"

namespace {

constexpr const char* kPath = "/services/events/selection.xml";
constexpr std::string_view kHexadecimal = "0x";
constexpr const char* kNoEvent = "event isn't there: the id or the name of an event";
constexpr const char* kNoFlags = "flags is no number of 34 bits: 24 or 0x18";
constexpr const char* kUnknownEvent = "There is no such event, or this user may not see it.";

// All of them for an empty text; nothing for one that is no set of flags.
std::optional<tagVariableFlags> ReadFlags(std::string_view text) {
  if (text.empty()) return tagVariableFlags().set();
  const bool isHexadecimal = text.substr(0, kHexadecimal.size()) == kHexadecimal;
  if (isHexadecimal) text.remove_prefix(kHexadecimal.size());
  std::uint64_t number = 0;
  const char* const behind = text.data() + text.size();
  constexpr int kBases[] = {10, 16};
  const auto [end, error] =
      std::from_chars(text.data(), behind, number, kBases[isHexadecimal ? 1 : 0]);
  const bool isRead = error == std::errc() && end == behind;
  if (!isRead || number >> tagVariableFlags().size() != 0) return std::nullopt;
  return tagVariableFlags(number);
}

// The device itself, if the caller may see it; else null.
ZRDriver* Shown(ZRDriver* device, ZRHttpRequest& request) {
  if (device == nullptr) return nullptr;
  const ZREventDriver* const event = ZREventSystem::Get().LockEvent(device->Uuid());
  const bool isShown = event != nullptr &&
                       std::any_of(event->GroupsVectorBegin(), event->GroupsVectorEnd(),
                                   [&request](const ZREventDriverGroup* group) {
                                     return CanAccessResourcesFromEngine(
                                         kResourceActiveEvents, group->IdStr().Text(), request, "");
                                   });
  return isShown ? device : nullptr;
}

// By its id or, if nothing has that, by its name.
ZRDriver* FindDevice(const ZRWString& text, ZRHttpRequest& request) {
  ZRDriverSource* const source = ZRDriver::Source();
  const uuid id = wtouuid(text);
  if (source == nullptr) return nullptr;
  ZRDriver* const device = id == uuid{} ? nullptr : source->DriverOfId(id.toWString());
  return device != nullptr ? Shown(device, request) : EventDeviceOfName(text, request);
}

void AnswerSelection(ZRChainDoor& door, ZRHttpRequest& request, ZRHttpResponse& response) {
  const ZRChainDoor::CPass pass(door);
  if (!pass.Given()) return AnswerWithoutBody(response, kServiceUnavailable);
  const ZRString text = request.Parameter("event");
  const auto flags = ReadFlags(request.Parameter("flags").View());
  if (text.IsEmpty()) return AnswerWord(response, kBadRequest, kNoEvent);
  if (!flags) return AnswerWord(response, kBadRequest, kNoFlags);
  ZRDriver* const device = FindDevice(Utf8ToUtf16(text.View()), request);
  if (device == nullptr) return AnswerWord(response, kNotFound, kUnknownEvent);
  const ZRDriverLayoutMetrics metrics;
  ZRSelectionXmlCreatorEventsVariables creator(device, &metrics);
  XmlDocument document;
  (void)creator.CreateSelection(document, *flags);
  ZRString code;
  document.CreateXmlCode(code, true);
  response.Begin(kOk, request.AcceptDeflate() ? kContentXmlDeflated : kContentXml);
  response.Write(code);
  (void)response.End();
}

}  // namespace

ZRDriver* EventDeviceOfName(const ZRWString& name, ZRHttpRequest& request) {
  ZRDriverSource* const source = ZRDriver::Source();
  return source == nullptr ? nullptr : Shown(source->DriverOfName(name), request);
}

void BindSelection(ZRWebServer& web, ZRChainDoor& door) {
  web.Get(kPath, [&door](ZRHttpRequest& request, ZRHttpResponse& response) {
    AnswerSelection(door, request, response);
  });
}
