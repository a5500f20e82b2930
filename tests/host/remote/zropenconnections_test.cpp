#include "host/remote/zropenconnections.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "host/platform/zrthread.h"
#include "host/platform/zrvirtualtime.h"

namespace {

class OpenConnections : public testing::Test {
 protected:
  OpenConnections() { EXPECT_EQ(0, ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends)); }
  ~OpenConnections() override {
    (void)::close(ends[0]);
    (void)::close(ends[1]);
  }

  // The other side has been told that nothing more will come.
  bool IsShut() {
    char byte = 0;
    return ::recv(ends[1], &byte, 1, MSG_DONTWAIT) == 0;
  }

  static constexpr ZRPaceLimits kLimits{1000, 2000, 100};

  ZRVirtualTime time;
  ZRSocketBytes bytes;  // of every socket
  bool areCounted = true;
  ZROpenConnections connections{
      [this](int) { return areCounted ? std::optional(bytes) : std::nullopt; }};
  int ends[2] = {-1, -1};
};

TEST_F(OpenConnections, AreShutWhenAllAre) {
  connections.Add(ends[0]);
  EXPECT_FALSE(IsShut());
  connections.ShutAll();
  EXPECT_TRUE(IsShut());
}

TEST_F(OpenConnections, AreShutWhenTheyComeTooLate) {
  connections.ShutAll();
  connections.Add(ends[0]);
  EXPECT_TRUE(IsShut());
}

TEST_F(OpenConnections, AreAllowedAgain) {
  connections.ShutAll();
  connections.Allow(kLimits);
  connections.Add(ends[0]);
  EXPECT_FALSE(IsShut());
}

TEST_F(OpenConnections, AreLeftAloneOnceRemoved) {
  connections.Add(ends[0]);
  connections.Remove(ends[0]);
  connections.ShutAll();
  EXPECT_FALSE(IsShut());
}

TEST_F(OpenConnections, AreWaitedForUntilTheLastIsRemoved) {
  connections.Add(ends[0]);
  connections.Add(ends[1]);
  ZRThread owner;
  ASSERT_TRUE(owner.Start([&] {
    connections.Remove(ends[0]);
    time.Sleep(200);
    connections.Remove(ends[1]);
  }));
  const std::uint32_t start = time.TickCount();
  EXPECT_TRUE(connections.WaitUntilNone(1000));
  EXPECT_EQ(200u, time.TickCount() - start);
}

TEST_F(OpenConnections, AreWaitedForNoLongerThanAsked) {
  connections.Add(ends[0]);
  const std::uint32_t start = time.TickCount();
  EXPECT_FALSE(connections.WaitUntilNone(1000));
  EXPECT_EQ(1000u, time.TickCount() - start);
}

TEST_F(OpenConnections, AreShutWhenTheirHeadTakesTooLong) {
  connections.Allow(kLimits);
  connections.Add(ends[0]);
  time.Sleep(999);
  connections.ShutSlow();
  EXPECT_FALSE(IsShut());
  time.Sleep(1);
  connections.ShutSlow();
  EXPECT_TRUE(IsShut());
}

TEST_F(OpenConnections, MayWaitForTheirRoute) {
  connections.Allow(kLimits);
  connections.Add(ends[0]);
  connections.Begin(ends[0], ZRConnectionStep::kRoute);
  time.Sleep(100'000);
  connections.ShutSlow();
  EXPECT_FALSE(IsShut());
  connections.Begin(ends[1], ZRConnectionStep::kRoute);  // nobody's
}

TEST_F(OpenConnections, MayTakeTheirTimeWhereNothingIsCounted) {
  areCounted = false;
  connections.Allow(kLimits);
  connections.Add(ends[0]);
  time.Sleep(100'000);
  connections.ShutSlow();
  EXPECT_FALSE(IsShut());
}

TEST_F(OpenConnections, AreWatched) {
  connections.Allow(kLimits);
  ZRThread watch;
  ASSERT_TRUE(watch.Start([&] { connections.Watch(100); }));
  time.Sleep(5000);
  connections.Add(ends[0]);
  time.Sleep(1200);
  EXPECT_TRUE(IsShut());
  connections.EndWatch();
  watch.Join();
}

}  // namespace
