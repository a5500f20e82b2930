#include "tessaly/zrservices.h"

#include <string>

#include "host/base/zrlogger.h"
#include "host/tools/zrtext.h"
#include "host/user/zrsecuritymanager.h"
#include "tessaly/zranswers.h"
#include "tessaly/zrfeed.h"
#include "tessaly/zrperiod.h"
#include "zrevents/zreventserver.h"

namespace {

constexpr const char* kActivePath = "/services/events/actived.xml";
constexpr const char* kNotifiedPath = "/services/events/notified.xml";
constexpr const char* kActionsPath = "/services/events/actions.xml";
constexpr const char* kCountsPath = "/services/events/counts.xml";
constexpr const char* kLoggerPath = "/services/events/logger.xml";

constexpr const char* kFeedPath = "/html/events.rss";

constexpr const char* kHealthPath = "/healthz";
constexpr const char* kReadyPath = "/readyz";
constexpr const char* kAckPath = "/services/events/ack.xml";

constexpr const wchar_t* kAckRoot = L"eventsAck";

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
  AnswerWord(response, kBadRequest, reason);
}

// What is wrong with the document of an acknowledgement, in words; empty for nothing.
std::string WrongWithAck(const std::string& body) {
  if (body.find('\0') != std::string::npos) return "The body isn't UTF-8.";
  XmlDocument document;
  XmlDocument::tagRefusal refusal;
  if (document.Parse(body, kMostAckBytes, &refusal))
    return document.Root()->Tag() == kAckRoot ? "" : "The root of the document isn't eventsAck.";
  const std::string wrong = "The body is no XML document: ";
  if (refusal.line == 0) return wrong + refusal.reason + ".";
  return wrong + "line " + std::to_string(refusal.line) + ", column " +
         std::to_string(refusal.column) + ": " + refusal.reason + ".";
}

// True if users log in here and the request comes from none of them.
bool IsStranger(const ZRHttpRequest& request) {
  if (!ZRSecurityManagerEnabled()) return false;
  const ZRWString user = Utf8ToUtf16(request.Authorization().User().View());
  return ZRSecurityManager::Get().User(user, 0) == nullptr;
}

void AnswerAck(ZREventServer& engine, ZRHttpRequest& request, const std::string& body,
               ZRHttpResponse& response) {
  if (IsStranger(request)) return AnswerWithoutBody(response, kUnauthorized);
  const std::string wrong = WrongWithAck(body);
  if (!wrong.empty()) return AnswerWord(response, kBadRequest, wrong.c_str());
  const auto* const text = reinterpret_cast<const unsigned char*>(body.c_str());
  const bool isDone = engine.ProcessHttpServiceAck(request, text);
  AnswerWithoutBody(response, isDone ? kNoContent : kServiceUnavailable);
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
  web.Get(
      kLoggerPath,
      [&engine](ZRHttpRequest& request, ZRHttpResponse& response) {
        AnswerLogger(engine, request, response);
      },
      ZRWebServer::tagFor::kUsers, ZRWebServer::tagPace::kMayWait);
  web.Put(
      kAckPath, kMostAckBytes,
      [&engine](ZRHttpRequest& request, const std::string& body, ZRHttpResponse& response) {
        AnswerAck(engine, request, body, response);
      },
      ZRWebServer::tagPace::kMayWait);
  web.Get(kFeedPath, [](ZRHttpRequest&, ZRHttpResponse& response) {
    AnswerFeed(ZREventSystem::Get(), response);
  });
  web.OnFault([](std::string_view path, std::string_view what) {
    logger(kLogInvariant, L"%s failed: %s", std::string(path).c_str(), std::string(what).c_str());
  });
}

void BindHealth(ZRWebServer& web, const ZRReadiness& readiness) {
  constexpr auto kEverybody = ZRWebServer::tagFor::kEverybody;
  web.Get(
      kHealthPath,
      [](ZRHttpRequest&, ZRHttpResponse& response) { AnswerWord(response, kOk, "ok"); },
      kEverybody);
  web.Get(
      kReadyPath,
      [&readiness](ZRHttpRequest&, ZRHttpResponse& response) {
        AnswerWord(response, readiness.IsReady() ? kOk : kServiceUnavailable, readiness.Word());
      },
      kEverybody);
}
