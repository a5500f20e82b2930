#include "tessaly/zrservices.h"

#include <gtest/gtest.h>

#include "support/fakesecurity.h"
#include "support/golden.h"
#include "support/httpclient.h"
#include "zrevents/zreventserver.h"

namespace {

// A real server over an engine that hasn't started.
class Services : public ::testing::Test {
 protected:
  Services() {
    BindServices(web, engine);
    ZRString reason;
    EXPECT_TRUE(web.Start({}, reason)) << reason.Text();
  }
  ~Services() override { web.Stop(); }

  HttpReply Get(const std::string& path, const std::string& headers = "") {
    return HttpClient(web.Port()).Get(path, headers);
  }

  ZREventServer engine;
  ZRWebServer web;
};

TEST_F(Services, CountNothingWithoutEvents) {
  const HttpReply reply = Get("/services/events/counts.xml");
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.Header("Content-Type"), "application/xml; charset=utf-8");
  EXPECT_EQ(reply.body,
            "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>"
            "<counts><actived>0</actived><notified>0</notified></counts>");
}

TEST_F(Services, CountsHaveTheFormOfTheirPage) {
  std::string example = Golden("counts.xml");
  for (const char* number : {">1<", ">2<"})
    example.replace(example.find(number), 3, ">0<");
  EXPECT_EQ(Get("/services/events/counts.xml").body, example);
}

TEST_F(Services, CountsAreCompressedForWhoeverTakesThat) {
  const HttpReply reply = Get("/services/events/counts.xml", "Accept-Encoding: gzip\r\n");
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.Header("Content-Encoding"), "gzip");
}

TEST_F(Services, ListsAreEmptyUntilTheEngineWorks) {
  const std::string header = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>";
  for (const std::string list : {"actived", "notified"}) {
    const HttpReply reply = Get("/services/events/" + list + ".xml");
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.body, header + "<" + list + "Events></" + list + "Events>");
  }
}

TEST_F(Services, ClientsHaveNothingToDoUntilTheEngineWorks) {
  const HttpReply reply = Get("/services/events/actions.xml");
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.Header("Content-Type"), "application/xml; charset=utf-8");
  EXPECT_EQ(reply.body,
            "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>"
            "<eventsActions></eventsActions>");
}

TEST_F(Services, LoggerTakesAPeriodOfUtc) {
  for (const char* period :
       {"from=01112026000000&to=2026-12-01", "to=2026-12-01T00:00:00%2B01:00&from=2026-11-01+08:05",
        "from=2026-11-01&to=2026-11-01"}) {
    const HttpReply reply = Get(std::string("/services/events/logger.xml?") + period);
    EXPECT_EQ(reply.status, 200) << period;
    EXPECT_EQ(reply.Header("Content-Type"), "application/xml; charset=utf-8");
    EXPECT_EQ(reply.body,
              "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>"
              "<loggerEvents></loggerEvents>");
  }
}

TEST_F(Services, LoggerSaysWhatIsWrongWithAPeriod) {
  const std::string form = " is no date: 21112026080509 or 2026-11-21T08:05:09Z\n";
  const std::pair<const char*, std::string> cases[] = {
      {"", "to" + form},
      {"?to=2026-12-01", "from" + form},
      {"?from=2026-12-01&to=", "to" + form},
      {"?from=<b>&to=2026-12-01", "from" + form},
      {"?from=2026-12-01T00:00+01:00&to=2026-12-01", "from" + form},
      {"?from=2026-12-01&to=2026-11-01", "from lies behind to\n"}};
  for (const auto& [query, text] : cases) {
    const HttpReply reply = Get(std::string("/services/events/logger.xml") + query);
    EXPECT_EQ(reply.status, 400) << query;
    EXPECT_EQ(reply.Header("Content-Type"), "text/plain; charset=utf-8");
    EXPECT_EQ(reply.body, text);
  }
}

// --- acknowledging ---

// The answer to a document that is put, or posted.
class Acknowledgements : public Services {
 protected:
  HttpReply Send(const std::string& body, const std::string& method = "PUT") {
    HttpClient client(web.Port());
    (void)client.Send(method + " /services/events/ack.xml HTTP/1.1\r\nHost: localhost\r\n" +
                      "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    return client.ReceiveReply();
  }
};

TEST_F(Acknowledgements, AreTakenByPutAndPost) {
  for (const char* method : {"PUT", "POST"}) {
    const HttpReply reply = Send("<eventsAck><id>x</id></eventsAck>", method);
    EXPECT_EQ(reply.status, 204);
    EXPECT_EQ(reply.body, "");
  }
  EXPECT_EQ(Get("/services/events/ack.xml").status, 405);
}

TEST_F(Acknowledgements, ThatAreNoneAreRefusedWithASentence) {
  const std::string broken = "The body is no XML document: ";
  EXPECT_EQ(Send("<event></event>").body, "The root of the document isn't eventsAck.\n");
  EXPECT_TRUE(Send("<eventsAck>\n<id>").body.starts_with(broken + "line 2, column "));
  EXPECT_TRUE(Send("").body.starts_with(broken));
  EXPECT_EQ(Send(std::string("<eventsAck/>\0<x/>", 17)).body, "The body isn't UTF-8.\n");
  for (const std::string& body : {std::string("<event></event>"), std::string("x"), std::string(),
                                  std::string("\0", 1), std::string("\xFF\xFE<\0", 4)})
    EXPECT_EQ(Send(body).status, 400) << body;
}

TEST_F(Acknowledgements, OfMoreThan64KiBAreRefused) {
  const std::string start = "<eventsAck><x>";
  const std::string end = "</x></eventsAck>";
  const std::string most = start + std::string(65536 - start.size() - end.size(), 'x') + end;
  EXPECT_EQ(Send(most).status, 204);
  EXPECT_EQ(Send(most + " ").status, 413);
}

TEST_F(Acknowledgements, OfStrangersAreRefusedOnceUsersAreDefined) {
  const FakeSecurity security({});
  EXPECT_EQ(Send("<eventsAck/>").status, 401);
  EXPECT_EQ(Send("x").status, 401) << "before anything else";
}

TEST_F(Acknowledgements, HaveToComeAgainWhileTheEngineIsStopped) {
  engine.Stop();
  const HttpReply reply = Send("<eventsAck/>");
  EXPECT_EQ(reply.status, 503);
  EXPECT_EQ(reply.body, "");
}

TEST_F(Services, OtherPathsDoNotExist) {
  for (const char* path : {"/", "/services/events/", "/services/events/actived",
                           "/services/events/counts.xml/", "/services/events/Counts.xml"})
    EXPECT_EQ(Get(path).status, 404) << path;
}

}  // namespace
