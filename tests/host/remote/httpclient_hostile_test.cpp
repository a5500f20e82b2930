// Servers that answer as no decent one does.
#include <gtest/gtest.h>

#include "host/remote/zrhttpclient.h"
#include "host/remote/zrnetworkwire.h"
#include "support/scriptedserver.h"

namespace {

using tagConversation = ScriptedServer::CConversation;

constexpr const char* kHead = "HTTP/1.1 204 No Content\r\nConnection: close\r\n";

int PutTo(const ScriptedServer& server) {
  ZRHttpClient client(true);
  const int status = client.Put("127.0.0.1", server.Port(), "/in", "body", 4, nullptr, nullptr);
  EXPECT_EQ(status != 0 ? -1 : client.Read(), -1) << "what came before is dropped";
  return status;
}

int StatusOf(const std::string& answer) {
  const ScriptedServer server([&](tagConversation& talk, const std::string&) { talk.Say(answer); });
  return PutTo(server);
}

TEST(HostileServer, WithAnEndlessAnswerIsLeftBehind) {
  std::atomic<std::size_t> said{0};
  {
    const ScriptedServer server([&](tagConversation& talk, const std::string&) {
      const std::string piece(1000, 'a');
      talk.Say("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
      while (talk.Say(piece))
        said += piece.size();
    });
    EXPECT_EQ(PutTo(server), 0);
  }
  // What the system holds on both ends, besides the 64 KiB that were taken.
  EXPECT_LT(said, std::size_t{16} * 1024 * 1024);
}

TEST(HostileServer, ThatAnnouncesAnEndlessAnswerIsLeftBehind) {
  const std::string body(ZRNetworkWire::kMostAnswerBytes + 1, 'a');
  EXPECT_EQ(StatusOf("HTTP/1.1 204 OK\r\nContent-Length: 99999999999999\r\n\r\n"), 204)
      << "204 has no body";
  EXPECT_EQ(StatusOf("HTTP/1.1 200 OK\r\nContent-Length: 99999999999999\r\n\r\n" + body), 0);
}

TEST(HostileServer, RedirectIsNotFollowed) {
  const ScriptedServer elsewhere(
      [](tagConversation& talk, const std::string&) { talk.Say(std::string(kHead) + "\r\n"); });
  for (const int status : {301, 302, 303, 307, 308}) {
    EXPECT_EQ(StatusOf("HTTP/1.1 " + std::to_string(status) +
                       " Elsewhere\r\nContent-Length: 0\r\nLocation: http://127.0.0.1:" +
                       std::to_string(elsewhere.Port()) + "/in\r\n\r\n"),
              status);
  }
  EXPECT_EQ(elsewhere.Requests(), 0);
}

TEST(HostileServer, WhatIsNoAnswerIsStatusZero) {
  for (const std::string& answer :
       {std::string(), std::string("\r\n"), std::string(100'000, '\0'),
        std::string("HTTP/9.9 204 x\r\n\r\n"), std::string("204\r\n\r\n"),
        std::string("HTTP/1.1 200 OK\r\nContent-Length: 10\r\nConnection: close\r\n\r\nshort"),
        std::string("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n")})
    EXPECT_EQ(StatusOf(answer), 0) << answer.substr(0, 60);
}

TEST(HostileServer, LongHeadIsNoAnswer) {
  std::string head(kHead);
  for (int i = 0; i < 200; ++i)
    head += "X-" + std::to_string(i) + ": " + std::string(8000, 'x') + "\r\n";
  EXPECT_EQ(StatusOf(head + "\r\n"), 0);
}

TEST(HostileServer, StatusesAreToldAsTheyAre) {
  for (const int status : {200, 201, 400, 401, 500, 599})
    EXPECT_EQ(StatusOf("HTTP/1.1 " + std::to_string(status) + " x\r\nContent-Length: 0\r\n\r\n"),
              status);
}

// A challenge that nobody here has a password for, or that can't be signed.
TEST(HostileServer, SignatureIsOnlyGivenWithAnAccount) {
  const std::string challenge =
      "HTTP/1.1 401 x\r\nContent-Length: 0\r\nWWW-Authenticate: Digest realm=\"a\", nonce=\"" +
      std::string(50'000, 'n') + "\", qop=\"auth-int\", algorithm=SHA-256\r\n\r\n";
  const ScriptedServer server(
      [&](tagConversation& talk, const std::string&) { talk.Say(challenge); });
  EXPECT_EQ(PutTo(server), 401);
  EXPECT_EQ(server.Requests(), 1);
}

}  // namespace
