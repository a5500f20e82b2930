#include "tessaly/zrservices.h"

#include "host/base/zrlogger.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrperiod.h"
#include "zrevents/zreventserver.h"

namespace {

constexpr const char* kActivePath = "/services/events/actived.xml";
constexpr const char* kNotifiedPath = "/services/events/notified.xml";
constexpr const char* kActionsPath = "/services/events/actions.xml";
constexpr const char* kCountsPath = "/services/events/counts.xml";
constexpr const char* kLoggerPath = "/services/events/logger.xml";

constexpr int kOk = 200;
constexpr int kBadRequest = 400;
constexpr const wchar_t* kCounts =
    L"<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>"
    L"<counts><actived>%d</actived><notified>%d</notified></counts>";

void AnswerCounts(ZREventServer& engine, ZRHttpRequest& request, ZRHttpResponse& response) {
  const int actived = engine.ActiveEventsCount(request, response);
  const int notified = engine.NotifiedEventsCount(request, response);
  response.Begin(kOk, request.AcceptDeflate() ? kContentXmlDeflated : kContentXml);
  response.Write(Utf16ToUtf8(FormatWide(kCounts, actived, notified).View()));
  (void)response.End();
}

void AnswerLogger(ZREventServer& engine, ZRHttpRequest& request, ZRHttpResponse& response) {
  const ZRString from = request.Parameter("from");
  const ZRString to = request.Parameter("to");
  const char* reason = nullptr;
  const auto period = ParsePeriod(from.View(), to.View(), ZRReading::kUtc, reason);
  if (period) {
    (void)engine.ProcessHttpServiceEventsLogger(request, response, period->from, period->to);
    return;
  }
  response.Begin(kBadRequest, kContentText);
  response.Write(reason, -1);
  response.Write("\n", -1);
  (void)response.End();
}

}  // namespace

void BindServices(ZRWebServer& web, ZREventServer& engine) {
  web.Get(kActivePath, [&engine](ZRHttpRequest& request, ZRHttpResponse& response) {
    (void)engine.ProcessHttpServiceEventsActived(request, response);
  });
  web.Get(kNotifiedPath, [&engine](ZRHttpRequest& request, ZRHttpResponse& response) {
    (void)engine.ProcessHttpServiceEventsNotified(request, response);
  });
  web.Get(kActionsPath, [&engine](ZRHttpRequest& request, ZRHttpResponse& response) {
    (void)engine.ProcessHttpServiceEventsActions(request, response);
  });
  web.Get(kCountsPath, [&engine](ZRHttpRequest& request, ZRHttpResponse& response) {
    AnswerCounts(engine, request, response);
  });
  web.Get(kLoggerPath, [&engine](ZRHttpRequest& request, ZRHttpResponse& response) {
    AnswerLogger(engine, request, response);
  });
  web.OnFault([](std::string_view path, std::string_view what) {
    logger(kLogInvariant, L"%s failed: %s", std::string(path).c_str(), std::string(what).c_str());
  });
}
