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
