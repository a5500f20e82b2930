#include "tessaly/zrdriverservices.h"

#include <charconv>
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/zrlogger.h"
#include "host/driversupport/zrdriver.h"
#include "host/tools/zrtext.h"
#include "host/user/zrsecuritymanager.h"
#include "tessaly/zranswers.h"
#include "tessaly/zreventselection.h"

namespace {

constexpr const char* kVariablesPath = "/services/drivers/variables.xml";
constexpr const char* kForcePath = "/services/drivers/force.xml";
constexpr const wchar_t* kForceRoot = L"force";
constexpr std::string_view kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><drivers>";

constexpr const char* kNoneOfThatName =
    "There is no driver and no event of that name, or this user may not see it.";

// --- what there is ---

void Add(std::string& document, std::string_view tag, std::string_view utf8) {
  ZRString code;
  Text2Xml(code, ZRString(utf8.data(), utf8.size()));
  document.append("<").append(tag).append(">").append(code.View());
  document.append("</").append(tag).append(">");
}

void Add(std::string& document, std::string_view tag, const ZRWString& text) {
  Add(document, tag, Utf16ToUtf8(text.View()).View());
}

std::string Shortest(double number) {
  constexpr std::size_t kRoom = 32;
  char text[kRoom];
  const auto [end, error] = std::to_chars(text, text + kRoom, number);
  return error == std::errc() ? std::string(text, end) : std::string();
}

void AddValue(std::string& document, const ZRLiveValue& live) {
  double number = 0.0;
  char text[ZRLiveValue::kMaximumText];
  std::size_t length = 0;
  if (live.Number(number)) {
    Add(document, "value", Shortest(number));
  } else if (live.Text(text, length)) {
    Add(document, "value", std::string_view(text, length));
  }
  const bool isGood = live.Quality() == ZRQuality::kGood;
  Add(document, "quality", isGood ? "good" : "unavailable");
  const std::int64_t age = ZRPlatform::Get().UtcMilliseconds() - live.LastGood();
  if (live.LastGood() != 0) Add(document, "age", std::to_string(age));
}

void AddVariable(std::string& document, const ZRDriver& driver, std::int64_t number,
                 const ZRWString& name, const ZRLiveValue& live) {
  document += "<variable>";
  Add(document, "name", name);
  AddValue(document, live);
  tagSVariableValueInfo info;
  (void)driver.ValueInfo(number, info);
  if (!info.measure.IsEmpty()) Add(document, "measure", info.measure.View());
  const bool isForceable = (info.flags & tagSVariableValueInfo::kForceable) != 0;
  Add(document, "forceable", isForceable ? "T" : "F");
  document += "</variable>";
}

// The document grows into the response driver by driver.
void WriteDriver(const ZRDriver& driver, ZRHttpResponse& response) {
  std::string document = "<driver>";
  Add(document, "id", driver.Id());
  Add(document, "name", driver.Name());
  Add(document, "online", driver.IsOnline() ? "T" : "F");
  const ZRString trouble = driver.Trouble();
  if (!trouble.IsEmpty()) Add(document, "error", trouble.View());
  driver.VisitVariables([&](std::int64_t number, const ZRWString& name, const ZRLiveValue& live) {
    AddVariable(document, driver, number, name, live);
  });
  document += "</driver>";
  response.Write(document.data(), static_cast<int>(document.size()));
}

// Those of the list that the caller may see; with a name those of that name, and the event's
// device.
std::vector<const ZRDriver*> DriversShown(const ZRWString& name, ZRHttpRequest& request) {
  std::vector<const ZRDriver*> drivers;
  for (auto at = ZRDriver::DriversBegin(); at != ZRDriver::DriversEnd(); ++at) {
    if (!name.IsEmpty() && !((*at)->Name() == name)) continue;
    if (CanAccessResourcesFromEngine(kResourceVariables, (*at)->Id().Text(), request, ""))
      drivers.push_back(*at);
  }
  if (name.IsEmpty()) return drivers;
  const ZRDriver* const device = EventDeviceOfName(name, request);
  if (device != nullptr) drivers.push_back(device);
  return drivers;
}

void AnswerVariables(ZRChainDoor& door, ZRHttpRequest& request, ZRHttpResponse& response) {
  const ZRChainDoor::CPass pass(door);
  if (!pass.Given()) return AnswerWithoutBody(response, kServiceUnavailable);
  const ZRString name = request.Parameter("name");
  const std::vector<const ZRDriver*> drivers = DriversShown(Utf8ToUtf16(name.View()), request);
  if (drivers.empty() && !name.IsEmpty()) return AnswerWord(response, kNotFound, kNoneOfThatName);
  response.Begin(kOk, request.AcceptDeflate() ? kContentXmlDeflated : kContentXml);
  response.Write(kHead.data(), static_cast<int>(kHead.size()));
  for (const ZRDriver* const driver : drivers)
    WriteDriver(*driver, response);
  response.Write("</drivers>", -1);
  (void)response.End();
}

// --- what is forced ---

bool ReadNumber(std::string_view text, double& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() && std::isfinite(number);
}

// A number for a variable of numbers. False if it is none.
bool ReadValue(const ZRDriver& driver, std::int64_t variable, const ZRWString& text,
               ZRValue& value) {
  tagSVariableValueInfo info;
  if (!driver.ValueInfo(variable, info)) return false;
  double number = 0.0;
  if ((info.type & tagSVariableValueInfo::kText) != 0) {
    value.SetString(text);
    return true;
  }
  if (!ReadNumber(Utf16ToUtf8(text.View()).View(), number)) return false;
  value.SetNumeric(number);
  return true;
}

void AnswerForce(ZRChainDoor& door, ZRHttpRequest& request, const std::string& body,
                 ZRHttpResponse& response) {
  const ZRChainDoor::CPass pass(door);
  if (!pass.Given()) return AnswerWithoutBody(response, kServiceUnavailable);
  XmlDocument document;
  if (!document.Parse(body, kMostForceBytes, nullptr) || !(document.Root()->Tag() == kForceRoot))
    return AnswerWord(response, kBadRequest, "The body is no XML document with the root force.");
  const ZRWString name = document.Root()->Value(L"variable", L"");
  const ZRWString text = document.Root()->Value(L"value", L"");
  std::int64_t variable = -1;
  ZRDriver* const driver = ZRDriver::FindVariable(name, variable);
  // Who may force nothing there isn't told what there is.
  const ZRWString id = driver != nullptr ? driver->Id() : ZRWString(L"*");
  if (!CanAccessResourcesFromEngine(kResourceForce, id.Text(), request, ""))
    return AnswerWord(response, kForbidden, "This user may not force that variable.");
  if (driver == nullptr) return AnswerWord(response, kNotFound, "No driver has that variable.");
  ZRValue value;
  if (!ReadValue(*driver, variable, text, value))
    return AnswerWord(response, kBadRequest, "The value isn't one for that variable.");
  const bool isDone = driver->ForceValue(variable, value, name.Text());
  logger(kLogNotice, L"user '%ls' %ls '%ls' to '%ls'",
         Utf8ToUtf16(request.Authorization().User().View()).Text(),
         isDone ? L"has forced" : L"couldn't force", name.Text(), text.Text());
  if (isDone) return AnswerWithoutBody(response, kNoContent);
  AnswerWord(response, kConflict,
             "It can't be forced to that, or its device isn't there or doesn't take it.");
}

}  // namespace

void BindDrivers(ZRWebServer& web, ZRChainDoor& door) {
  web.Get(
      kVariablesPath,
      [&door](ZRHttpRequest& request, ZRHttpResponse& response) {
        AnswerVariables(door, request, response);
      },
      ZRWebServer::tagFor::kUsers, ZRWebServer::tagPace::kMayWait);
  web.Put(
      kForcePath, kMostForceBytes,
      [&door](ZRHttpRequest& request, const std::string& body, ZRHttpResponse& response) {
        AnswerForce(door, request, body, response);
      },
      ZRWebServer::tagPace::kMayWait);
}
