#include "host/tools/zrdatetime.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "host/platform/zrthread.h"
#include "host/platform/zrvirtualtime.h"

namespace {

constexpr std::int64_t kHour = 3'600'000;

ZRDateTime Reading(int year, int month, int day, int hour, int minute, int second,
                   int millisecond = 0) {
  ZRDateTime date;
  date.SetDateTime(year, month, day, hour, minute, second, millisecond, 0);
  return date;
}

std::wstring Complete(const ZRDateTime& date) {
  return date.ToCompleteWString().Text();
}

class DateTime : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid")); }
  void TearDown() override { ASSERT_TRUE(ZRDateTime::SetLocalZone("")); }
};

TEST_F(DateTime, DefaultIsInvalid) {
  const ZRDateTime date;
  EXPECT_FALSE(date.Valid());
  EXPECT_FALSE(date.isValidDate());
  EXPECT_EQ(0, date.Year() + date.Month() + date.Day() + date.Hour() + date.Minute() +
                   date.Second() + date.Millisecond() + date.DayOfWeek());
  EXPECT_EQ(0, date.UtcMilliseconds());
  EXPECT_EQ(0.0, static_cast<double>(date));
  EXPECT_FALSE(date.LTC2UTC().Valid());
  EXPECT_FALSE(date.UTC2LTC().Valid());
  EXPECT_TRUE(date.ToCompleteWString().IsEmpty());
}

TEST_F(DateTime, ShowsItsFields) {
  const ZRDateTime date = Reading(2026, 11, 21, 8, 5, 9, 250);
  EXPECT_EQ(2026, date.Year());
  EXPECT_EQ(11, date.Month());
  EXPECT_EQ(21, date.Day());
  EXPECT_EQ(8, date.Hour());
  EXPECT_EQ(5, date.Minute());
  EXPECT_EQ(9, date.Second());
  EXPECT_EQ(250, date.Millisecond());
  EXPECT_EQ(6, date.DayOfWeek());
  EXPECT_EQ(L"2026-11-21T08:05:09.250Z", Complete(date));
}

TEST_F(DateTime, DayOfWeekCountsFromSunday) {
  EXPECT_EQ(0, Reading(2026, 11, 22, 0, 0, 0).DayOfWeek());
  EXPECT_EQ(1, Reading(2026, 11, 23, 0, 0, 0).DayOfWeek());
  EXPECT_EQ(4, Reading(1970, 1, 1, 0, 0, 0).DayOfWeek());
  EXPECT_EQ(1, Reading(1, 1, 1, 0, 0, 0).DayOfWeek());
}

TEST_F(DateTime, SetDateIsMidnight) {
  ZRDateTime date = Reading(2026, 11, 21, 8, 5, 9, 250);
  date.SetDate(2024, 2, 29);
  EXPECT_EQ(L"2024-02-29T00:00:00.000Z", Complete(date));
}

TEST_F(DateTime, FieldsThatDoNotExistInvalidate) {
  const int bad[][7] = {
      {0, 1, 1, 0, 0, 0, 0},     {10000, 1, 1, 0, 0, 0, 0},   {2026, 0, 1, 0, 0, 0, 0},
      {2026, 13, 1, 0, 0, 0, 0}, {2026, 1, 0, 0, 0, 0, 0},    {2026, 2, 29, 0, 0, 0, 0},
      {2026, 4, 31, 0, 0, 0, 0}, {2026, 1, 1, 24, 0, 0, 0},   {2026, 1, 1, 0, 60, 0, 0},
      {2026, 1, 1, 0, 0, 60, 0}, {2026, 1, 1, 0, 0, 0, 1000}, {2026, 1, 1, -1, 0, 0, 0},
      {2026, -1, 1, 0, 0, 0, 0}, {1900, 2, 29, 0, 0, 0, 0},   {INT_MIN, 1, 1, 0, 0, 0, 0},
      {2026, 1, 257, 0, 0, 0, 0}};
  for (const auto& f : bad) {
    ZRDateTime date = Reading(2026, 1, 1, 0, 0, 0);
    date.SetDateTime(f[0], f[1], f[2], f[3], f[4], f[5], f[6], 0);
    EXPECT_FALSE(date.Valid()) << f[0] << " " << f[1] << " " << f[2];
  }
}

TEST_F(DateTime, InvalidateInvalidates) {
  ZRDateTime date = Reading(2026, 1, 1, 0, 0, 0);
  ASSERT_TRUE(date.Valid());
  date.Invalidate();
  EXPECT_FALSE(date.Valid());
}

TEST_F(DateTime, CoversTheYears1To9999) {
  EXPECT_EQ(L"0001-01-01T00:00:00.000Z", Complete(Reading(1, 1, 1, 0, 0, 0)));
  const ZRDateTime last = Reading(9999, 12, 31, 23, 59, 59, 999);
  EXPECT_EQ(L"9999-12-31T23:59:59.999Z", Complete(last));
  EXPECT_FALSE(ZRDateTime::FromUtcMilliseconds(last.UtcMilliseconds() + 1).Valid());
  const std::int64_t first = Reading(1, 1, 1, 0, 0, 0).UtcMilliseconds();
  EXPECT_TRUE(ZRDateTime::FromUtcMilliseconds(first).Valid());
  EXPECT_FALSE(ZRDateTime::FromUtcMilliseconds(first - 1).Valid());
  EXPECT_FALSE(ZRDateTime::FromUtcMilliseconds(INT64_MAX).Valid());
  EXPECT_FALSE(ZRDateTime::FromUtcMilliseconds(INT64_MIN).Valid());
  EXPECT_FALSE(last.UTC2LTC().Valid());  // the reading would be in the year 10000
}

TEST_F(DateTime, DoubleCountsDaysSince1899) {
  EXPECT_EQ(0.0, static_cast<double>(Reading(1899, 12, 30, 0, 0, 0)));
  EXPECT_EQ(25569.0, static_cast<double>(Reading(1970, 1, 1, 0, 0, 0)));
  EXPECT_EQ(1.5, static_cast<double>(Reading(1899, 12, 31, 12, 0, 0)));
  EXPECT_EQ(-0.25, static_cast<double>(Reading(1899, 12, 29, 18, 0, 0)));
  EXPECT_EQ(L"1899-12-28T18:00:00.000Z", Complete(ZRDateTime(-1.25)));
  EXPECT_EQ(L"1970-01-01T06:00:00.000Z", Complete(ZRDateTime(25569.25)));
}

TEST_F(DateTime, DoubleRoundTripsToTheMillisecond) {
  const std::int64_t first = Reading(1, 1, 1, 0, 0, 0).UtcMilliseconds();
  const std::int64_t last = Reading(9999, 12, 31, 23, 59, 59, 999).UtcMilliseconds();
  std::mt19937_64 random(20261121);
  std::uniform_int_distribution<std::int64_t> any(first, last);
  std::vector<std::int64_t> instants{first, first + 1, -1, 0, 1, last - 1, last};
  for (int i = 0; i < 20'000; ++i)
    instants.push_back(any(random));
  for (const std::int64_t instant : instants) {
    const ZRDateTime date = ZRDateTime::FromUtcMilliseconds(instant);
    const ZRDateTime back(static_cast<double>(date));
    ASSERT_TRUE(back.Valid()) << instant;
    ASSERT_EQ(instant, back.UtcMilliseconds());
  }
}

TEST_F(DateTime, DoubleIsRoundedToTheNearestMillisecond) {
  constexpr double kDay = 24.0 * kHour;
  const std::int64_t zero = Reading(1899, 12, 30, 0, 0, 0).UtcMilliseconds();
  int halves = 0;
  for (int quarters = -2000; quarters <= 2000; ++quarters) {
    const double days = quarters / 4.0 / kDay;
    const double exact = days * kDay;
    if (std::abs(exact - std::trunc(exact)) == 0.5) ++halves;
    ASSERT_EQ(std::llround(exact), ZRDateTime(days).UtcMilliseconds() - zero) << exact;
  }
  EXPECT_GT(halves, 100);  // away from zero
}

TEST_F(DateTime, DoubleThatIsNoDateIsInvalid) {
  EXPECT_FALSE(ZRDateTime(std::nan("")).Valid());
  EXPECT_FALSE(ZRDateTime(std::numeric_limits<double>::infinity()).Valid());
  EXPECT_FALSE(ZRDateTime(-std::numeric_limits<double>::infinity()).Valid());
  EXPECT_FALSE(ZRDateTime(1e300).Valid());
  EXPECT_FALSE(ZRDateTime(2958466.0).Valid());
  EXPECT_TRUE(ZRDateTime(2958465.0).Valid());
  EXPECT_FALSE(ZRDateTime(2958465.999999999).Valid());  // rounds to the year 10000
  EXPECT_FALSE(ZRDateTime(-693594.0).Valid());
  EXPECT_TRUE(ZRDateTime(-693593.0).Valid());
}

TEST_F(DateTime, NowIsThePlatformsClock) {
  ZRVirtualTime time(1'795'248'309'250);
  EXPECT_EQ(L"2026-11-21T08:05:09.250Z", Complete(ZRDateTime::UTC()));
  EXPECT_EQ(L"2026-11-21T09:05:09.250+01:00", Complete(ZRDateTime::LTC()));
  EXPECT_EQ(ZRDateTime::UTC(), ZRDateTime::LTC());
  time.Advance(1000);
  EXPECT_EQ(10, ZRDateTime::UTC().Second());
}

TEST_F(DateTime, LocalTimeFollowsTheClockChangeOfSpring) {
  // On 2026-03-29 Madrid goes from 02:00 +01:00 to 03:00 +02:00, at 01:00 UTC.
  const ZRDateTime change = Reading(2026, 3, 29, 1, 0, 0);
  const ZRDateTime before = ZRDateTime::FromUtcMilliseconds(change.UtcMilliseconds() - 1);
  EXPECT_EQ(L"2026-03-29T01:59:59.999+01:00", Complete(before.UTC2LTC()));
  EXPECT_EQ(L"2026-03-29T03:00:00.000+02:00", Complete(change.UTC2LTC()));
  EXPECT_EQ(1, (change.UTC2LTC() - before.UTC2LTC()).TotalMilliseconds());
  EXPECT_TRUE(before.UTC2LTC() < change.UTC2LTC());
}

TEST_F(DateTime, LocalTimeFollowsTheClockChangeOfAutumn) {
  // On 2026-10-25 Madrid goes from 03:00 +02:00 to 02:00 +01:00, at 01:00 UTC.
  const ZRDateTime change = Reading(2026, 10, 25, 1, 0, 0);
  const ZRDateTime first = ZRDateTime::FromUtcMilliseconds(change.UtcMilliseconds() - kHour / 2);
  const ZRDateTime second = ZRDateTime::FromUtcMilliseconds(change.UtcMilliseconds() + kHour / 2);
  EXPECT_EQ(L"2026-10-25T02:30:00.000+02:00", Complete(first.UTC2LTC()));
  EXPECT_EQ(L"2026-10-25T02:30:00.000+01:00", Complete(second.UTC2LTC()));
  EXPECT_EQ(3600, (second.UTC2LTC() - first.UTC2LTC()).TotalSeconds());
  EXPECT_TRUE(first.UTC2LTC() < second.UTC2LTC());
  EXPECT_EQ(first, first.UTC2LTC().LTC2UTC());
  EXPECT_EQ(second, second.UTC2LTC().LTC2UTC());
}

TEST_F(DateTime, ClockChangesAreKnownForYearsAhead) {
  EXPECT_EQ(L"2036-07-01T14:00:00.000+02:00", Complete(Reading(2036, 7, 1, 12, 0, 0).UTC2LTC()));
  EXPECT_EQ(L"2037-01-01T13:00:00.000+01:00", Complete(Reading(2037, 1, 1, 12, 0, 0).UTC2LTC()));
}

TEST_F(DateTime, FieldsAreReadAsLocalTime) {
  EXPECT_EQ(L"2026-07-01T10:00:00.000Z", Complete(Reading(2026, 7, 1, 12, 0, 0).LTC2UTC()));
  EXPECT_EQ(L"2026-01-01T11:00:00.000Z", Complete(Reading(2026, 1, 1, 12, 0, 0).LTC2UTC()));
}

TEST_F(DateTime, ReadingThatOccursTwiceIsTheFirst) {
  EXPECT_EQ(L"2026-10-24T23:59:59.999Z", Complete(Reading(2026, 10, 25, 1, 59, 59, 999).LTC2UTC()));
  EXPECT_EQ(L"2026-10-25T00:00:00.000Z", Complete(Reading(2026, 10, 25, 2, 0, 0).LTC2UTC()));
  EXPECT_EQ(L"2026-10-25T00:30:00.000Z", Complete(Reading(2026, 10, 25, 2, 30, 0).LTC2UTC()));
  EXPECT_EQ(L"2026-10-25T02:00:00.000Z", Complete(Reading(2026, 10, 25, 3, 0, 0).LTC2UTC()));
}

TEST_F(DateTime, SkippedReadingTakesTheOffsetBefore) {
  EXPECT_EQ(L"2026-03-29T00:59:59.000Z", Complete(Reading(2026, 3, 29, 1, 59, 59).LTC2UTC()));
  EXPECT_EQ(L"2026-03-29T01:30:00.000Z", Complete(Reading(2026, 3, 29, 2, 30, 0).LTC2UTC()));
  EXPECT_EQ(L"2026-03-29T01:00:00.000Z", Complete(Reading(2026, 3, 29, 3, 0, 0).LTC2UTC()));
}

TEST_F(DateTime, AnswersTheSameInWhateverOrderItIsAsked) {
  // What one question leaves in the cache must not show in the next.
  for (int turn = 0; turn < 3; ++turn) {
    EXPECT_EQ(2, Reading(2026, 7, 1, 0, 0, 0).UTC2LTC().Hour());
    EXPECT_EQ(0, Reading(2026, 10, 25, 2, 30, 0).LTC2UTC().Hour());
    EXPECT_EQ(1, Reading(2026, 12, 1, 0, 0, 0).UTC2LTC().Hour());
    EXPECT_EQ(0, Reading(2026, 10, 25, 2, 30, 0).LTC2UTC().Hour());
    EXPECT_EQ(1, Reading(2026, 3, 29, 2, 30, 0).LTC2UTC().Hour());
  }
}

TEST_F(DateTime, ConversionOfALocalTimeKeepsItsInstant) {
  const ZRDateTime local = Reading(2026, 7, 1, 12, 0, 0).UTC2LTC();
  EXPECT_EQ(L"2026-07-01T14:00:00.000+02:00", Complete(local.UTC2LTC()));
  ASSERT_TRUE(ZRDateTime::SetLocalZone("America/New_York"));
  EXPECT_EQ(L"2026-07-01T12:00:00.000Z", Complete(local.LTC2UTC()));
}

TEST_F(DateTime, UnknownZoneChangesNothing) {
  EXPECT_FALSE(ZRDateTime::SetLocalZone("Europe/Nowhere"));
  EXPECT_FALSE(ZRDateTime::SetLocalZone("../../etc/passwd"));
  EXPECT_FALSE(ZRDateTime::SetLocalZone("/etc/localtime"));
  EXPECT_EQ(14, Reading(2026, 7, 1, 12, 0, 0).UTC2LTC().Hour());
}

TEST_F(DateTime, ComparesInstants) {
  const ZRDateTime a = Reading(2026, 1, 1, 0, 0, 0);
  const ZRDateTime b = Reading(2026, 1, 1, 0, 0, 0, 1);
  EXPECT_TRUE(a < b && a <= b && b > a && b >= a);
  EXPECT_FALSE(b < a || b <= a || a > b || a >= b || a == b);
  EXPECT_TRUE(a <= a && a >= a && a == a);
  const ZRDateTime invalid;
  EXPECT_TRUE(invalid < Reading(1, 1, 1, 0, 0, 0));
  EXPECT_TRUE(invalid == ZRDateTime());
}

TEST_F(DateTime, SpanIsTruncatedTowardZeroAndClamped) {
  const ZRDateTime a = Reading(2026, 1, 1, 0, 0, 0);
  const ZRDateTime b = Reading(2026, 1, 1, 0, 0, 1, 999);
  EXPECT_EQ(1, (b - a).TotalSeconds());
  EXPECT_EQ(-1, (a - b).TotalSeconds());
  EXPECT_EQ(1999, (b - a).TotalMilliseconds());
  const ZRDateTime end = Reading(9999, 12, 31, 0, 0, 0);
  EXPECT_EQ(INT_MAX, (end - a).TotalSeconds());
  EXPECT_EQ(INT_MIN, (a - end).TotalSeconds());
  EXPECT_EQ(0, (a - ZRDateTime()).TotalMilliseconds());
}

TEST_F(DateTime, TextFormIsTheReading) {
  ZRString narrow("before");
  ZRWString wide;
  const ZRDateTime local = Reading(2026, 7, 1, 12, 5, 9).UTC2LTC();
  EXPECT_TRUE(DateTime2String(narrow, local, false, false));
  EXPECT_STREQ("2026-07-01 14:05:09", narrow.Text());
  EXPECT_TRUE(DateTime2String(wide, local.LTC2UTC(), false, false));
  EXPECT_STREQ(L"2026-07-01 12:05:09", wide.Text());
}

TEST_F(DateTime, InvalidDateHasNoText) {
  ZRString narrow("before");
  ZRWString wide(L"before");
  EXPECT_FALSE(DateTime2String(narrow, ZRDateTime(), false, false));
  EXPECT_FALSE(DateTime2String(wide, ZRDateTime(), false, false));
  EXPECT_TRUE(narrow.IsEmpty());
  EXPECT_TRUE(wide.IsEmpty());
  EXPECT_TRUE(DateTime2RFC822(ZRDateTime(), true).IsEmpty());
  EXPECT_TRUE(DateTime2RFC822(ZRDateTime(), false).IsEmpty());
}

TEST_F(DateTime, FeedsFormHasEnglishNames) {
  const ZRDateTime date = Reading(2026, 11, 21, 8, 5, 9);
  EXPECT_STREQ("Sat, 21 Nov 2026 08:05:09 GMT", DateTime2RFC822(date, true).Text());
  EXPECT_STREQ("Sat, 21 Nov 2026 09:05:09 +0100", DateTime2RFC822(date, false).Text());
  EXPECT_STREQ("Sat, 21 Nov 2026 08:05:09 GMT", DateTime2RFC822(date.UTC2LTC(), true).Text());
  ASSERT_TRUE(ZRDateTime::SetLocalZone("America/St_Johns"));
  EXPECT_STREQ("Sat, 21 Nov 2026 04:35:09 -0330", DateTime2RFC822(date, false).Text());
}

TEST_F(DateTime, FeedsFormNamesEveryDayAndEveryMonth) {
  const std::array<const char*, 12> months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                              "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  for (int month = 1; month <= 12; ++month) {
    const std::string shown = DateTime2RFC822(Reading(2026, month, 1, 0, 0, 0), true).Text();
    EXPECT_EQ(months[static_cast<std::size_t>(month - 1)], shown.substr(8, 3));
  }
  const std::array<const char*, 7> days = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  for (int day = 1; day <= 7; ++day) {  // the first of November 2026 is a Sunday
    const std::string shown = DateTime2RFC822(Reading(2026, 11, day, 0, 0, 0), true).Text();
    EXPECT_EQ(days[static_cast<std::size_t>(day - 1)], shown.substr(0, 3));
  }
}

TEST_F(DateTime, CompleteTextTellsTheOffset) {
  const ZRDateTime date = Reading(2026, 11, 21, 8, 5, 9, 7);
  EXPECT_EQ(L"2026-11-21T08:05:09.007Z", Complete(date));
  EXPECT_EQ(L"2026-11-21T09:05:09.007+01:00", Complete(date.UTC2LTC()));
  ASSERT_TRUE(ZRDateTime::SetLocalZone("America/St_Johns"));
  EXPECT_EQ(L"2026-11-21T04:35:09.007-03:30", Complete(date.UTC2LTC()));
  ASSERT_TRUE(ZRDateTime::SetLocalZone("Etc/GMT-12"));
  EXPECT_EQ(L"2026-11-21T20:05:09.007+12:00", Complete(date.UTC2LTC()));
}

TEST_F(DateTime, ThreadsShareTheZone) {
  ZRThread threads[4];
  for (int i = 0; i < 4; ++i) {
    ASSERT_TRUE(threads[i].Start([i] {
      for (int turn = 0; turn < 500; ++turn) {
        const int month = 1 + (turn + i) % 12;
        const ZRDateTime noon = Reading(2026, month, 10, 12, 0, 0);
        EXPECT_EQ(month >= 4 && month <= 10 ? 14 : 13, noon.UTC2LTC().Hour());
        EXPECT_EQ(noon, noon.UTC2LTC().LTC2UTC());
      }
    }));
  }
}

}  // namespace
