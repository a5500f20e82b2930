// Who is let in, and what a request is told who isn't.
#include "host/remote/webserverfixture.h"
#include "support/fakeauthenticator.h"

namespace {

using tagKind = ZRLoginVerdict::tagKind;

// Offers /look and, with a body, /take, which note the user; and /open for everybody.
class WebServerLogin : public WebServer {
 protected:
  WebServerLogin() {
    const auto answer = [this](ZRHttpRequest& request, ZRHttpResponse& response) {
      user = request.Authorization().User().Text();
      ++answered;
      response.Begin(status, kContentNone);
      (void)response.End();
    };
    server.Get("/look", answer);
    server.Get("/open", answer, ZRWebServer::tagFor::kEverybody);
    server.Put("/take", 100'000,
               [answer](ZRHttpRequest& request, const std::string&, ZRHttpResponse& response) {
                 answer(request, response);
               });
    server.Authenticate(&authenticator);
  }
  ~WebServerLogin() override { server.Stop(); }

  HttpReply Put(const std::string& body, const std::string& headers) {
    HttpClient client(server.Port());
    (void)client.Send(PutHead(body.size(), headers) + body);
    return client.ReceiveReply();
  }
  static std::string PutHead(std::size_t size, const std::string& headers) {
    return "PUT /take?x=%41 HTTP/1.1\r\nHost: localhost\r\n" + headers +
           "Content-Length: " + std::to_string(size) + "\r\n\r\n";
  }

  static constexpr const char* kAna = "Authorization: ana\r\n";
  FakeAuthenticator authenticator;
  std::string user = "nobody";
  int status = 204;
};

TEST_F(WebServerLogin, IsAskedWithWhatTheRequestSays) {
  Start();
  EXPECT_EQ(204, Get("/look?a=%41&b=+#c", kAna).status);
  EXPECT_EQ("ana", user);
  const auto claims = authenticator.Claims();
  ASSERT_EQ(1u, claims.size());
  EXPECT_EQ("GET", claims[0].method);
  EXPECT_EQ("/look?a=%41&b=+#c", claims[0].target);
  EXPECT_EQ("ana", claims[0].authorization);
  EXPECT_EQ("127.0.0.1", claims[0].peer);
  EXPECT_FALSE(claims[0].isSecure);
}

TEST_F(WebServerLogin, RefusedIsToldEachChallengeAndCanTryAgain) {
  Start();
  HttpClient client(server.Port());
  const HttpReply refused = client.Get("/look", "Authorization: leo\r\n");
  EXPECT_EQ(401, refused.status);
  EXPECT_EQ("401 Unauthorized\n", refused.body);
  EXPECT_NE(std::string::npos, refused.head.find("WWW-Authenticate: Digest realm=\"first\"\r\n"
                                                 "WWW-Authenticate: Basic realm=\"second\"\r\n"));
  EXPECT_EQ(0, answered);
  EXPECT_EQ(204, client.Get("/look", kAna).status) << "on the same connection";
}

TEST_F(WebServerLogin, ThrottledIsToldWhenToTryAgain) {
  authenticator.forAna = tagKind::kThrottled;
  Start();
  const HttpReply reply = Get("/look", kAna);
  EXPECT_EQ(429, reply.status);
  EXPECT_EQ("17", reply.Header("Retry-After"));
  EXPECT_EQ("", reply.Header("WWW-Authenticate"));
  EXPECT_EQ(429, Put("x", kAna).status);
  EXPECT_EQ(0, answered);
}

TEST_F(WebServerLogin, NotNeededLetsEverybodyIn) {
  authenticator.forAna = tagKind::kOpen;
  Start();
  EXPECT_EQ(204, Get("/look", kAna).status);
}

TEST_F(WebServerLogin, IsNotAskedOnAPathForEverybody) {
  Start();
  EXPECT_EQ(204, Get("/open").status);
  EXPECT_EQ("", user);
  EXPECT_TRUE(authenticator.Claims().empty());
}

TEST_F(WebServerLogin, IsNotAskedAboutWhatIsRefusedAnyway) {
  Start();
  EXPECT_EQ(404, Get("/missing").status);
  EXPECT_EQ(405, Get("/take").status);
  EXPECT_EQ(403, StatusOf("GET /look HTTP/1.1\r\nHost: a.example\r\n\r\n"));
  EXPECT_EQ(413, StatusOf(PutHead(100'001, kAna)));
  EXPECT_TRUE(authenticator.Claims().empty());
}

// The answer comes although the body never does.
TEST_F(WebServerLogin, IsJudgedBeforeABodyIsTaken) {
  Start();
  HttpClient client(server.Port());
  ASSERT_TRUE(client.Send(PutHead(100'000, "")));
  const HttpReply reply = client.ReceiveReply();
  EXPECT_EQ(401, reply.status);
  EXPECT_NE("", reply.Header("WWW-Authenticate"));
  EXPECT_EQ("", client.ReceiveAll());
  EXPECT_TRUE(client.IsClosed());
  EXPECT_EQ(0, answered);
}

TEST_F(WebServerLogin, IsNotToldToSendABodyThatNobodyWillRead) {
  Start();
  HttpClient client(server.Port());
  ASSERT_TRUE(client.Send(PutHead(10, "Expect: 100-continue\r\n")));
  EXPECT_EQ(401, client.ReceiveReply().status);
}

TEST_F(WebServerLogin, OfABodyIsJudgedOnce) {
  Start();
  EXPECT_EQ(204, Put(std::string(90'000, 'x'), kAna).status);
  ASSERT_EQ(1u, authenticator.Claims().size());
  EXPECT_EQ("/take?x=%41", authenticator.Claims()[0].target);
  EXPECT_EQ("PUT", authenticator.Claims()[0].method);
  EXPECT_EQ("ana", user);
}

TEST_F(WebServerLogin, ThatSignsItsBodyNeedsThatBody) {
  authenticator.forAna = tagKind::kNeedsBody;
  authenticator.signedBody = "signed";
  Start();
  EXPECT_EQ(204, Put("signed", kAna).status);
  EXPECT_EQ("ana", user);
  EXPECT_EQ("proof", authenticator.proof);
  EXPECT_EQ(1, answered);
  const HttpReply other = Put("another", kAna);
  EXPECT_EQ(401, other.status);
  EXPECT_EQ("Digest realm=\"body\"", other.Header("WWW-Authenticate"));
  EXPECT_EQ(401, Put("", kAna).status);
  EXPECT_EQ(401, Get("/look", kAna).status) << "no body is another than the signed one";
  EXPECT_EQ(1, answered);
}

TEST_F(WebServerLogin, ThatARouteRefusesIsToldTheChallengesToo) {
  status = 401;
  Start();
  const HttpReply reply = Get("/look", kAna);
  EXPECT_EQ(401, reply.status);
  EXPECT_EQ(1, answered);
  EXPECT_EQ("Digest realm=\"first\"", reply.Header("WWW-Authenticate"));
}

TEST_F(WebServerLogin, IsToldOfWhereThereIsANote) {
  std::string notes;
  server.OnLoginNote([&](std::string_view note) { notes.append(note).append("; "); });
  Start();
  EXPECT_EQ(204, Get("/look", kAna).status);
  EXPECT_EQ(401, Get("/look", "Authorization: leo\r\n").status);
  EXPECT_EQ("nobody knows 'leo'; ", notes);
}

// Their heads are judged one by one.
TEST_F(WebServerLogin, IsAskedForEachRequestOfAConnection) {
  Start();
  HttpClient client(server.Port());
  for (const char* headers : {kAna, "", kAna}) {
    ASSERT_TRUE(
        client.Send("GET /look HTTP/1.1\r\nHost: localhost\r\n" + std::string(headers) + "\r\n"));
  }
  for (const int wanted : {204, 401, 204})
    EXPECT_EQ(wanted, client.ReceiveReply().status);
  EXPECT_EQ(3u, authenticator.Claims().size());
}

}  // namespace
