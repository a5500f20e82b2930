#include "zrevents/actions/zrstartedprocesses.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/actiontest.h"

namespace {

class StartedProcesses : public ::testing::Test {
 protected:
  [[nodiscard]] bool Start() { return processes.Start({"/bin/tool", {}, ""}); }

  RecordingTime time;
  ZRStartedProcesses processes;
};

TEST_F(StartedProcesses, AreGivenBackWhenTheyHaveEnded) {
  EXPECT_TRUE(Start());
  EXPECT_TRUE(Start());
  EXPECT_TRUE(Start());
  processes.Reap();
  EXPECT_EQ(processes.Size(), 3u);
  time.living = {2};
  processes.Reap();
  EXPECT_EQ(processes.Size(), 1u);
  time.asked.clear();
  processes.Reap();
  EXPECT_EQ(time.asked, std::vector<int>{2}) << "those that are gone aren't asked for again";
  time.living.clear();
  processes.Reap();
  EXPECT_EQ(processes.Size(), 0u);
}

TEST_F(StartedProcesses, OnlyTheirIdsAreAskedFor) {
  for (int count = 0; count < 40; ++count)
    EXPECT_TRUE(Start());
  processes.Reap();
  EXPECT_TRUE(std::all_of(time.asked.begin(), time.asked.end(),
                          [](int process) { return process >= 1 && process <= 40; }));
}

// Without a tick the list stays as short as what runs.
TEST_F(StartedProcesses, EachStartGivesSomeBack) {
  for (int count = 0; count < 1000; ++count) {
    EXPECT_TRUE(Start());
    time.living.clear();
  }
  EXPECT_EQ(processes.Size(), 1u);
}

// A start must not become slow because much runs.
TEST_F(StartedProcesses, EachStartAsksForAFewInTurn) {
  for (int count = 0; count < 100; ++count)
    EXPECT_TRUE(Start());
  time.asked.clear();
  for (int count = 0; count < 10; ++count)
    EXPECT_TRUE(Start());
  EXPECT_LE(time.asked.size(), 160u);
  const std::set<int> different(time.asked.begin(), time.asked.end());
  EXPECT_GE(different.size(), 100u) << "everybody's turn comes";
}

TEST_F(StartedProcesses, NoMoreThanTheMostRunAtOnce) {
  for (std::size_t count = 0; count < ZRStartedProcesses::kMost; ++count)
    ASSERT_TRUE(Start());
  EXPECT_FALSE(Start());
  EXPECT_EQ(time.started.size(), ZRStartedProcesses::kMost);
  time.living.erase(4000);
  EXPECT_TRUE(Start()) << "one has ended";
  EXPECT_FALSE(Start());
}

TEST_F(StartedProcesses, WhatCannotBeStartedIsNotKept) {
  time.refused.insert("/bin/tool");
  EXPECT_FALSE(Start());
  EXPECT_EQ(processes.Size(), 0u);
}

// The engine's own thread ticks once a second.
TEST_F(StartedProcesses, EngineGivesThemBackWhileItRuns) {
  ZREventServer server;
  ASSERT_TRUE(server.Start());
  time.Advance(0);
  ASSERT_TRUE(ZRStartedProcesses::Get().Start({"/bin/tool", {}, ""}));
  EXPECT_EQ(ZRStartedProcesses::Get().Size(), 1u);
  time.living.clear();
  time.Advance(1000);
  EXPECT_EQ(ZRStartedProcesses::Get().Size(), 0u);
  server.Stop();
}

}  // namespace
