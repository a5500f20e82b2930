#include "tessaly/zrperiod.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "support/text.h"

namespace {

std::string Shown(const std::optional<ZRDateTime>& instant) {
  return instant ? Narrow(instant->ToCompleteWString()) : "none";
}

// A site in Madrid: an hour ahead of UTC in winter, two in summer.
class Period : public ::testing::Test {
 protected:
  Period() { EXPECT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid")); }
  ~Period() override { (void)ZRDateTime::SetLocalZone(""); }

  static std::string Shown(const std::optional<ZRPeriod>& period) {
    return period ? Narrow(period->from.ToCompleteWString()) + " " +
                        Narrow(period->to.ToCompleteWString())
                  : "none";
  }
  // In the middle of November 2026.
  static std::string Around(const char* from, const char* to) {
    ZRDateTime now;
    now.SetDate(2026, 11, 21);
    const char* reason = nullptr;
    const std::string shown = Shown(ParsePeriodAround(now, from, to, reason));
    return reason != nullptr ? reason : shown;
  }
};

TEST_F(Period, InstantIsReadInEachOfItsForms) {
  const std::pair<const char*, const char*> cases[] = {
      {"21112026080509", "2026-11-21T08:05:09.000Z"},
      {"29022024235959", "2024-02-29T23:59:59.000Z"},
      {"2026-11-21", "2026-11-21T00:00:00.000Z"},
      {"2026-11-21T08:05", "2026-11-21T08:05:00.000Z"},
      {"2026-11-21 08:05:09", "2026-11-21T08:05:09.000Z"},
      {"2026-11-21t08:05:09.2z", "2026-11-21T08:05:09.200Z"},
      {"2026-11-21T08:05:09,25Z", "2026-11-21T08:05:09.250Z"},
      {"2026-11-21T08:05:09.123999999Z", "2026-11-21T08:05:09.123Z"},
      {"2026-11-21T00:30+01:00", "2026-11-20T23:30:00.000Z"},
      {"2026-11-21T00:30:00-0130", "2026-11-21T02:00:00.000Z"},
      {"2026-11-21T00:30:00.5+05", "2026-11-20T19:30:00.500Z"},
      {"0001-01-01", "0001-01-01T00:00:00.000Z"},
      {"9999-12-31T23:59:59.999", "9999-12-31T23:59:59.999Z"},
  };
  for (const auto& [text, instant] : cases)
    EXPECT_EQ(::Shown(ParseInstant(text, ZRReading::kUtc)), instant) << text;
}

TEST_F(Period, OtherTextIsNoInstant) {
  for (const char* text : {"",
                           " ",
                           "now",
                           "2026",
                           "2026-11",
                           "2026-11-21T",
                           "2026-11-21T08",
                           "2026-11-21T8:05",
                           "2026-11-21Z",
                           "2026-11-21+01:00",
                           "2026-11-21T08:05:",
                           "2026-11-21T08:05:09.",
                           "2026-11-21T08:05:09.Z",
                           "2026-11-21T08:05+",
                           "2026-11-21T08:05+1",
                           "2026-11-21T08:05+24",
                           "2026-11-21T08:05+01:60",
                           "2026-11-21T08:05+01:",
                           "2026-11-21T08:05+01:000",
                           "2026-11-21T08:05:09ZZ",
                           "2026-11-21T08:05:09Z ",
                           " 2026-11-21",
                           "2026-13-01",
                           "2026-02-29",
                           "2026-11-31",
                           "2026-11-21T24:00",
                           "2026-11-21T08:60",
                           "2026-11-21T08:05:60",
                           "0000-01-01",
                           "0001-01-01T00:00+01:00",
                           "9999-12-31T23:59-01:00",
                           "2111202608050",
                           "211120260805090",
                           "20261121080509",
                           "31022026000000",
                           "2026-11-21  08:05",
                           "2026-11-21_08:05",
                           "+026-11-21",
                           "-026-11-21",
                           "2026-11-21T08:05.5"})
    EXPECT_EQ(::Shown(ParseInstant(text, ZRReading::kUtc)), "none") << text;
  EXPECT_EQ(::Shown(ParseInstant(std::string_view("2026-11-21\0", 11), ZRReading::kUtc)), "none");
}

TEST_F(Period, LocalReadingIsThatOfTheSite) {
  const std::pair<const char*, const char*> cases[] = {
      {"21112026080509", "2026-11-21T07:05:09.000Z"},
      {"2026-07-01", "2026-06-30T22:00:00.000Z"},
      {"2026-07-01T00:00Z", "2026-07-01T00:00:00.000Z"},
      {"2026-07-01T00:00+05:00", "2026-06-30T19:00:00.000Z"},
  };
  for (const auto& [text, instant] : cases)
    EXPECT_EQ(::Shown(ParseInstant(text, ZRReading::kLocal)), instant) << text;
}

TEST_F(Period, RunsFromOneInstantToTheOther) {
  const char* reason = nullptr;
  EXPECT_EQ(Shown(ParsePeriod("01112026000000", "2026-11-01T00:00:01", ZRReading::kUtc, reason)),
            "2026-11-01T00:00:00.000Z 2026-11-01T00:00:01.000Z");
  EXPECT_EQ(reason, nullptr);
  EXPECT_EQ(Shown(ParsePeriod("2026-11-01", "2026-11-01", ZRReading::kUtc, reason)),
            "2026-11-01T00:00:00.000Z 2026-11-01T00:00:00.000Z");
}

TEST_F(Period, RefusalHasAReason) {
  const char* reason = nullptr;
  EXPECT_FALSE(ParsePeriod("", "2026-11-01", ZRReading::kUtc, reason));
  EXPECT_STREQ(reason, "from is no date: 21112026080509 or 2026-11-21T08:05:09Z");
  EXPECT_FALSE(ParsePeriod("2026-11-01", "soon", ZRReading::kUtc, reason));
  EXPECT_STREQ(reason, "to is no date: 21112026080509 or 2026-11-21T08:05:09Z");
  EXPECT_FALSE(ParsePeriod("2026-11-02", "2026-11-01T23:59:59.999", ZRReading::kUtc, reason));
  EXPECT_STREQ(reason, "from lies behind to");
}

TEST_F(Period, IsCutToTheYearsOfRecords) {
  const char* reason = nullptr;
  EXPECT_EQ(Shown(ParsePeriod("0001-01-01", "9999-12-31", ZRReading::kUtc, reason)),
            "1970-01-01T00:00:00.000Z 2100-01-01T00:00:00.000Z");
  EXPECT_EQ(Shown(ParsePeriod("2500-01-01", "9999-12-31", ZRReading::kUtc, reason)),
            "2100-01-01T00:00:00.000Z 2100-01-01T00:00:00.000Z");
}

TEST_F(Period, IsThisMonthUnlessItSaysMore) {
  EXPECT_EQ(Around("", ""), "2026-10-31T23:00:00.000Z 2026-11-30T23:00:00.000Z");
  EXPECT_EQ(Around("2026-02-03", ""), "2026-02-02T23:00:00.000Z 2026-11-30T23:00:00.000Z");
  EXPECT_EQ(Around("", "2026-09-30"), "2026-08-31T22:00:00.000Z 2026-09-29T22:00:00.000Z");
  EXPECT_EQ(Around("", "2027-01-01"), "2026-11-30T23:00:00.000Z 2026-12-31T23:00:00.000Z");
  EXPECT_EQ(Around("2027-01-01", ""), "from lies behind to");
  EXPECT_EQ(Around("x", ""), "from is no date: 21112026080509 or 2026-11-21T08:05:09Z");
  EXPECT_EQ(Around("", "x"), "to is no date: 21112026080509 or 2026-11-21T08:05:09Z");
}

}  // namespace
