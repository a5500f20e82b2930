#include "host/remote/zrconnectionpace.h"

#include <gtest/gtest.h>

namespace {

constexpr ZRPaceLimits kLimits{1000, 2000, 100};  // so 200 bytes are paid for

class ConnectionPace : public testing::Test {
 protected:
  void Begin(ZRConnectionStep step) { pace.Begin(step, kLimits, now, bytes); }
  // A look after some time.
  bool IsTooSlowAfter(std::uint32_t milliseconds) {
    now += milliseconds;
    return pace.IsTooSlow(kLimits, now, bytes);
  }

  std::uint32_t now = 0xFFFFFF00u;  // it wraps soon
  ZRSocketBytes bytes{5000, 7000, 0, 1};
  ZRConnectionPace pace;
};

TEST_F(ConnectionPace, GivesAHeadItsTimeHoweverBusyItIs) {
  Begin(ZRConnectionStep::kHead);
  for (int i = 0; i < 9; ++i) {
    bytes.received += 100'000;
    EXPECT_FALSE(IsTooSlowAfter(100));
  }
  EXPECT_FALSE(IsTooSlowAfter(99));
  bytes.received += 100'000;
  EXPECT_TRUE(IsTooSlowAfter(1));
}

TEST_F(ConnectionPace, CountsTheHeadOfALaterRequestFromItsFirstByte) {
  Begin(ZRConnectionStep::kWaits);
  EXPECT_FALSE(IsTooSlowAfter(100'000));
  ++bytes.received;
  EXPECT_FALSE(IsTooSlowAfter(100));
  EXPECT_FALSE(IsTooSlowAfter(999));
  EXPECT_TRUE(IsTooSlowAfter(1));
}

TEST_F(ConnectionPace, LeavesAConnectionAloneWhileTheServerWorks) {
  Begin(ZRConnectionStep::kRoute);
  EXPECT_FALSE(IsTooSlowAfter(1'000'000));
}

TEST_F(ConnectionPace, LetsABodyFallBehindByItsGrace) {
  Begin(ZRConnectionStep::kBody);
  EXPECT_FALSE(IsTooSlowAfter(2000));
  EXPECT_TRUE(IsTooSlowAfter(1));
}

TEST_F(ConnectionPace, LetsABodyComeAtItsLeastSpeedForEver) {
  Begin(ZRConnectionStep::kBody);
  for (int second = 0; second < 1000; ++second) {
    bytes.received += 100;
    EXPECT_FALSE(IsTooSlowAfter(1000));
  }
}

TEST_F(ConnectionPace, CutsABodyBelowItsLeastSpeed) {
  Begin(ZRConnectionStep::kBody);
  int seconds = 0;
  do {
    bytes.received += 90;
    ++seconds;
    ASSERT_LT(seconds, 100);
  } while (!IsTooSlowAfter(1000));
  EXPECT_EQ(21, seconds) << "it owes 10 bytes more each second, and 200 were paid for";
}

TEST_F(ConnectionPace, DoesNotLetAQuickStartPayForASilence) {
  Begin(ZRConnectionStep::kAnswer);
  bytes.taken += 1'000'000'000;
  EXPECT_FALSE(IsTooSlowAfter(1));
  EXPECT_FALSE(IsTooSlowAfter(2000));
  EXPECT_TRUE(IsTooSlowAfter(1));
}

TEST_F(ConnectionPace, CountsWhatTheClientTakesOfAnAnswer) {
  Begin(ZRConnectionStep::kAnswer);
  for (int second = 0; second < 100; ++second) {
    bytes.taken += 100;
    EXPECT_FALSE(IsTooSlowAfter(1000));
  }
  bytes.received += 1'000'000;
  EXPECT_FALSE(IsTooSlowAfter(2000));
  EXPECT_TRUE(IsTooSlowAfter(1));
}

// The threads of the server may be busy with other clients.
TEST_F(ConnectionPace, BlamesNoClientForTheServersTurn) {
  bytes.unread = 1;
  for (const auto step : {ZRConnectionStep::kHead, ZRConnectionStep::kBody}) {
    Begin(step);
    EXPECT_FALSE(IsTooSlowAfter(100'000));
  }
  bytes.untaken = 0;
  Begin(ZRConnectionStep::kAnswer);
  EXPECT_FALSE(IsTooSlowAfter(100'000));
  bytes.untaken = 1;
  EXPECT_FALSE(IsTooSlowAfter(2000)) << "nothing was charged meanwhile";
  EXPECT_TRUE(IsTooSlowAfter(1));
}

}  // namespace
