#include "tessaly/zrcountperiod.h"

#include <gtest/gtest.h>

#include <string>

#include "host/platform/zrvirtualtime.h"
#include "support/text.h"
#include "tessaly/zrperiod.h"

namespace {

std::int64_t Instant(const std::string& text) {
  return ParseInstant(text, ZRReading::kUtc)->UtcMilliseconds();
}

class CountPeriod : public ::testing::Test {
 protected:
  ~CountPeriod() override { (void)ZRDateTime::SetLocalZone(""); }

  static void Zone(const char* name) { ASSERT_TRUE(ZRDateTime::SetLocalZone(name)); }
  // The two instants, in UTC.
  static std::string Around(const char* unit, const std::string& utc) {
    const ZRCountPeriod period = CountPeriodAround(CountUnit(unit), Instant(utc));
    return Narrow(ZRDateTime::FromUtcMilliseconds(period.begin).ToCompleteWString()) + " " +
           Narrow(ZRDateTime::FromUtcMilliseconds(period.next).ToCompleteWString());
  }

  ZRVirtualTime time;
};

TEST_F(CountPeriod, IsOfTheCalendarOfTheSite) {
  Zone("Europe/Madrid");
  EXPECT_EQ(Around("day", "2026-01-14T23:30"), "2026-01-14T23:00:00.000Z 2026-01-15T23:00:00.000Z");
  EXPECT_EQ(Around("month", "2026-01-31T22:59:59.999"),
            "2025-12-31T23:00:00.000Z 2026-01-31T23:00:00.000Z");
  EXPECT_EQ(Around("month", "2026-01-31T23:00"),
            "2026-01-31T23:00:00.000Z 2026-02-28T23:00:00.000Z");
  EXPECT_EQ(Around("month", "2026-12-31T12:00"),
            "2026-11-30T23:00:00.000Z 2026-12-31T23:00:00.000Z");
  EXPECT_EQ(Around("year", "2026-12-31T23:30"),
            "2026-12-31T23:00:00.000Z 2027-12-31T23:00:00.000Z");
}

TEST_F(CountPeriod, WeekBeginsOnMonday) {
  const std::string week = "2026-11-16T00:00:00.000Z 2026-11-23T00:00:00.000Z";
  EXPECT_EQ(Around("week", "2026-11-16T00:00"), week);
  EXPECT_EQ(Around("week", "2026-11-21T12:00"), week);
  EXPECT_EQ(Around("week", "2026-11-22T23:59"), week);
  EXPECT_EQ(Around("week", "2026-11-23T00:00"),
            "2026-11-23T00:00:00.000Z 2026-11-30T00:00:00.000Z");
  EXPECT_EQ(Around("week", "2027-01-01T00:00"),
            "2026-12-28T00:00:00.000Z 2027-01-04T00:00:00.000Z");
}

TEST_F(CountPeriod, GoesFromMidnightToMidnightWhereTheClockChanges) {
  Zone("Europe/Madrid");
  EXPECT_EQ(Around("day", "2026-03-29T10:00"), "2026-03-28T23:00:00.000Z 2026-03-29T22:00:00.000Z");
  EXPECT_EQ(Around("day", "2026-10-25T10:00"), "2026-10-24T22:00:00.000Z 2026-10-25T23:00:00.000Z");
  EXPECT_EQ(Around("month", "2026-03-29T10:00"),
            "2026-02-28T23:00:00.000Z 2026-03-31T22:00:00.000Z");
  // Where midnight itself is left out, or comes twice.
  Zone("America/Asuncion");
  EXPECT_EQ(Around("day", "2023-10-01T12:00"), "2023-10-01T04:00:00.000Z 2023-10-02T03:00:00.000Z");
  Zone("America/Havana");
  EXPECT_EQ(Around("day", "2023-11-05T12:00"), "2023-11-05T04:00:00.000Z 2023-11-06T05:00:00.000Z");
}

TEST_F(CountPeriod, OfAllNeitherBeginsNorEnds) {
  const ZRCountPeriod all = CountPeriodAround(CountUnit("all"), Instant("2026-01-01"));
  EXPECT_EQ(all.begin, ZRCountPeriod::kNever);
  EXPECT_EQ(all.next, ZRCountPeriod::kForever);
  EXPECT_FALSE(all.IsToBeLeft(0));
  EXPECT_FALSE(all.IsToBeLeft(Instant("2099-01-01")));
}

TEST_F(CountPeriod, IsLeftWhenItIsOverOrTheClockIsFarBeforeIt) {
  const ZRCountPeriod month = CountPeriodAround(CountUnit("month"), Instant("2026-02-10"));
  EXPECT_FALSE(month.IsToBeLeft(Instant("2026-02-28T23:59:59.999")));
  EXPECT_TRUE(month.IsToBeLeft(Instant("2026-03-01")));
  EXPECT_FALSE(month.IsToBeLeft(Instant("2026-01-31")));
  EXPECT_TRUE(month.IsToBeLeft(Instant("2026-01-30T23:59:59.999")));
}

}  // namespace
