#include "tessaly/zrservices.h"

#include <gtest/gtest.h>

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

TEST_F(Services, OtherPathsDoNotExist) {
  for (const char* path : {"/", "/services/events/", "/services/events/actived",
                           "/services/events/counts.xml/", "/services/events/Counts.xml"})
    EXPECT_EQ(Get(path).status, 404) << path;
}

}  // namespace
