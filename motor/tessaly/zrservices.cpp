#include "tessaly/zrservices.h"

#include "host/base/zrlogger.h"
#include "host/tools/zrtext.h"
#include "zrevents/zreventserver.h"

namespace {

constexpr const char* kActivePath = "/services/events/actived.xml";
constexpr const char* kNotifiedPath = "/services/events/notified.xml";
constexpr const char* kCountsPath = "/services/events/counts.xml";

constexpr int kOk = 200;
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

}  // namespace

void BindServices(ZRWebServer& web, ZREventServer& engine) {
  web.Get(kActivePath, [&engine](ZRHttpRequest& request, ZRHttpResponse& response) {
    (void)engine.ProcessHttpServiceEventsActived(request, response);
  });
  web.Get(kNotifiedPath, [&engine](ZRHttpRequest& request, ZRHttpResponse& response) {
    (void)engine.ProcessHttpServiceEventsNotified(request, response);
  });
  web.Get(kCountsPath, [&engine](ZRHttpRequest& request, ZRHttpResponse& response) {
    AnswerCounts(engine, request, response);
  });
  web.OnFault([](std::string_view path, std::string_view what) {
    logger(kLogInvariant, L"%s failed: %s", std::string(path).c_str(), std::string(what).c_str());
  });
}
