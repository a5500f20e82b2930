// What clients may take of the server: connections, time, memory. The numbers are small here;
// those in force are in docs/wire/limits.md.
#include <vector>

#include "host/remote/webserverfixture.h"

namespace {

class WebServerLimits : public WebServer {
 protected:
  static constexpr int kSmallBuffer = 4096;
  static constexpr const char* kHalf = "GET /plain HTTP/1.1\r\nHost: local";

  WebServerLimits() {
    server.Put("/take", 1000, [](ZRHttpRequest&, const std::string&, ZRHttpResponse& response) {
      response.Begin(204, kContentNone);
      (void)response.End();
    });
    settings.pace = {kLong, kLong, 1};
  }
  ~WebServerLimits() override { server.Stop(); }

  static std::string Head(const std::string& length) {
    return "PUT /take HTTP/1.1\r\nHost: localhost\r\nContent-Length: " + length + "\r\n\r\n";
  }

  static constexpr std::uint32_t kLong = 100'000;  // longer than any test
  static constexpr std::uint32_t kShort = 20;
};

TEST_F(WebServerLimits, CutAHeadThatNeverComes) {
  settings.pace.headMilliseconds = kShort;
  Start();
  HttpClient silent(server.Port());
  EXPECT_EQ("", silent.ReceiveAll());
  EXPECT_TRUE(silent.IsClosed());
}

// However many of its bytes come.
TEST_F(WebServerLimits, CutAHeadThatNeverEnds) {
  settings.pace.headMilliseconds = kShort;
  Start();
  HttpClient slow(server.Port());
  (void)slow.Send(kHalf);
  while (slow.Send("x"))
    ZRPlatform::Get().Sleep(1);
  EXPECT_EQ("", slow.ReceiveAll());
  EXPECT_EQ(200, Get("/plain").status);
}

TEST_F(WebServerLimits, CutTheHeadOfALaterRequest) {
  settings.pace.headMilliseconds = kShort;
  Start();
  HttpClient slow(server.Port());
  EXPECT_EQ(200, slow.Get("/plain").status);
  (void)slow.Send(kHalf);
  EXPECT_EQ("", slow.ReceiveAll());
  EXPECT_TRUE(slow.IsClosed());
}

TEST_F(WebServerLimits, CutABodyBelowItsSpeed) {
  settings.pace.graceMilliseconds = kShort;
  Start();
  HttpClient slow(server.Port());
  (void)slow.Send(Head("10") + "12345");
  EXPECT_EQ("", slow.ReceiveAll());
  EXPECT_TRUE(slow.IsClosed());
  EXPECT_EQ(200, Get("/plain").status);
}

TEST_F(WebServerLimits, CutAClientThatDoesNotTakeItsAnswer) {
  settings.pace.graceMilliseconds = kShort;
  Answer("/large", kContentXml, std::string(5'000'000, 'x'));
  Start();
  HttpClient slow(server.Port(), kSmallBuffer);
  ASSERT_TRUE(slow.Send("GET /large HTTP/1.1\r\nHost: localhost\r\n\r\n"));
  // The server's side is gone when it takes nothing more.
  while (slow.Send("x"))
    ZRPlatform::Get().Sleep(1);
  EXPECT_FALSE(slow.ReceiveReply().isWhole);
  EXPECT_EQ(200, Get("/plain").status);
}

TEST_F(WebServerLimits, LeaveTimeToWhoeverWaitsForHisAnswer) {
  settings.pace = {kShort, kShort, 1'000'000};
  ZRStateWord allowed(0);
  server.Get("/waits", [&](ZRHttpRequest&, ZRHttpResponse& response) {
    allowed.WaitUntil(1);
    response.Begin(200, kContentNone);
    (void)response.End();
  });
  Start();
  HttpClient patient(server.Port());
  HttpClient silent(server.Port());
  ASSERT_TRUE(patient.Send("GET /waits HTTP/1.1\r\nHost: localhost\r\n\r\n"));
  EXPECT_EQ("", silent.ReceiveAll());  // the watch has cut a client by now
  allowed.Set(1);
  EXPECT_EQ(200, patient.ReceiveReply().status);
}

TEST_F(WebServerLimits, HoldForEachAddress) {
  settings.connectionsPerAddress = 2;
  Start();
  HttpClient first(server.Port());
  EXPECT_EQ(200, first.Get("/plain").status);
  {
    HttpClient second(server.Port());
    EXPECT_EQ(200, second.Get("/plain").status);
    HttpClient third(server.Port());
    EXPECT_EQ(0, third.Get("/plain").status);
    EXPECT_TRUE(third.IsClosed());
    HttpClient other(server.Port(), 0, "127.0.0.2");
    EXPECT_EQ(200, other.Get("/plain").status);
  }
  EXPECT_EQ(200, first.Get("/plain").status);
  while (Get("/plain").status != 200)  // as soon as it has noticed that the second has gone
    ZRPlatform::Get().Sleep(1);
}

TEST_F(WebServerLimits, HoldForAllBodiesTogether) {
  settings.bodyBytes = 1500;
  Start();
  HttpClient first(server.Port());
  (void)first.Send(
      "PUT /take HTTP/1.1\r\nHost: localhost\r\nExpect: 100-continue\r\n"
      "Content-Length: 1000\r\n\r\n");
  EXPECT_EQ(100, first.ReceiveReply(false).status);
  HttpClient second(server.Port());
  (void)second.Send(Head("501") + std::string(501, 'x'));
  const HttpReply refused = second.ReceiveReply();
  EXPECT_EQ(503, refused.status);
  EXPECT_EQ("1", refused.Header("Retry-After"));
  EXPECT_EQ(204, StatusOf(Head("500") + std::string(500, 'x')));
  (void)first.Send(std::string(1000, 'x'));
  EXPECT_EQ(204, first.ReceiveReply().status);
  // What was taken is given back as soon as the server knows that the answers have gone.
  while (StatusOf(Head("1000") + std::string(1000, 'x')) != 204)
    ZRPlatform::Get().Sleep(1);
}

TEST_F(WebServerLimits, HoldForEachHeadToTheByte) {
  Start();
  const std::string start = "GET /plain HTTP/1.1\r\nHost: localhost\r\nX: ";
  const std::string end = "\r\n\r\n";
  const std::size_t room = settings.headerBytes - start.size() - end.size();
  EXPECT_EQ(200, StatusOf(start + std::string(room, 'x') + end));
  EXPECT_EQ(431, StatusOf(start + std::string(room + 1, 'x') + end));
}

TEST_F(WebServerLimits, HoldForEachBody) {
  Start();
  EXPECT_EQ(204, StatusOf(Head("1000") + std::string(1000, 'x')));
  EXPECT_EQ(413, StatusOf(Head("1001")));
}

TEST_F(WebServerLimits, DoNotHoldUpAStop) {
  settings.stopMilliseconds = kLong;
  Start();
  std::vector<std::unique_ptr<HttpClient>> slow;
  for (int i = 0; i < 5; ++i) {
    slow.push_back(std::make_unique<HttpClient>(server.Port()));
    (void)slow.back()->Send(i % 2 == 0 ? kHalf : Head("10") + "12345");
  }
  EXPECT_EQ(200, Get("/plain").status);
  server.Stop();
  for (const auto& client : slow)
    EXPECT_EQ("", client->ReceiveAll());
}

// --- addresses and names ---

class WebServerAddress : public WebServer {
 protected:
  ~WebServerAddress() override { server.Stop(); }

  int StatusFor(const std::string& host) {
    return StatusOf("GET /plain HTTP/1.1\r\nHost: " + host + "\r\n\r\n");
  }
};

TEST_F(WebServerAddress, MayBeEachOfThisMachine) {
  settings.address = "0.0.0.0";
  Start();
  for (const char* address : {"127.0.0.1", "127.0.0.9"}) {
    HttpClient client(server.Port(), 0, "", address);
    EXPECT_EQ(200, client.Get("/plain").status) << address;
  }
}

TEST_F(WebServerAddress, MayBeOneOfTheLoopback) {
  settings.address = "127.0.0.7";
  Start();
  HttpClient client(server.Port(), 0, "", "127.0.0.7");
  for (const char* host : {"127.0.0.7", "localhost", "127.0.0.1:80"}) {
    (void)client.Send("GET /plain HTTP/1.1\r\nHost: " + std::string(host) + "\r\n\r\n");
    EXPECT_EQ(200, client.ReceiveReply().status) << host;
  }
  (void)client.Send("GET /plain HTTP/1.1\r\nHost: 127.0.0.8\r\n\r\n");
  EXPECT_EQ(403, client.ReceiveReply().status);
  EXPECT_FALSE(HttpClient(server.Port()).IsConnected());
}

TEST_F(WebServerAddress, OfIPv6IsThatOfIPv4Too) {
  settings.address = "::";
  ZRString reason;
  if (!server.Start(settings, reason)) GTEST_SKIP() << reason.Text();
  EXPECT_EQ(200, Get("/plain").status);
  for (const char* host : {"[::1]", "[2001:db8::1]:8480", "192.0.2.1"})
    EXPECT_EQ(200, StatusFor(host)) << host;
  EXPECT_EQ(403, StatusFor("a.example"));
}

TEST_F(WebServerAddress, OfTheLoopbackKnowsNoOtherAddress) {
  settings.names = {"hall.example.org"};
  Start();
  EXPECT_EQ(200, StatusFor("hall.example.org:8480"));
  EXPECT_EQ(403, StatusFor("192.0.2.1"));
  EXPECT_EQ(403, StatusFor("a.example"));
}

TEST_F(WebServerAddress, OfTheNetworkKnowsItsNames) {
  settings.address = "0.0.0.0";
  settings.names = {"hall.example.org"};
  Start();
  for (const char* host : {"hall.example.org", "192.0.2.1:8480", "localhost"})
    EXPECT_EQ(200, StatusFor(host)) << host;
  EXPECT_EQ(403, StatusFor("rebound.example"));
}

}  // namespace
