// Against the real web server, with real logins: what the client signs nobody here wrote.
#include "host/remote/zrhttpfetch.h"

#include <gtest/gtest.h>

#include "fakepasswords.h"
#include "host/remote/zrdigestauthenticator.h"
#include "host/remote/zrlistensocket.h"
#include "webserverfixture.h"

namespace {

class HttpFetch : public WebServer {
 protected:
  HttpFetch() {
    server.Put("/put", 1000,
               [this](ZRHttpRequest& request, const std::string& body, ZRHttpResponse& response) {
                 taken = body;
                 user = std::string(request.Authorization().User().View());
                 response.Begin(204, kContentNone);
                 (void)response.End();
               });
    server.Get("/who", [](ZRHttpRequest& request, ZRHttpResponse& response) {
      response.Begin(200, kContentXml);
      response.Write(request.Authorization().User());
      (void)response.End();
    });
    question.host = "127.0.0.1";
  }
  ~HttpFetch() override { server.Stop(); }

  void WithUsers() {
    users.Add("ana", "correct \"horse\" \xC3\xB1");
    users.Add("Jos\xC3\xA9 \"P\\q\"", "battery staple");
    server.Authenticate(&authenticator);
  }
  ZRHttpReply Fetch(const std::string& path) {
    if (question.port == 0) {
      Start();
      question.port = server.Port();
    }
    question.path = path;
    return FetchHttp(question);
  }
  void As(const std::string& name, const std::string& password) {
    question.user = name;
    question.password = password;
  }

  FakePasswords users;
  ZRDigestAuthenticator authenticator{users};
  ZRHttpQuestion question;
  std::string taken;
  std::string user;
};

TEST_F(HttpFetch, GetsAPage) {
  const ZRHttpReply reply = Fetch("/plain");
  EXPECT_EQ(200, reply.status);
  EXPECT_EQ(kText, reply.body);
  EXPECT_EQ("", reply.problem);
}

TEST_F(HttpFetch, UnpacksWhatIsCompressed) {
  EXPECT_EQ(kText, Fetch("/packed").body);
}

TEST_F(HttpFetch, TellsTheStatusOfARefusal) {
  const ZRHttpReply reply = Fetch("/nothing");
  EXPECT_EQ(404, reply.status);
  EXPECT_EQ("", reply.problem);
}

TEST_F(HttpFetch, PutsADocument) {
  question.document = std::string("<a>\0</a>", 8);
  EXPECT_EQ(204, Fetch("/put").status);
  EXPECT_EQ(question.document, taken);
}

TEST_F(HttpFetch, LogsIn) {
  WithUsers();
  EXPECT_EQ(401, Fetch("/who").status);
  As("ana", "correct \"horse\" \xC3\xB1");
  const ZRHttpReply reply = Fetch("/who?a=%20b&c=%22,'");
  EXPECT_EQ(200, reply.status);
  EXPECT_EQ("ana", reply.body);
}

TEST_F(HttpFetch, LogsInWithANameOfAnyLetters) {
  WithUsers();
  As("Jos\xC3\xA9 \"P\\q\"", "battery staple");
  EXPECT_EQ("Jos\xC3\xA9 \"P\\q\"", Fetch("/who").body);
}

TEST_F(HttpFetch, LogsInToPutADocument) {
  WithUsers();
  As("ana", "correct \"horse\" \xC3\xB1");
  question.document = "<a/>";
  EXPECT_EQ(204, Fetch("/put").status);
  EXPECT_EQ("<a/>", taken);
  EXPECT_EQ("ana", user);
}

TEST_F(HttpFetch, IsRefusedAndHeldUpWithAWrongPassword) {
  WithUsers();
  As("ana", "guess");
  for (int guess = 0; guess < 5; ++guess)
    EXPECT_EQ(401, Fetch("/who").status);
  const ZRHttpReply reply = Fetch("/who");
  EXPECT_EQ(429, reply.status);
  EXPECT_LT(0u, reply.retrySeconds);
  EXPECT_GE(60u, reply.retrySeconds);
  As("ana", "correct \"horse\" \xC3\xB1");
  EXPECT_EQ(429, Fetch("/who").status);
}

TEST_F(HttpFetch, TakesNoMoreThanItMay) {
  question.mostBytes = std::string(kText).size();
  EXPECT_EQ(200, Fetch("/plain").status);
  EXPECT_EQ(200, Fetch("/packed").status);
  --question.mostBytes;
  for (const char* path : {"/plain", "/packed"}) {
    const ZRHttpReply reply = Fetch(path);
    EXPECT_EQ(0, reply.status);
    EXPECT_EQ("", reply.body);
    EXPECT_EQ("its answer is too large", reply.problem);
  }
}

TEST_F(HttpFetch, GoesToTheAddressThatItIsTold) {
  settings.names = {"hall.example"};
  question.host = "hall.example";
  question.address = "127.0.0.1";
  EXPECT_EQ(200, Fetch("/plain").status);
}

TEST_F(HttpFetch, SaysThatNobodyListens) {
  Start();
  question.port = server.Port();
  server.Stop();
  EXPECT_EQ("nobody listens there", Fetch("/plain").problem);
  EXPECT_EQ(0, Fetch("/plain").status);
}

TEST_F(HttpFetch, DoesNotWaitForEver) {
  ZRListenSocket silent;
  std::string reason;
  ASSERT_TRUE(silent.Open("127.0.0.1", 0, reason)) << reason;
  question.port = silent.Port();
  question.milliseconds = 20;
  EXPECT_EQ("there was no answer in time", Fetch("/plain").problem);
}

TEST_F(HttpFetch, SaysThatItIsNoTls) {
  question.isSecure = true;
  EXPECT_EQ("it doesn't speak TLS as it should", Fetch("/plain").problem);
}

TEST(HttpPlace, PutsAnAddressOfIPv6IntoBrackets) {
  ZRHttpQuestion question;
  question.host = "::1";
  question.port = 8480;
  EXPECT_EQ("http://[::1]:8480", HttpPlace(question));
  question.host = "hall.example";
  question.isSecure = true;
  EXPECT_EQ("https://hall.example:8480", HttpPlace(question));
}

}  // namespace
