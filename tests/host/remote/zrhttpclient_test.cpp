#include "host/remote/zrhttpclient.h"

#include <gtest/gtest.h>

#include "host/remote/fakepasswords.h"
#include "host/remote/zrdigestauthenticator.h"
#include "host/remote/zrnetworkwire.h"
#include "host/remote/zrwebserver.h"
#include "support/fakewire.h"

namespace {

std::string Rest(ZRHttpClient& client) {
  std::string text;
  for (int byte = client.Read(); byte >= 0; byte = client.Read())
    text += static_cast<char>(byte);
  return text;
}

std::string Shown(const FakeWire::tagRequest& request) {
  return request.host + "|" + std::to_string(request.port) + "|" + request.path + "|" +
         request.body + "|" + request.login;
}

TEST(Peer, IsAHostAndAPort) {
  for (const char* host : {"localhost", "127.0.0.1", "Meter-7.example.org", "::1", "fe80::1"})
    EXPECT_TRUE(IsPeer(host, 80)) << host;
  for (const char* host :
       {"", " ", "a b", "a/b", "a@b", "a?b", "a#b", "a\r\nb", "[::1]", "a%b", "h\xc3\xb6st", "a_b"})
    EXPECT_FALSE(IsPeer(host, 80)) << host;
  EXPECT_FALSE(IsPeer(std::string_view("a\0b", 3), 80));
  EXPECT_TRUE(IsPeer(std::string(253, 'a'), 80));
  EXPECT_FALSE(IsPeer(std::string(254, 'a'), 80));
  EXPECT_TRUE(IsPeer("a", 1));
  EXPECT_TRUE(IsPeer("a", 65535));
  for (const int port : {0, -1, 65536})
    EXPECT_FALSE(IsPeer("a", port));
}

TEST(HttpClient, PutsWhatItIsGiven) {
  FakeWire wire;
  ZRHttpClient client(true);
  EXPECT_EQ(client.Put("host", 81, "/a", "bodies", 4, nullptr, nullptr), 204);
  EXPECT_EQ(client.Put("host", 82, "/b", nullptr, 0, "ana", "secret"), 204);
  ASSERT_EQ(wire.requests.size(), 2u);
  EXPECT_EQ(Shown(wire.requests[0]), "host|81|/a|bodi|");
  EXPECT_EQ(Shown(wire.requests[1]), "host|82|/b||ana:secret");
}

TEST(HttpClient, AnswerIsReadByteByByteUntilItEnds) {
  FakeWire wire;
  wire.answer = std::string("a\0\xff", 3);
  ZRHttpClient client(true);
  EXPECT_EQ(client.Read(), -1);
  ASSERT_EQ(client.Put("host", 81, "/", "", 0, nullptr, nullptr), 204);
  EXPECT_EQ(client.Read(), 'a');
  EXPECT_EQ(client.Read(), 0);
  EXPECT_EQ(client.Read(), 255);
  EXPECT_EQ(client.Read(), -1);
  EXPECT_EQ(client.Read(), -1);
}

TEST(HttpClient, CancelDropsTheRestOfTheAnswer) {
  FakeWire wire;
  wire.answer = "ab";
  ZRHttpClient client(true);
  ASSERT_EQ(client.Put("host", 81, "/", "", 0, nullptr, nullptr), 204);
  EXPECT_EQ(client.Read(), 'a');
  client.Cancel();
  EXPECT_EQ(client.Read(), -1);
}

TEST(HttpClient, AsksNobodyWhoIsNoPeer) {
  FakeWire wire;
  wire.answer = "ab";
  ZRHttpClient client(true);
  ASSERT_EQ(client.Put("host", 81, "/", "", 0, nullptr, nullptr), 204);
  EXPECT_EQ(client.Put("ho st", 81, "/", "", 0, nullptr, nullptr), 0);
  EXPECT_EQ(client.Read(), -1);
  EXPECT_EQ(client.Put("host", 0, "/", "", 0, nullptr, nullptr), 0);
  EXPECT_EQ(wire.requests.size(), 1u);
}

TEST(HttpClient, KeepsItsConnectionsIfSoMade) {
  FakeWire wire;
  ZRHttpClient keeping(true);
  ZRHttpClient other(false);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(keeping.Put("host", 81, "/", "", 0, nullptr, nullptr), 204);
    keeping.Cancel();
  }
  EXPECT_EQ(wire.exchanges, 1);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(other.Put("host", 81, "/", "", 0, nullptr, nullptr), 204);
    other.Cancel();
  }
  EXPECT_EQ(wire.exchanges, 4);
}

// A web server that takes documents at /in, and says what it got.
class OverTheNetwork : public ::testing::Test {
 protected:
  OverTheNetwork() {
    server.Put("/in", std::size_t{1} << 20,
               [this](ZRHttpRequest&, const std::string& body, ZRHttpResponse& response) {
                 got = body;
                 response.Begin(status, answer.empty() ? kContentNone : kContentText);
                 if (!answer.empty()) response.Write(answer.c_str(), -1);
                 (void)response.End();
               });
    ZRString reason;
    EXPECT_TRUE(server.Start(ZRWebServerSettings(), reason)) << reason.Text();
  }
  ~OverTheNetwork() override { ZRNetworkWire::Get().Allow(ZRNetworks::Private()); }

  int Put(const std::string& body, const char* path = "/in") {
    return client.Put("127.0.0.1", server.Port(), path, body.data(), static_cast<int>(body.size()),
                      nullptr, nullptr);
  }

  std::string got;  // read behind the answer only
  std::string answer;
  int status = 204;
  ZRWebServer server;
  ZRHttpClient client{true};
};

TEST_F(OverTheNetwork, BodyArrivesByteByByte) {
  std::string body;
  for (int i = 0; i < 100'000; ++i)
    body += static_cast<char>(i % 256);
  EXPECT_EQ(Put(body), 204);
  EXPECT_EQ(got, body);
}

TEST_F(OverTheNetwork, StatusAndAnswerComeBack) {
  status = 400;
  answer = "That isn't so.\n";
  EXPECT_EQ(Put("x"), 400);
  EXPECT_EQ(Rest(client), answer);
  EXPECT_EQ(Put("x", "/elsewhere"), 404);
}

TEST_F(OverTheNetwork, AnswerAboveItsBoundIsNone) {
  status = 200;
  answer = std::string(ZRNetworkWire::kMostAnswerBytes, 'a');
  EXPECT_EQ(Put("x"), 200);
  EXPECT_EQ(Rest(client), answer);
  answer += "a";
  EXPECT_EQ(Put("x"), 0);
  EXPECT_EQ(Rest(client), "");
}

TEST_F(OverTheNetwork, NobodyThereIsStatusZero) {
  const int port = server.Port();
  server.Stop();
  EXPECT_EQ(client.Put("127.0.0.1", port, "/in", "", 0, nullptr, nullptr), 0);
}

TEST_F(OverTheNetwork, ServerOutsideTheAllowedNetworksIsNotAsked) {
  ZRNetworks others;
  ASSERT_TRUE(others.Add("10.0.0.0/8"));
  ZRNetworkWire::Get().Allow(others);
  got = "nothing";
  EXPECT_EQ(Put("x"), 0);
  EXPECT_EQ(got, "nothing");
}

// --- a server with users ---

class OverTheNetworkWithALogin : public ::testing::Test {
 protected:
  OverTheNetworkWithALogin() {
    passwords.Add("ana", "secret");
    server.Authenticate(&authenticator);
    server.Put("/in", std::size_t{1} << 20,
               [this](ZRHttpRequest& request, const std::string& body, ZRHttpResponse& response) {
                 got.push_back(std::string(request.Authorization().User().View()) + ":" + body);
                 response.Begin(204, kContentNone);
                 (void)response.End();
               });
    ZRString reason;
    EXPECT_TRUE(server.Start(ZRWebServerSettings(), reason)) << reason.Text();
  }
  ~OverTheNetworkWithALogin() override { ZRNetworkWire::Get().SetAccounts({}); }

  int Put(const std::string& body, const char* user = nullptr, const char* password = nullptr) {
    return client.Put("127.0.0.1", server.Port(), "/in", body.data(), static_cast<int>(body.size()),
                      user, password);
  }

  FakePasswords passwords;
  ZRDigestAuthenticator authenticator{passwords};
  std::vector<std::string> got;  // read behind the answer only
  ZRWebServer server;
  ZRHttpClient client{true};
};

TEST_F(OverTheNetworkWithALogin, RequestIsSigned) {
  EXPECT_EQ(Put("a", "ana", "secret"), 204);
  EXPECT_EQ(Put("b", "ana", "secret"), 204);
  EXPECT_EQ(got, (std::vector<std::string>{"ana:a", "ana:b"}));
}

TEST_F(OverTheNetworkWithALogin, NobodyAndAWrongPasswordAreRefused) {
  EXPECT_EQ(Put("a"), 401);
  EXPECT_EQ(Put("a", "ana", "wrong"), 401);
  EXPECT_EQ(Put("a", "bob", "secret"), 401);
  EXPECT_TRUE(got.empty());
}

TEST_F(OverTheNetworkWithALogin, AccountOfTheServerIsUsedWithoutALogin) {
  ZRNetworkWire::Get().SetAccounts({{"127.0.0.1", server.Port() + 1, "bob", "x"},
                                    {"127.0.0.1", server.Port(), "ana", "secret"}});
  EXPECT_EQ(Put("a"), 204);
  EXPECT_EQ(got, std::vector<std::string>{"ana:a"});
}

}  // namespace
