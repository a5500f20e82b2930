#include <fstream>
#include <sstream>
#include <string>

#include "support/historytest.h"

namespace {

class EventLoading : public HistoryTest {
 protected:
  std::string FileEvents(const std::string& from, const std::string& to) {
    FakeResponse response;
    event->LoadFileEvents(At(from), At(to), response);
    EXPECT_EQ(response.begun + response.ended, 0) << "the caller does that";
    return response.body;
  }
  void Occurrence(int number, const std::string& on, const std::string& off) {
    Write(number, on, kActivated);
    Write(number, off, kDeactivated);
  }
};

// --- a period ---

TEST_F(EventLoading, PeriodIsHalfOpen) {
  Write(1, "2026-03-05 09:59:59", kActivated);
  Write(2, "2026-03-05 10:00:00", kActivated);
  Write(3, "2026-03-05 10:59:59", kActivated);
  Write(4, "2026-03-05 11:00:00", kActivated);
  EXPECT_EQ(Loaded("2026-03-05 10:00:00", "2026-03-05 11:00:00"),
            "2 03-05 10:00:00; 3 03-05 10:59:59");
}

TEST_F(EventLoading, PeriodWithoutAFileIsFalseAndWithAnEmptyHourTrue) {
  EXPECT_EQ(Loaded("2026-03-05", "2026-03-06", false, false), "");
  Write(1, "2026-03-05 09:59:59", kActivated);
  EXPECT_EQ(Loaded("2026-03-07", "2026-03-08"), "");
  EXPECT_EQ(Loaded("2026-02-07", "2026-02-08", false, false), "");
  // The first instant of a month is in the walk.
  EXPECT_EQ(Loaded("2026-02-07", "2026-03-01"), "");
}

TEST_F(EventLoading, MonthsOfAPeriodAreWalkedOverTheYearAndMissingOnesPassedOver) {
  Write(1, "2025-11-30 10:00:00", kActivated);
  Write(2, "2025-12-31 10:00:00", kActivated);
  Write(3, "2026-02-01 10:00:00", kActivated);
  EXPECT_EQ(Loaded("2025-10-15", "2026-02-02"),
            "1 11-30 10:00:00; 2 12-31 10:00:00; 3 02-01 10:00:00");
  EXPECT_EQ(Loaded("2026-01-01", "2026-02-02"), "3 02-01 10:00:00");
}

TEST_F(EventLoading, InvalidPeriodFindsNothing) {
  Write(1, "2026-03-05 10:00:00", kActivated);
  ZREventLoggerData data;
  EXPECT_FALSE(event->Load(data, ZRDateTime(), At("2026-04-01"), true));
  EXPECT_FALSE(event->Load(data, At("2026-03-01"), ZRDateTime(), false));
  EXPECT_EQ(Shown(data), "");
}

TEST_F(EventLoading, LastMonthOfAllEndsTheWalk) {
  EXPECT_EQ(Loaded("9999-11-05", "9999-12-31", false, false), "");
}

TEST_F(EventLoading, StepsAreFoldedIntoTheirOccurrences) {
  Make("Boiler", true);
  Write(1, "2026-03-05 10:00:00", kActivated, "on");
  Write(1, "2026-03-05 10:01:30", kAcknowledged, "seen");
  Write(1, "2026-03-05 10:02:00", kDeactivated, "off");
  Write(2, "2026-03-05 10:05:00", 7, "odd");
  ZREventLoggerData data;
  ASSERT_TRUE(event->Load(data, At("2026-03-01"), At("2026-03-31"), false));
  EXPECT_EQ(Shown(data), "1 03-05 10:00:00 a90 d120");
  const auto& record = **data.RecordGroup().Begin();
  EXPECT_EQ(record.EventId(), event->Id());
  EXPECT_EQ(record.Annotation(), "on");
  EXPECT_EQ(record.AckAnnotation(), "seen");
  EXPECT_EQ(record.DeaAnnotation(), "off");
  EXPECT_TRUE(record.Notify()) << "as the event is configured now";
}

TEST_F(EventLoading, ValueIsTruncated) {
  Write(1, "2026-03-05 10:00:00", 1.9);
  Write(1, "2026-03-05 10:00:05", 2.5);
  Write(2, "2026-03-05 10:00:06", 1e300);
  Write(3, "2026-03-05 10:00:06", -1.5);
  EXPECT_EQ(Loaded("2026-03-01", "2026-03-31"), "1 03-05 10:00:00 d5");
}

TEST_F(EventLoading, StepOfAnOccurrenceThatBeganBeforeIsDropped) {
  Occurrence(1, "2026-03-05 09:00:00", "2026-03-05 10:30:00");
  EXPECT_EQ(Loaded("2026-03-05 10:00:00", "2026-03-05 11:00:00"), "");
}

TEST_F(EventLoading, DatesThatGoBackEndTheWalkOnlyBehindThePeriod) {
  Write(1, "2026-03-05 10:00:00", kActivated);
  Write(2, "2026-03-05 12:00:00", kActivated);
  Write(3, "2026-03-05 09:00:00", kActivated);  // the clock was set back
  Write(4, "2026-03-05 12:30:00", kActivated);
  EXPECT_EQ(Loaded("2026-03-05 10:00:00", "2026-03-05 13:00:00"),
            "1 03-05 10:00:00; 2 03-05 12:00:00; 4 03-05 12:30:00");
  EXPECT_EQ(Loaded("2026-03-05 08:00:00", "2026-03-05 11:00:00"), "1 03-05 10:00:00");
}

TEST_F(EventLoading, PeriodIsExactToTheMillisecond) {
  const ZRDateTime date = At("2026-03-05 10:00:00");
  Write(1, "2026-03-05 10:00:00", kActivated);
  const auto loaded = [&](int from, int to) {
    ZREventLoggerData data;
    (void)event->Load(data, ZRDateTime::FromUtcMilliseconds(date.UtcMilliseconds() + from),
                      ZRDateTime::FromUtcMilliseconds(date.UtcMilliseconds() + to), false);
    return Shown(data);
  };
  EXPECT_EQ(loaded(0, 1), "1 03-05 10:00:00");
  EXPECT_EQ(loaded(-1, 0), "");
  EXPECT_EQ(loaded(1, 2), "");
}

TEST_F(EventLoading, ManyStepsComeInOrder) {
  constexpr int kMany = 600;  // more than are gathered at once
  ZREventFile file(true);
  const ZRWString path = Wide(event->PathAt(At("2026-03-01")));
  ASSERT_TRUE(ZREventFile::Create(path.Text(), {ZREventFile::kType, ZREventFile::kCapacity}));
  ASSERT_TRUE(file.Open(path.Text(), false));
  for (int i = 0; i < kMany; ++i) {
    ZRDateTime date = ZRDateTime::FromUtcMilliseconds(At("2026-03-05").UtcMilliseconds() + i * 500);
    uuid id;
    id.bytes[0] = static_cast<std::uint8_t>(i / 2);
    id.bytes[1] = static_cast<std::uint8_t>((i / 2) >> 8);
    (void)file.NewRecord();
    file.SetEventId(id);
    file.SetDateValue(date);
    file.SetEventValue(i % 2 == 0 ? kActivated : kDeactivated);
    file.SetEventAnnotation(ZRString(std::to_string(i).c_str()));
    ASSERT_TRUE(file.Update());
  }
  file.Close();
  ZREventLoggerData data;
  ASSERT_TRUE(event->Load(data, At("2026-03-01"), At("2026-03-31"), false));
  int number = 0;
  for (auto at = data.RecordGroup().Begin(); at != data.RecordGroup().End(); ++at, number += 2) {
    EXPECT_EQ(Str((*at)->Annotation()), std::to_string(number));
    EXPECT_EQ(Str((*at)->DeaAnnotation()), std::to_string(number + 1));
    EXPECT_EQ((*at)->DisableOffset(), 0U);
  }
  EXPECT_EQ(number, kMany);
}

TEST_F(EventLoading, DamagedRecordIsPassedOver) {
  Write(1, "2026-03-05 10:00:00", kActivated, "first");
  Write(2, "2026-03-05 11:00:00", kActivated, "second");
  Write(3, "2026-03-05 12:00:00", kActivated, "third");
  const std::string path = event->PathAt(At("2026-03-01"));
  std::string content =
      (std::ostringstream() << std::ifstream(path, std::ios::binary).rdbuf()).str();
  const std::size_t place = content.find("second");
  ASSERT_NE(place, std::string::npos);
  content[place] ^= 1;
  std::ofstream(path, std::ios::binary) << content;
  EXPECT_EQ(Loaded("2026-03-05 11:30:00", "2026-03-31"), "3 03-05 12:00:00");
  EXPECT_EQ(Loaded("2026-03-01", "2026-03-31"), "1 03-05 10:00:00; 3 03-05 12:00:00");
  EXPECT_EQ(Loaded("2026-03-05 11:30:00", "2026-03-31", true),
            "1 03-05 10:00:00; 3 03-05 12:00:00");
}

// --- what was going on before ---

TEST_F(EventLoading, ActiveAtTheBeginningIsFoundIfItIsAskedFor) {
  Occurrence(1, "2026-03-05 09:00:00", "2026-03-05 10:30:00");
  EXPECT_EQ(Loaded("2026-03-05 10:00:00", "2026-03-05 11:00:00", true), "1 03-05 09:00:00 d5400");
}

TEST_F(EventLoading, ActivationOfTheMonthBeforeIsFoundAndNoOlderOne) {
  Write(1, "2026-01-31 09:00:00", kActivated);
  Write(9, "2026-03-01 00:00:01", kActivated);
  EXPECT_EQ(Loaded("2026-03-01", "2026-03-02", true), "9 03-01 00:00:01");
  EXPECT_EQ(Loaded("2026-02-10", "2026-02-11", true, false), "1 01-31 09:00:00");
}

TEST_F(EventLoading, MonthBeforeJanuaryIsDecember) {
  Write(1, "2025-12-31 23:00:00", kActivated);
  EXPECT_EQ(Loaded("2026-01-05", "2026-01-06", true, false), "1 12-31 23:00:00");
}

TEST_F(EventLoading, SearchBackEndsAtADeactivationWhosesoeverItIs) {
  Write(1, "2026-03-05 08:00:00", kActivated);
  Occurrence(2, "2026-03-05 08:30:00", "2026-03-05 09:00:00");
  Write(1, "2026-03-05 09:30:00", kAcknowledged);
  EXPECT_EQ(Loaded("2026-03-05 10:00:00", "2026-03-05 11:00:00", true), "");
}

TEST_F(EventLoading, SearchBackPassesOverAcknowledgementsAndOddOnes) {
  Write(1, "2026-03-05 08:00:00", kActivated);
  Write(1, "2026-03-05 08:10:00", kAcknowledged);
  Write(1, "2026-03-05 08:20:00", 9);
  EXPECT_EQ(Loaded("2026-03-05 10:00:00", "2026-03-05 11:00:00", true), "1 03-05 08:00:00");
  EXPECT_EQ(Loaded("2026-04-02", "2026-04-03", true, false), "1 03-05 08:00:00");
}

TEST_F(EventLoading, SearchBackTakesNothingFromThePeriodItself) {
  Write(1, "2026-03-05 10:00:00", kActivated);
  Write(2, "2026-03-05 12:00:00", kActivated);
  EXPECT_EQ(Loaded("2026-03-05 10:00:00", "2026-03-05 11:00:00", true), "1 03-05 10:00:00");
  ZREventLoggerData data;
  EXPECT_TRUE(event->SearchBefore(data, At("2026-03-05 10:00:00")));
  EXPECT_EQ(Shown(data), "");
  EXPECT_TRUE(event->SearchBefore(data, At("2026-03-05 10:00:01")));
  EXPECT_EQ(Shown(data), "1 03-05 10:00:00");
}

TEST_F(EventLoading, SearchBackIsTrueWithoutAFile) {
  ZREventLoggerData data;
  EXPECT_TRUE(event->SearchBefore(data, At("2026-03-05 10:00:00")));
}

// --- what came behind ---

TEST_F(EventLoading, EndOfAnOccurrenceIsFoundInTheRestOfTheMonthAndTheNextOne) {
  Write(1, "2026-03-05 10:00:00", kActivated);
  Write(2, "2026-03-05 10:10:00", kActivated);
  Write(3, "2026-03-05 10:20:00", kActivated);
  Write(1, "2026-03-05 11:00:00", kDeactivated);
  Write(2, "2026-04-30 23:59:59", kDeactivated);
  Write(3, "2026-05-01 00:00:00", kDeactivated);
  EXPECT_EQ(Loaded("2026-03-05 10:00:00", "2026-03-05 10:30:00"),
            "1 03-05 10:00:00 d3600; 2 03-05 10:10:00 d4888199; 3 03-05 10:20:00");
}

TEST_F(EventLoading, MonthBehindDecemberIsJanuary) {
  Write(1, "2025-12-05 10:00:00", kActivated);
  Write(1, "2026-01-05 10:00:00", kDeactivated);
  EXPECT_EQ(Loaded("2025-12-05", "2025-12-06"), "1 12-05 10:00:00 d2678400");
}

TEST_F(EventLoading, FirstDayOfTheNextMonthIsLookedAtFromMidnight) {
  Write(1, "2026-03-05 10:00:00", kActivated);
  Write(1, "2026-04-01 00:00:00", kDeactivated);
  EXPECT_EQ(Loaded("2026-03-05", "2026-03-05 18:00:00"), "1 03-05 10:00:00 d2296800");
}

TEST_F(EventLoading, StepsBehindAreOnlyLookedAtWhileSomethingIsOpen) {
  Occurrence(1, "2026-03-05 10:00:00", "2026-03-05 10:00:05");
  Write(1, "2026-03-05 12:00:00", kAcknowledged);
  EXPECT_EQ(Loaded("2026-03-05 10:00:00", "2026-03-05 11:00:00"), "1 03-05 10:00:00 d5");
}

TEST_F(EventLoading, LookBehindStopsWhenTheLastOneIsClosed) {
  Make("Boiler", true);
  Write(1, "2026-03-05 10:00:00", kActivated);
  Write(1, "2026-03-05 10:00:05", kDeactivated);
  Write(2, "2026-03-05 10:00:10", kActivated);
  Write(2, "2026-03-05 12:00:10", kDeactivated);
  Write(1, "2026-03-05 12:00:00", kAcknowledged);
  Write(2, "2026-03-05 12:00:20", kAcknowledged);
  Write(2, "2026-03-05 12:00:30", kDeactivated);  // not read any more
  EXPECT_EQ(Loaded("2026-03-05 10:00:00", "2026-03-05 11:00:00"),
            "1 03-05 10:00:00 a7200 d5; 2 03-05 10:00:10 a7210 d7200");
}

TEST_F(EventLoading, EventThatIsNotNotifiedOwesNoAcknowledgement) {
  Occurrence(1, "2026-03-05 10:00:00", "2026-03-05 10:00:05");
  Write(1, "2026-04-05 10:00:00", kAcknowledged);
  EXPECT_EQ(Loaded("2026-03-05", "2026-03-06"), "1 03-05 10:00:00 d5");
  Make("Boiler", true);
  EXPECT_EQ(Loaded("2026-03-05", "2026-03-06"), "1 03-05 10:00:00 a2678400 d5");
}

TEST_F(EventLoading, LookBehindMakesNoNewOccurrences) {
  Write(1, "2026-03-05 10:00:00", kActivated);
  Occurrence(2, "2026-03-05 12:00:00", "2026-03-05 12:00:05");
  EXPECT_EQ(Loaded("2026-03-05 10:00:00", "2026-03-05 11:00:00"), "1 03-05 10:00:00");
}

TEST_F(EventLoading, OccurrencesOfOtherEventsAreLeftAlone) {
  Write(1, "2026-03-05 12:00:00", kDeactivated);
  ZREventLoggerData data;
  uuid other;
  NewGUID(&other);
  (void)data.AddRecord(other, Id(1), At("2026-03-05 10:00:00"), kActivated, "", "", "", false);
  EXPECT_TRUE(event->Load(data, At("2026-03-05 10:00:00"), At("2026-03-05 11:00:00"), false));
  EXPECT_EQ(Shown(data), "1 03-05 10:00:00");
}

TEST_F(EventLoading, RestRemovesOneEntryForEachThatIsClosed) {
  Write(1, "2026-03-05 12:00:00", kDeactivated);
  Write(2, "2026-03-05 12:30:00", kDeactivated);
  const ZRWString path = Wide(event->PathAt(At("2026-03-01")));
  ZREventLoggerData data;
  for (const int occurrence : {1, 2})
    (void)data.AddRecord(event->Id(), Id(occurrence), At("2026-03-05 10:00:00"), kActivated, "", "",
                         "", false);
  std::list<uuid> incomplete = {Id(3), Id(1), Id(2), Id(1)};
  EXPECT_TRUE(event->LoadRest(data, At("2026-03-05 11:00:00"), path.Text(), incomplete));
  EXPECT_EQ(incomplete, (std::list<uuid>{Id(3), Id(1)}));
  EXPECT_FALSE(event->LoadRest(data, At("2026-03-05"), L"/nowhere", incomplete));
}

TEST_F(EventLoading, OneFileCanBeLoadedByItsName) {
  Write(1, "2026-03-05 10:00:00", kActivated);
  ZREventLoggerData data;
  const ZRWString path = Wide(event->PathAt(At("2026-03-01")));
  EXPECT_FALSE(event->LoadFile(data, At("2026-03-01"), At("2026-03-31"), L"/nowhere"));
  EXPECT_TRUE(event->LoadFile(data, At("2026-03-01"), At("2026-03-31"), path.Text()));
  EXPECT_EQ(Shown(data), "1 03-05 10:00:00");
}

// --- the plain dump ---

TEST_F(EventLoading, DumpHasEachRecordOfThePeriod) {
  Write(1, "2026-02-28 10:00:00", kActivated, "a &lt; b");
  Write(1, "2026-02-28 10:00:05", kAcknowledged, "<seen>");
  Write(1, "2026-03-02 10:00:00", kDeactivated);
  Write(2, "2026-03-03 10:00:00", 3);
  Write(2, "2026-03-04 10:00:00", kActivated);
  const std::string id = "0c000000-0000-0000-0000-000000000001";
  EXPECT_EQ(FileEvents("2026-02-28", "2026-03-03"),
            "<record><eventId>" + id +
                "</eventId><annotation>a &amp;lt; b</annotation><value>ON</value><date>2026-02-28 "
                "10:00:00</date></record><record><eventId>" +
                id +
                "</eventId><annotation>&lt;seen&gt;</annotation><value>ACK</value><date>2026-02-28 "
                "10:00:05</date></record><record><eventId>" +
                id +
                "</eventId><annotation></annotation><value>OFF</value><date>2026-03-02 "
                "10:00:00</date></record>");
  EXPECT_NE(FileEvents("2026-03-03", "2026-03-04").find("<value>NONE</value>"), std::string::npos);
}

TEST_F(EventLoading, DumpOfAPeriodWithoutFilesIsEmpty) {
  EXPECT_EQ(FileEvents("2026-01-01", "2026-12-31"), "");
  Write(1, "2026-03-02 10:00:00", kDeactivated);
  EXPECT_EQ(FileEvents("2026-03-03", "2026-03-31"), "");
}

TEST_F(EventLoading, DumpGoesOnWithTheNextMonthBehindTheEndOfOne) {
  Write(1, "2026-02-28 10:00:00", kActivated, "x");
  Write(2, "2026-03-01 10:00:00", kActivated, "y");
  Write(3, "2026-02-28 11:00:00", kActivated, "z");
  const std::string dump = FileEvents("2026-02-01", "2026-03-01 10:00:00");
  EXPECT_NE(dump.find("x"), std::string::npos);
  EXPECT_EQ(dump.find("<annotation>y"), std::string::npos);
}

// --- the count ---

TEST_F(EventLoading, RecordsOfAPeriodAreVisitedInOrder) {
  Write(1, "2025-12-31 23:59:59", kActivated);
  Write(1, "2026-01-01 00:00:00", kDeactivated);
  Write(1, "2026-01-05 10:00:00", kAcknowledged);
  Write(2, "2026-03-01 00:00:00", kActivated);
  Write(2, "2026-03-01 00:00:01", kDeactivated);
  const auto visited = [this](const std::string& from, const std::string& to, int most) {
    std::string all;
    event->VisitRecords(At(from), At(to), [&](const ZRDateTime& when, int mark) {
      ZRString text;
      (void)DateTime2String(text, when, false, false);
      all += (all.empty() ? "" : ", ") + Str(text).substr(5) + " " + std::to_string(mark);
      return --most > 0;
    });
    return all;
  };
  EXPECT_EQ(visited("2026-01-01 00:00:00", "2026-03-01 00:00:01", 9),
            "01-01 00:00:00 2, 01-05 10:00:00 4, 03-01 00:00:00 1");
  EXPECT_EQ(visited("2025-12-01 00:00:00", "2026-12-01 00:00:00", 2),
            "12-31 23:59:59 1, 01-01 00:00:00 2");
  EXPECT_EQ(visited("2025-12-01 00:00:00", "2026-12-01 00:00:00", 1), "12-31 23:59:59 1")
      << "nor the next month";
  EXPECT_EQ(visited("2020-01-01 00:00:00", "2020-06-01 00:00:00", 9), "");
}

TEST_F(EventLoading, ShareOfTheNumberOfRecordsIsAtLeastOne) {
  EXPECT_EQ(event->Share(100), 1) << "no files";
  for (int i = 0; i < 3; ++i)
    Write(i, "2025-11-30 10:00:00", kActivated);
  EXPECT_EQ(event->Share(100), 3);
  EXPECT_EQ(event->Share(50), 1);
  EXPECT_EQ(event->Share(0), 1);
  EXPECT_EQ(event->Share(-100), 1);
  EXPECT_EQ(event->Share(199), 5);
}

TEST_F(EventLoading, ShareCountsFrom2000ToThePresentMonthAndNoDecember) {
  time.SetUtc(At("2026-03-15").UtcMilliseconds());
  Write(1, "1999-11-01", kActivated);
  Write(1, "2000-01-01", kActivated);
  Write(1, "2025-11-30", kActivated);
  Write(1, "2025-12-01", kActivated);
  Write(1, "2026-01-01", kActivated);
  Write(1, "2026-03-31", kActivated);
  Write(1, "2026-04-01", kActivated);
  EXPECT_EQ(event->Share(100), 4);
  EXPECT_EQ(Loaded("2025-12-01", "2025-12-31"), "1 12-01 00:00:00") << "it is there";
}

TEST_F(EventLoading, ShareIsReckonedIn32Bits) {
  for (int i = 0; i < 3; ++i)
    Write(i, "2025-11-30 10:00:00", kActivated);
  EXPECT_EQ(event->Share(715'827'882), 21'474'836);
  EXPECT_EQ(event->Share(715'827'883), 1) << "the product is below zero";
  EXPECT_EQ(event->Share(1'431'655'766), 1) << "3 times it is 2 beyond the range";
  EXPECT_EQ(event->Share(1'431'656'000), 7);
}

}  // namespace
