#include "host/drivers/zrdateformat.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// "2006-12-16 17:24:00.000", "+060" behind it for a zone; "@ms" for an instant; "-" for no fit.
std::string Read(const std::string& form, const std::string& text) {
  ZRDateFormat format;
  std::string reason;
  EXPECT_TRUE(format.Set(form, reason)) << form << ": " << reason;
  ZRReadDate date;
  if (!format.Read(text, date)) return "-";
  if (date.isInstant) return std::string("@").append(std::to_string(date.utc));
  constexpr std::size_t kRoom = 160;
  char shown[kRoom];
  (void)std::snprintf(shown, kRoom, "%04d-%02d-%02d %02d:%02d:%02d.%03d", date.year, date.month,
                      date.day, date.hour, date.minute, date.second, date.millisecond);
  std::string result = shown;
  if (date.hasZone) {
    (void)std::snprintf(shown, kRoom, "%+04d", date.zoneMinutes);
    result += shown;
  }
  return result;
}

struct tagCase {
  const char* form;
  const char* text;
  const char* expected;
};

TEST(DateFormat, ReadsWhatFitsAndNothingElse) {
  const std::vector<tagCase> cases{
      {"%d/%m/%Y %H:%M:%S", "16/12/2006 17:24:00", "2006-12-16 17:24:00.000"},
      {"%d/%m/%Y %H:%M:%S", "6/2/2006 7:04:00", "2006-02-06 07:04:00.000"},
      {"%d/%m/%Y %H:%M:%S", "16/12/2006 17:24", "-"},
      {"%d/%m/%Y %H:%M:%S", "16/12/2006 17:24:00 ", "-"},
      {"%d/%m/%Y %H:%M:%S", " 16/12/2006 17:24:00", "-"},
      {"%d/%m/%Y %H:%M:%S", "16-12-2006 17:24:00", "-"},
      {"%d/%m/%Y %H:%M:%S", "", "-"},
      {"%d/%m/%Y", "31/04/2006", "-"},
      {"%d/%m/%Y", "29/02/2006", "-"},
      {"%d/%m/%Y", "29/02/2008", "2008-02-29 00:00:00.000"},
      {"%d/%m/%Y", "29/02/1900", "-"},
      {"%d/%m/%Y", "29/02/2000", "2000-02-29 00:00:00.000"},
      {"%d/%m/%Y", "00/01/2006", "-"},
      {"%d/%m/%Y", "01/13/2006", "-"},
      {"%d/%m/%Y", "01/00/2006", "-"},
      {"%d/%m/%Y", "01/01/0000", "-"},
      {"%d/%m/%Y", "01/01/206", "-"},
      {"%d/%m/%Y", "001/01/2006", "-"},
      {"%Y%m%d%H%M", "200612161724", "2006-12-16 17:24:00.000"},
      {"%Y-%m-%d %H", "2006-12-16 24", "-"},
      {"%Y-%m-%d %H:%M", "2006-12-16 23:60", "-"},
      {"%Y-%m-%d %H:%M:%S", "2006-12-16 23:59:60", "-"},
      {"%d.%m.%y", "16.12.06", "2006-12-16 00:00:00.000"},
      {"%d.%m.%y", "16.12.68", "2068-12-16 00:00:00.000"},
      {"%d.%m.%y", "16.12.69", "1969-12-16 00:00:00.000"},
      {"%Y %j", "2008 060", "2008-02-29 00:00:00.000"},
      {"%Y %j", "2007 060", "2007-03-01 00:00:00.000"},
      {"%Y %j", "2008 366", "2008-12-31 00:00:00.000"},
      {"%Y %j", "2007 366", "-"},
      {"%Y %j", "2007 000", "-"},
      {"%Y %j", "2007 60", "-"},
      {"%Y-%m-%dT%H:%M:%S%z", "2006-12-16T17:24:00Z", "2006-12-16 17:24:00.000+000"},
      {"%Y-%m-%dT%H:%M:%S%z", "2006-12-16T17:24:00+01:00", "2006-12-16 17:24:00.000+060"},
      {"%Y-%m-%dT%H:%M:%S%z", "2006-12-16T17:24:00-0330", "2006-12-16 17:24:00.000-210"},
      {"%Y-%m-%dT%H:%M:%S%z", "2006-12-16T17:24:00+02", "2006-12-16 17:24:00.000+120"},
      {"%Y-%m-%dT%H:%M:%S%z", "2006-12-16T17:24:00+02:", "-"},
      {"%Y-%m-%dT%H:%M:%S%z", "2006-12-16T17:24:00+15", "-"},
      {"%Y-%m-%dT%H:%M:%S%z", "2006-12-16T17:24:00", "-"},
      {"%Y-%m-%d %H:%M:%S.%f", "2006-12-16 17:24:00.25", "2006-12-16 17:24:00.250"},
      {"%Y-%m-%d %H:%M:%S.%f", "2006-12-16 17:24:00.123456789", "2006-12-16 17:24:00.123"},
      {"%Y-%m-%d %H:%M:%S.%f", "2006-12-16 17:24:00.", "-"},
      {"%s", "1166286240", "@1166286240000"},
      {"%s.%f", "1166286240.5", "@1166286240500"},
      {"%s", "-1", "-"},
      {"%s", "123456789012", "-"},
      {"%%%Y%%%m%%%d", "%2006%12%16", "2006-12-16 00:00:00.000"},
      {"day %d of %m, %Y", "day 16 of 12, 2006", "2006-12-16 00:00:00.000"},
  };
  for (const tagCase& one : cases)
    EXPECT_EQ(one.expected, Read(one.form, one.text)) << one.form << " reads " << one.text;
}

TEST(DateFormat, RefusesFormsThatCantNameADay) {
  const std::vector<std::string> forms{"",
                                       "%",
                                       "%H:%M",
                                       "%d/%m",
                                       "%Y",
                                       "%Y-%m",
                                       "%Y-%d",
                                       "%Y %y %j",
                                       "%Y-%m-%d %j",
                                       "%Y-%m-%d %Y",
                                       "%Q",
                                       "%Y-%m-%d %",
                                       "%s %H",
                                       "%f",
                                       "%y %Y %m %d",
                                       "%Y-%m-%d %s",
                                       std::string(65, 'x'),
                                       "%Y-%m-%d %I"};
  for (const std::string& form : forms) {
    ZRDateFormat format;
    std::string reason;
    EXPECT_FALSE(format.Set(form, reason)) << form;
    EXPECT_FALSE(reason.empty()) << form;
  }
}

TEST(DateFormat, KeepsItsFormWhenAnotherOneIsRefused) {
  ZRDateFormat format;
  std::string reason;
  ASSERT_TRUE(format.Set("%Y-%m-%d", reason));
  ASSERT_FALSE(format.Set("%H", reason));
  ZRReadDate date;
  EXPECT_TRUE(format.Read("2006-12-16", date));
}

TEST(DateFormat, WithoutAFormReadsNothing) {
  ZRReadDate date;
  EXPECT_FALSE(ZRDateFormat().Read("", date));
}

}  // namespace
