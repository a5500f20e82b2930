#include "tessaly/zreventcounts.h"

#include <gtest/gtest.h>

#include <string>

#include "zrevents/zreventstatus.h"

namespace {

constexpr std::int64_t kBegin = 1'000'000;  // ms

// "activations deactivations acknowledgements seconds"
std::string Shown(const ZREventCounts& counts, std::int64_t now = 0) {
  return std::to_string(counts.Activations()) + " " + std::to_string(counts.Deactivations()) + " " +
         std::to_string(counts.Acknowledgements()) + " " + std::to_string(counts.Seconds(now));
}

TEST(EventCounts, CountMarksAndWholeSecondsOfEachActivity) {
  ZREventCounts counts(kBegin);
  EXPECT_EQ(Shown(counts, kBegin + 5000), "0 0 0 0");
  counts.Note(kActivated, kBegin);
  EXPECT_EQ(Shown(counts, kBegin + 1999), "1 0 0 1");
  counts.Note(kAcknowledged, kBegin + 2000);
  counts.Note(kDeactivated, kBegin + 2999);
  EXPECT_EQ(Shown(counts, kBegin + 9000), "1 1 1 2");
  counts.Note(kActivated, kBegin + 10'000);
  counts.Note(kDeactivated, kBegin + 12'999);
  EXPECT_EQ(Shown(counts, kBegin + 20'000), "2 2 1 4") << "each is cut on its own";
}

TEST(EventCounts, LeaveOutWhatWasBeforeButNotTheSecondsSince) {
  ZREventCounts counts(kBegin);
  counts.Note(kActivated, kBegin - 5000);
  counts.Note(kAcknowledged, kBegin - 1);
  EXPECT_EQ(Shown(counts, kBegin + 3000), "0 0 0 3");
  counts.Note(kDeactivated, kBegin + 4000);
  EXPECT_EQ(Shown(counts, kBegin + 9000), "0 1 0 4");
}

TEST(EventCounts, EndBeforeThePeriodAddsNothing) {
  ZREventCounts counts(kBegin);
  counts.SupposeActive();
  counts.Note(kDeactivated, kBegin - 1);
  EXPECT_EQ(Shown(counts, kBegin + 9000), "0 0 0 0");
}

TEST(EventCounts, WhatWasSupposedIsActiveUntilAMarkTellsOtherwise) {
  ZREventCounts ended(kBegin);
  ended.SupposeActive();
  ended.Note(kDeactivated, kBegin + 7000);
  EXPECT_EQ(Shown(ended), "0 1 0 7");
  ZREventCounts began(kBegin);
  began.SupposeActive();
  began.Note(kActivated, kBegin + 7000);
  began.Note(kDeactivated, kBegin + 9000);
  EXPECT_EQ(Shown(began), "1 1 0 2");
  ZREventCounts all;
  all.SupposeActive();
  all.Note(kDeactivated, kBegin);
  EXPECT_EQ(Shown(all), "0 1 0 0") << "of a period without a beginning it isn't known since when";
}

TEST(EventCounts, SecondEndAddsNothing) {
  ZREventCounts counts(kBegin);
  counts.Note(kActivated, kBegin);
  counts.Note(kDeactivated, kBegin + 1000);
  counts.Note(kDeactivated, kBegin + 9000);
  EXPECT_EQ(Shown(counts), "1 2 0 1");
}

TEST(EventCounts, AddWhatWasBeforeWithoutItsOpenOccurrence) {
  ZREventCounts earlier(kBegin);
  earlier.Note(kActivated, kBegin);
  earlier.Note(kDeactivated, kBegin + 3000);
  earlier.Note(kAcknowledged, kBegin + 4000);
  earlier.Note(kActivated, kBegin + 10'000);
  ZREventCounts counts(kBegin);
  counts.Note(kActivated, kBegin + 60'000);
  counts.Add(earlier);
  EXPECT_EQ(Shown(counts, kBegin + 62'000), "3 1 1 5");
}

TEST(EventCounts, RestartCountsWhatIsActiveFromThereOn) {
  ZREventCounts counts(kBegin);
  counts.Note(kActivated, kBegin + 1000);
  counts.Restart(2 * kBegin);
  EXPECT_EQ(Shown(counts, 2 * kBegin + 5000), "0 0 0 5");
  counts.Note(kDeactivated, 2 * kBegin + 6000);
  EXPECT_EQ(Shown(counts), "0 1 0 6");
  counts.Restart(3 * kBegin);
  EXPECT_EQ(Shown(counts, 4 * kBegin), "0 0 0 0");
  EXPECT_EQ(counts.Begin(), 3 * kBegin);
}

TEST(EventCounts, ClockThatIsSetBackTakesNoSecondsAway) {
  ZREventCounts counts(kBegin);
  counts.Note(kActivated, kBegin + 5000);
  EXPECT_EQ(Shown(counts, kBegin + 1000), "1 0 0 0");
  counts.Note(kDeactivated, kBegin + 1000);
  EXPECT_EQ(Shown(counts), "1 1 0 0");
}

}  // namespace
