#include "host/remote/zrlistensocket.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "support/httpclient.h"

namespace {

TEST(ListenSocket, SaysWhyItCannotListen) {
  EXPECT_EQ("port 8480 of 127.0.0.1 is in use",
            ZRListenSocket::ReasonOf(EADDRINUSE, "127.0.0.1", 8480));
  EXPECT_EQ("port 80 of 127.0.0.1 needs more rights than this process has",
            ZRListenSocket::ReasonOf(EACCES, "127.0.0.1", 80));
  EXPECT_EQ("port 0 of 127.0.0.1 can't be listened on: Too many open files",
            ZRListenSocket::ReasonOf(EMFILE, "127.0.0.1", 0));
  EXPECT_EQ("192.0.2.1 is no address of this machine",
            ZRListenSocket::ReasonOf(EADDRNOTAVAIL, "192.0.2.1", 80));
  EXPECT_EQ("this machine has no addresses of the kind of ::",
            ZRListenSocket::ReasonOf(EAFNOSUPPORT, "::", 80));
}

TEST(ListenSocket, TakesNoNameForAnAddress) {
  ZRListenSocket socket;
  std::string reason;
  for (const char* text : {"", "localhost", "127.1", "1.2.3.4:80", "[::1]", "::1%missing"}) {
    EXPECT_FALSE(socket.Open(text, 0, reason));
    EXPECT_EQ("'" + std::string(text) + "' is no address of IPv4 or IPv6 in digits", reason);
    EXPECT_EQ(0, socket.Port());
  }
}

// 192.0.2.0/24 is set aside for examples: no machine has it.
TEST(ListenSocket, TakesNoAddressOfAnotherMachine) {
  ZRListenSocket socket;
  std::string reason;
  EXPECT_FALSE(socket.Open("192.0.2.1", 0, reason));
  EXPECT_EQ("192.0.2.1 is no address of this machine", reason);
}

TEST(ListenSocket, TakesAFreePortForZero) {
  ZRListenSocket first;
  ZRListenSocket second;
  std::string reason;
  ASSERT_TRUE(first.Open("127.0.0.1", 0, reason)) << reason;
  ASSERT_TRUE(second.Open("127.0.0.1", 0, reason)) << reason;
  EXPECT_NE(0, first.Port());
  EXPECT_NE(first.Port(), second.Port());
}

TEST(ListenSocket, TurnsEverybodyAwayOnceItRefuses) {
  ZRListenSocket socket;
  std::string reason;
  ASSERT_TRUE(socket.Open("127.0.0.1", 0, reason)) << reason;
  EXPECT_TRUE(HttpClient(socket.Port()).IsConnected());
  socket.Refuse();
  EXPECT_FALSE(HttpClient(socket.Port()).IsConnected());
}

}  // namespace
