#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "host/platform/zrplatform.h"
#include "support/enginetest.h"
#include "support/logcapture.h"
#include "zrevents/timetables/zrtimetableday.h"
#include "zrevents/timetables/zrtimetablereference.h"

namespace {

constexpr int kMidnight = 24 * kMinutesInHour;

// The minutes of a time of day; -1 if it can't be read.
int Minutes(const std::string& text) {
  std::uint16_t minutes = 0;
  return ParseTimeOfDay(Wide(text), minutes) ? minutes : -1;
}

struct tagTimeCase {
  const char* text;
  int minutes;
};
void PrintTo(const tagTimeCase& one, std::ostream* out) {
  *out << one.text;
}

class TimeOfDay : public ::testing::TestWithParam<tagTimeCase> {};

TEST_P(TimeOfDay, IsReadFromItsFirstAndItsLastPair) {
  EXPECT_EQ(GetParam().minutes, Minutes(GetParam().text)) << '"' << GetParam().text << '"';
}

INSTANTIATE_TEST_SUITE_P(
    Table, TimeOfDay,
    ::testing::Values(tagTimeCase{"08:30", 510}, tagTimeCase{"0830", 510},
                      tagTimeCase{"08h30", 510}, tagTimeCase{"08 o'clock 30", 510},
                      tagTimeCase{"00:00", 0}, tagTimeCase{"23:59", 1439},
                      // The end of the day, and nothing behind it.
                      tagTimeCase{"24:00", 1440}, tagTimeCase{"24:01", -1},
                      tagTimeCase{"25:00", -1}, tagTimeCase{"99:00", -1}, tagTimeCase{"10:59", 659},
                      tagTimeCase{"10:60", -1}, tagTimeCase{"10:99", -1},
                      // The pairs of a short text overlap.
                      tagTimeCase{"12", 12 * 60 + 12}, tagTimeCase{"123", 12 * 60 + 23},
                      tagTimeCase{"24", -1}, tagTimeCase{"7:30", 7 * 60 + 30},
                      tagTimeCase{"7:3", 7 * 60}, tagTimeCase{"", -1}, tagTimeCase{"7", -1},
                      // What wcstol takes in front of the digits, and what it makes of none.
                      tagTimeCase{"-1:00", -1}, tagTimeCase{"10:-1", -1}, tagTimeCase{"-0:30", 30},
                      tagTimeCase{"+7:30", 7 * 60 + 30}, tagTimeCase{" 7:30", 7 * 60 + 30},
                      tagTimeCase{"ab:cd", 0}, tagTimeCase{"0x:10", 10}));

TEST(TimeOfDayText, WhatCannotBeReadLeavesTheMinutes) {
  std::uint16_t minutes = 7;
  EXPECT_FALSE(ParseTimeOfDay(L"24:30", minutes));
  EXPECT_EQ(7, minutes);
}

constexpr std::uint16_t At(int hour) {
  return static_cast<std::uint16_t>(hour * kMinutesInHour);
}

std::vector<tagSlot> Inserted(const std::vector<tagSlot>& slots) {
  std::vector<tagSlot> list;
  for (const tagSlot& slot : slots)
    InsertSlot(list, slot);
  return list;
}

TEST(Slots, ALaterSlotGoesToTheEnd) {
  EXPECT_EQ((std::vector<tagSlot>{{At(8), At(9)}, {At(10), At(11)}}),
            Inserted({{At(8), At(9)}, {At(10), At(11)}}));
}

TEST(Slots, AnEarlierSlotStandsBeforeEachLaterOne) {
  EXPECT_EQ(
      (std::vector<tagSlot>{{At(8), At(9)}, {At(10), At(11)}, {At(8), At(9)}, {At(12), At(13)}}),
      Inserted({{At(10), At(11)}, {At(12), At(13)}, {At(8), At(9)}}));
}

TEST(Slots, OfEqualBeginningKeepTheirOrder) {
  EXPECT_EQ((std::vector<tagSlot>{{At(8), At(9)}, {At(8), At(7)}, {At(8), At(12)}}),
            Inserted({{At(8), At(9)}, {At(8), At(7)}, {At(8), At(12)}}));
}

TEST(Slots, OfEqualBeginningStandBeforeTheLaterOnesOnly) {
  EXPECT_EQ((std::vector<tagSlot>{{At(8), At(9)}, {At(8), At(10)}, {At(12), At(13)}}),
            Inserted({{At(8), At(9)}, {At(12), At(13)}, {At(8), At(10)}}));
}

// The first occurrence of each slot, and how often it stands in the list.
TEST(Slots, RepetitionEndsAtItsLimit) {
  std::vector<tagSlot> list;
  std::uint16_t from = 1000;
  for (; list.size() * 2 <= kMaximumRepeatedSlots; --from)
    InsertSlot(list, {from, static_cast<std::uint16_t>(from + 1)});
  ASSERT_EQ(kMaximumRepeatedSlots, list.size());  // doubled by each earlier slot
  const std::vector<tagSlot> before = list;
  InsertSlot(list, {from, 1440});
  ASSERT_EQ(before.size() + 1, list.size());
  EXPECT_EQ(from, list.front().from);
  EXPECT_TRUE(std::equal(before.begin(), before.end(), list.begin() + 1));
}

TEST(Slots, BeyondTheLimitASlotIsInsertedOnceAtItsPlace) {
  std::vector<tagSlot> list(kMaximumRepeatedSlots, tagSlot{At(10), At(11)});
  list.insert(list.begin(), {At(8), At(9)});
  InsertSlot(list, {At(9), At(10)});
  EXPECT_EQ(kMaximumRepeatedSlots + 2, list.size());
  EXPECT_EQ((tagSlot{At(8), At(9)}), list[0]);
  EXPECT_EQ((tagSlot{At(9), At(10)}), list[1]);
  EXPECT_EQ((tagSlot{At(10), At(11)}), list[2]);
}

TEST(Slots, RepetitionNeverChangesAnAnswer) {
  const std::vector<tagSlot> given = {
      {At(20), At(22)}, {At(18), At(21)}, {At(3), At(4)}, {At(12), At(13)}, {At(1), At(19)}};
  const std::vector<tagSlot> list = Inserted(given);
  for (int minute = 0; minute < kMidnight; ++minute) {
    const bool inside = std::any_of(given.begin(), given.end(), [&](const tagSlot& slot) {
      return slot.from <= minute && minute < slot.to;
    });
    ASSERT_EQ(!inside, IsOutsideSlots(list, minute)) << minute;
  }
}

// --- the three kinds of table, in the store ---

ZRDateTime Date(int year, int month, int day, int hour = 12, int minute = 0, int second = 0) {
  ZRDateTime date;
  date.SetDateTime(year, month, day, hour, minute, second, 0, 0);
  return date;
}

std::string Table(const std::string& id, const std::string& name, const std::string& inside = "",
                  const std::string& tag = "table") {
  return "<" + tag + "><id>" + id + "</id><name>" + name + "</name>" + inside + "</" + tag + ">";
}
std::string Slot(const std::string& from, const std::string& to) {
  return "<slot><from>" + from + "</from><to>" + to + "</to></slot>";
}
// Closed from 8 to 10 and open all day.
std::string Mornings() {
  return Table("d1", "Mornings", Slot("08:00", "10:00"));
}
std::string Never() {
  return Table("d2", "Never", Slot("00:00", "24:00"));
}

class StoredTimeTables : public EngineTest {
 protected:
  // The three branches of the document.
  void LoadTables(const std::string& days, const std::string& weeks = "",
                  const std::string& calendars = "") {
    TimeTables("<days>" + days + "</days><weeks>" + weeks + "</weeks><calendars>" + calendars +
               "</calendars>");
    LoadXeve("");
  }
  static bool NeedCheck(const std::string& table, const ZRDateTime& now) {
    ZRTimeTable* const found = Store().LockTimeTable(Wide(table).Text());
    EXPECT_NE(nullptr, found) << table;
    return found != nullptr && found->NeedCheck(now);
  }
  static std::string IdOf(const std::string& idOrName) {
    const ZRTimeTable* const found = Store().LockTimeTable(Wide(idOrName).Text());
    return found == nullptr ? "-" : Narrow(found->Id());
  }
};

TEST_F(StoredTimeTables, AreDaysThenWeeksThenCalendarsInTheOrderOfTheDocument) {
  TimeTables("<calendars>" + Table("c1", "x") + "</calendars><weeks>" + Table("w2", "x") +
             Table("w1", "x") + "</weeks><days>" + Table("d1", "x") + "</days>");
  LoadXeve("");
  std::vector<std::string> ids;
  for (int number = 1; number <= Store().TimeTablesSize(); ++number)
    ids.push_back(Narrow(Store().TimeTableByNumber(static_cast<std::uint32_t>(number))->Id()));
  EXPECT_EQ((std::vector<std::string>{"d1", "w2", "w1", "c1"}), ids);
}

TEST_F(StoredTimeTables, AreOfTheKindOfTheirBranchWhateverTheirTag) {
  LoadTables(Table("d", "Day", Slot("08:00", "09:00"), "calendar"), Table("w", "Week", "", "day"),
             Table("c", "Calendar", "", "slot"));
  EXPECT_NE(nullptr, dynamic_cast<ZRTimeTableDay*>(Store().LockTimeTable(L"Day")));
  EXPECT_NE(nullptr, dynamic_cast<ZRTimeTableWeek*>(Store().LockTimeTable(L"Week")));
  EXPECT_NE(nullptr, dynamic_cast<ZRTimeTableCalendar*>(Store().LockTimeTable(L"Calendar")));
}

TEST_F(StoredTimeTables, AMissingBranchIsPassedOver) {
  XmlDocument document;
  ASSERT_TRUE(document.Parse(("<main><weeks>" + Table("w", "Week") + "</weeks></main>").c_str()));
  EXPECT_TRUE(Store().LoadTimeTableXml(document));
  EXPECT_EQ(1, Store().TimeTablesSize());
  EXPECT_TRUE(Store().LoadTimeTableXml(XmlDocument()));
  EXPECT_EQ(1, Store().TimeTablesSize());
}

TEST_F(StoredTimeTables, WithoutIdOrNameAreDroppedInSilence) {
  const LogCapture log;
  LoadTables(Table("", "NoId") + Table("noname", "") + "<table></table>" + Table("d", "Day"),
             Table("", "NoIdWeek"), Table("nonamecalendar", ""));
  EXPECT_EQ(1, Store().TimeTablesSize());
  EXPECT_EQ("d", IdOf("Day"));
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(StoredTimeTables, AreFoundByIdAndByNameExactly) {
  LoadTables(Mornings());
  EXPECT_EQ("d1", IdOf("d1"));
  EXPECT_EQ("d1", IdOf("Mornings"));
  EXPECT_EQ("-", IdOf("mornings"));
  EXPECT_EQ("-", IdOf("Morning"));
  EXPECT_EQ("-", IdOf("D1"));
}

TEST_F(StoredTimeTables, AnEmptyTextFindsNone) {
  LoadTables(Mornings() + Table("", ""));
  EXPECT_EQ(nullptr, Store().LockTimeTable(L""));
}

TEST_F(StoredTimeTables, OfTwoOfOneNameTheEarlierIsFound) {
  LoadTables(Table("d1", "Same") + Table("d2", "Same"), Table("w1", "Same"));
  EXPECT_EQ("d1", IdOf("Same"));
  EXPECT_EQ("w1", IdOf("w1"));
}

TEST_F(StoredTimeTables, AnIdThatIsAnotherTablesNameGoesToWhicheverStandsFirst) {
  LoadTables(Table("d1", "both"), Table("both", "Week"));
  EXPECT_EQ("d1", IdOf("both"));
  LoadTables(Table("both", "Day"), Table("w1", "both"));
  EXPECT_EQ("both", IdOf("both"));
}

TEST_F(StoredTimeTables, AreGoneAfterAReset) {
  LoadTables(Mornings());
  Store().Reset();
  EXPECT_EQ(nullptr, Store().LockTimeTable(L"Mornings"));
  EXPECT_EQ(0, Store().TimeTablesSize());
}

// --- day tables ---

TEST_F(StoredTimeTables, ADayTableIsClosedFromTheBeginningOfASlotToItsEndExcluded) {
  LoadTables(Mornings());
  EXPECT_TRUE(NeedCheck("Mornings", Date(2026, 1, 1, 7, 59, 59)));
  EXPECT_FALSE(NeedCheck("Mornings", Date(2026, 1, 1, 8, 0)));
  EXPECT_FALSE(NeedCheck("Mornings", Date(2026, 1, 1, 9, 59, 59)));
  EXPECT_TRUE(NeedCheck("Mornings", Date(2026, 1, 1, 10, 0)));
}

TEST_F(StoredTimeTables, ADayTableWithoutSlotsIsAlwaysOpen) {
  LoadTables(Table("d", "Open"));
  for (int hour = 0; hour < 24; ++hour)
    EXPECT_TRUE(NeedCheck("Open", Date(2026, 1, 1, hour)));
}

TEST_F(StoredTimeTables, AnEmptySlotIsKeptAndNeverMatches) {
  LoadTables(Table("d", "Empty", Slot("10:00", "10:00")));
  const auto* const table = dynamic_cast<ZRTimeTableDay*>(Store().LockTimeTable(L"Empty"));
  ASSERT_NE(nullptr, table);
  EXPECT_EQ(1u, table->Slots().size());
  EXPECT_TRUE(NeedCheck("Empty", Date(2026, 1, 1, 10, 0)));
}

TEST_F(StoredTimeTables, ASlotToMidnightReachesTheLastMinute) {
  LoadTables(Table("d", "Late", Slot("23:00", "24:00")));
  EXPECT_FALSE(NeedCheck("Late", Date(2026, 1, 1, 23, 59, 59)));
  EXPECT_TRUE(NeedCheck("Late", Date(2026, 1, 2, 0, 0)));
}

TEST_F(StoredTimeTables, SlotsThatCannotBeUsedArePassedOverInSilence) {
  const LogCapture log;
  LoadTables(Table("d", "Day",
                   Slot("22:00", "06:00") + Slot("25:00", "26:00") + Slot("08:00", "24:01") +
                       Slot("", "10:00") + Slot("08:00", "") + "<slot></slot>" +
                       "<other><from>08:00</from><to>20:00</to></other>" +
                       "<Slot><from>08:00</from><to>20:00</to></Slot>" + Slot("12:00", "13:00")));
  const auto* const table = dynamic_cast<ZRTimeTableDay*>(Store().LockTimeTable(L"Day"));
  ASSERT_NE(nullptr, table);
  EXPECT_EQ((std::vector<tagSlot>{{At(12), At(13)}}), table->Slots());
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(StoredTimeTables, SlotsOfADocumentKeepTheirRepeatingShape) {
  LoadTables(
      Table("d", "Day", Slot("10:00", "11:00") + Slot("12:00", "13:00") + Slot("08:00", "09:00")));
  const auto* const table = dynamic_cast<ZRTimeTableDay*>(Store().LockTimeTable(L"Day"));
  ASSERT_NE(nullptr, table);
  EXPECT_EQ(4u, table->Slots().size());
}

// --- week tables ---

// 2026-01-01 is a Thursday, 2026-01-04 a Sunday.
std::string ThursdayIs(const std::string& table) {
  return "<day4>" + table + "</day4>";
}

TEST_F(StoredTimeTables, AWeekTablePicksByTheDay) {
  LoadTables(Mornings() + Never(), Table("w", "Week", ThursdayIs("Mornings") + "<day5>d2</day5>"));
  EXPECT_FALSE(NeedCheck("Week", Date(2026, 1, 1, 9)));
  EXPECT_TRUE(NeedCheck("Week", Date(2026, 1, 1, 11)));
  EXPECT_FALSE(NeedCheck("Week", Date(2026, 1, 2, 11)));
  EXPECT_TRUE(NeedCheck("Week", Date(2026, 1, 3, 9)));  // no entry
  EXPECT_FALSE(NeedCheck("Week", Date(2026, 1, 8, 9)));
}

TEST_F(StoredTimeTables, AnEntryThatNamesNoTableIsNone) {
  LoadTables(Never(), Table("w", "Week", ThursdayIs("never") + "<day5></day5>"));
  EXPECT_TRUE(NeedCheck("Week", Date(2026, 1, 1)));
  EXPECT_TRUE(NeedCheck("Week", Date(2026, 1, 2)));
}

// Required: 0 is also the day of a week table that was never asked.
TEST_F(StoredTimeTables, TheEntryOfSundayIsNotLookedAtUntilTheDayHasChangedOnce) {
  LoadTables(Never(), Table("w", "Week", "<day0>Never</day0>"));
  EXPECT_TRUE(NeedCheck("Week", Date(2026, 1, 4)));
  EXPECT_TRUE(NeedCheck("Week", Date(2026, 1, 5)));
  EXPECT_FALSE(NeedCheck("Week", Date(2026, 1, 11)));
}

// What is found is kept, and so is what isn't.
TEST_F(StoredTimeTables, AWeekTableLooksUpOnceADay) {
  LoadTables(Never(), Table("w", "Week", ThursdayIs("Never")));
  XmlDocument::XmlNode* const entry =
      server->TimeTableCfg()->Root()->Node(L"weeks/table?name=Week?/day4");
  ASSERT_NE(nullptr, entry);
  EXPECT_FALSE(NeedCheck("Week", Date(2026, 1, 1, 10)));
  entry->SetValue(L"none");
  EXPECT_FALSE(NeedCheck("Week", Date(2026, 1, 1, 11)));
  EXPECT_TRUE(NeedCheck("Week", Date(2026, 1, 2)));
  EXPECT_TRUE(NeedCheck("Week", Date(2026, 1, 8)));
  entry->SetValue(L"Never");
  EXPECT_TRUE(NeedCheck("Week", Date(2026, 1, 8)));
  EXPECT_TRUE(NeedCheck("Week", Date(2026, 1, 9)));
  EXPECT_FALSE(NeedCheck("Week", Date(2026, 1, 15)));
}

// --- calendar tables ---

std::string YearXml(int year, const std::string& inside) {
  return "<year><year>" + std::to_string(year) + "</year>" + inside + "</year>";
}

TEST_F(StoredTimeTables, ACalendarPicksByTheExactDate) {
  LoadTables(Mornings() + Never(), "",
             Table("c", "Calendar",
                   YearXml(2025, "<month12><day31>Never</day31></month12>") +
                       YearXml(2026,
                               "<month1><day1>d1</day1><day2>Never</day2></month1>"
                               "<month11><day1>Never</day1></month11>")));
  EXPECT_FALSE(NeedCheck("Calendar", Date(2025, 12, 31, 11)));
  EXPECT_TRUE(NeedCheck("Calendar", Date(2026, 1, 1, 11)));
  EXPECT_FALSE(NeedCheck("Calendar", Date(2026, 1, 1, 9)));
  EXPECT_FALSE(NeedCheck("Calendar", Date(2026, 1, 2, 11)));
  EXPECT_TRUE(NeedCheck("Calendar", Date(2026, 1, 3, 9)));
  EXPECT_TRUE(NeedCheck("Calendar", Date(2026, 2, 1, 9)));
  EXPECT_FALSE(NeedCheck("Calendar", Date(2026, 11, 1, 11)));
}

TEST_F(StoredTimeTables, ACalendarWithoutTheYearIsOpenAllYear) {
  LoadTables(Never(), "",
             Table("c", "Calendar", YearXml(2025, "<month1><day1>Never</day1></month1>")));
  EXPECT_TRUE(NeedCheck("Calendar", Date(2026, 1, 1)));
  EXPECT_FALSE(NeedCheck("Calendar", Date(2025, 1, 1)));
}

// Each part of the date is a key of its own.
TEST_F(StoredTimeTables, ACalendarTellsDatesApartThatDifferInOnePartOnly) {
  LoadTables(Never(), "",
             Table("c", "Calendar", YearXml(2026, "<month1><day1>Never</day1></month1>")));
  for (const ZRDateTime& other :
       {Date(2027, 1, 1), Date(2026, 2, 1), Date(2026, 1, 2), Date(2025, 1, 1)}) {
    EXPECT_FALSE(NeedCheck("Calendar", Date(2026, 1, 1)));
    EXPECT_TRUE(NeedCheck("Calendar", other));
  }
}

TEST_F(StoredTimeTables, AnEntryOfADateThatNeverComesDoesNoHarm) {
  LoadTables(Never(), "",
             Table("c", "Calendar", YearXml(2027, "<month2><day29>Never</day29></month2>")));
  EXPECT_TRUE(NeedCheck("Calendar", Date(2027, 2, 28)));
  EXPECT_TRUE(NeedCheck("Calendar", Date(2027, 3, 1)));
}

TEST_F(StoredTimeTables, ACalendarLooksUpOnceADay) {
  LoadTables(Never(), "",
             Table("c", "Calendar", YearXml(2026, "<month1><day1>Never</day1></month1>")));
  XmlDocument::XmlNode* const entry =
      server->TimeTableCfg()->Root()->Node(L"calendars/table/year/month1/day1");
  ASSERT_NE(nullptr, entry);
  EXPECT_FALSE(NeedCheck("Calendar", Date(2026, 1, 1, 10)));
  entry->SetValue(L"none");
  EXPECT_FALSE(NeedCheck("Calendar", Date(2026, 1, 1, 23)));
  EXPECT_TRUE(NeedCheck("Calendar", Date(2026, 1, 2)));
  EXPECT_TRUE(NeedCheck("Calendar", Date(2026, 1, 1)));
}

// --- tables that refer to tables ---

TEST_F(StoredTimeTables, ATableCanReferToOneThatStandsLater) {
  LoadTables(Never(), Table("w", "Week", ThursdayIs("Calendar")),
             Table("c", "Calendar", YearXml(2026, "<month1><day1>Never</day1></month1>")));
  EXPECT_FALSE(NeedCheck("Week", Date(2026, 1, 1)));
  EXPECT_EQ(nullptr, Store().CircularTimeTable());
}

TEST_F(StoredTimeTables, AChainOfAllTablesIsFollowedToItsEnd) {
  constexpr int kWeeks = 50;
  std::string weeks;
  for (int number = 1; number < kWeeks; ++number)
    weeks += Table("w" + std::to_string(number), "x", ThursdayIs("w" + std::to_string(number + 1)));
  weeks += Table("w" + std::to_string(kWeeks), "x", ThursdayIs("Never"));
  LoadTables(Never(), weeks);
  EXPECT_FALSE(NeedCheck("w1", Date(2026, 1, 1)));
  EXPECT_EQ(nullptr, Store().CircularTimeTable());
}

TEST_F(StoredTimeTables, ATableThatRefersToItselfIsOpenAndRemembered) {
  LoadTables("", Table("w", "Week", ThursdayIs("Week")));
  EXPECT_TRUE(NeedCheck("Week", Date(2026, 1, 1)));
  EXPECT_EQ(Store().LockTimeTable(L"Week"), Store().CircularTimeTable());
  Store().Reset();
  EXPECT_EQ(nullptr, Store().CircularTimeTable());
}

TEST_F(StoredTimeTables, TablesThatReferToEachOtherAreOpenAndTheOneAskedIsRemembered) {
  LoadTables(Never(), Table("w1", "One", ThursdayIs("Two")) + Table("w2", "Two", ThursdayIs("c")),
             Table("c", "Three", YearXml(2026, "<month1><day1>One</day1></month1>")));
  EXPECT_TRUE(NeedCheck("Two", Date(2026, 1, 1)));
  EXPECT_EQ(Store().LockTimeTable(L"Two"), Store().CircularTimeTable());
}

// --- events ---

TEST_F(StoredTimeTables, AnEventBindsItsTableByIdOrNameAsItLoads) {
  TimeTables("<days>" + Mornings() + "</days>");
  Load({EventXml("ById", 1).Condition("1 = 1").TimeTable("d1"),
        EventXml("ByName", 2).Condition("1 = 1").TimeTable("Mornings"),
        EventXml("Unknown", 3).Condition("1 = 1").TimeTable("None"),
        EventXml("Without", 4).Condition("1 = 1")});
  const ZRTimeTable* const table = Store().LockTimeTable(L"Mornings");
  EXPECT_EQ(table, Find("ById")->TimeTable());
  EXPECT_EQ(table, Find("ByName")->TimeTable());
  EXPECT_EQ(nullptr, Find("Unknown")->TimeTable());
  EXPECT_EQ(nullptr, Find("Without")->TimeTable());
}

// The tables follow the local time: an event rests from 00:30 to 01:00.
TEST_F(StoredTimeTables, ASlotEndsAnActiveEventAndItsEndLetsItComeBack) {
  TimeTables("<days>" + Table("d", "Rest", Slot("00:30", "01:00")) + "</days>");
  Load(EventXml("Pump").Condition("1 = 1").TimeTable("Rest"));
  StartServer();
  constexpr std::uint64_t kMinute = 60'000;
  EXPECT_TRUE(Find("Pump")->IsEnabled());
  time.Advance(30 * kMinute);
  EXPECT_FALSE(Find("Pump")->IsEnabled());
  time.Advance(30 * kMinute - kCycle);
  EXPECT_FALSE(Find("Pump")->IsEnabled());
  time.Advance(kCycle);
  EXPECT_TRUE(Find("Pump")->IsEnabled());
}

}  // namespace
