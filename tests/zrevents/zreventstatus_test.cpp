#include "zrevents/zreventstatus.h"

#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>

namespace {

struct tagAllowed {
  int status;
  bool activate, deactivate, acknowledge;
};

TEST(EventStatus, EachMarkIsSetOnceAndTheLaterOnesAfterTheActivation) {
  constexpr std::array<tagAllowed, 8> kTable = {{{0, true, false, false},
                                                 {1, false, true, true},
                                                 {2, true, false, false},
                                                 {3, false, false, true},
                                                 {4, true, false, false},
                                                 {5, false, true, false},
                                                 {6, true, false, false},
                                                 {7, false, false, false}}};
  for (const tagAllowed& row : kTable) {
    EXPECT_EQ(MarkAllowed(row.status, kActivated), row.activate) << row.status;
    EXPECT_EQ(MarkAllowed(row.status, kDeactivated), row.deactivate) << row.status;
    EXPECT_EQ(MarkAllowed(row.status, kAcknowledged), row.acknowledge) << row.status;
  }
}

TEST(EventStatus, NothingButASingleMarkIsAllowed) {
  for (const int status : {0, 1, 4, 5}) {
    for (const int noMark : {-1, 0, 3, 5, 6, 7, 8, 16, 1 << 30})
      EXPECT_FALSE(MarkAllowed(status, noMark)) << status << " and " << noMark;
  }
}

// An occurrence begins with 0, or with 4 if nobody has to acknowledge it.
TEST(EventStatus, ReachesOnlyTheStatusesThatMeanSomething) {
  std::set<int> reached = {0, 4};
  for (int round = 0; round < 3; ++round) {
    const std::set<int> known = reached;
    for (const int status : known) {
      for (const int mark : {kActivated, kDeactivated, kAcknowledged})
        if (MarkAllowed(status, mark)) reached.insert(status | mark);
    }
  }
  EXPECT_EQ(reached, (std::set<int>{0, 1, 3, 4, 5, 7}));
  EXPECT_EQ(kFinished, 7);
}

TEST(EventStatus, HasATextForASingleTransitionOnly) {
  EXPECT_EQ(std::wstring(TransitionText(1)), L"ON");
  EXPECT_EQ(std::wstring(TransitionText(2)), L"OFF");
  EXPECT_EQ(std::wstring(TransitionText(4)), L"ACK");
  for (const int other : {-1, 0, 3, 5, 6, 7, 8})
    EXPECT_EQ(std::wstring(TransitionText(other)), L"NONE") << other;
}

TEST(EventStatus, NumbersOfMomentsAndThreadStatesAreFixed) {
  EXPECT_EQ(kMomentActivate, 0);
  EXPECT_EQ(kMomentWhile, 1);
  EXPECT_EQ(kMomentDeactivate, 2);
  EXPECT_EQ(kMomentAcknowledge, 3);
  EXPECT_EQ(kThreadStarting, 1u);
  EXPECT_EQ(kThreadRunning, 2u);
  EXPECT_EQ(kThreadStopRequested, 3u);
  EXPECT_EQ(kThreadStopped, 4u);
}

}  // namespace
