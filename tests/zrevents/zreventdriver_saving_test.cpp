#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "host/platform/zrthread.h"
#include "support/historytest.h"

namespace {

class EventSaving : public HistoryTest {
 protected:
  // Keeps the event's files in use for so long; they must hold a record of March 2026.
  void Occupy(std::uint32_t milliseconds) {
    (void)reader.Start([this, milliseconds] {
      SlowWriting response(milliseconds);
      event->LoadFileEvents(At("2026-03-01"), At("2026-03-31"), response);
    });
    time.Advance(0);
  }
  ~EventSaving() override { reader.Join(); }

  [[nodiscard]] std::string Data() const { return (site.path / "data/").string(); }

  ZRThread reader;
};

// --- the path ---

TEST_F(EventSaving, PathIsMadeOfTheDataFolderTheMonthAndTheName) {
  EXPECT_EQ(event->PathAt(At("2024-03-09")), Data() + "2024/03/Boiler 03-2024.suc");
  EXPECT_EQ(event->PathAt(At("0007-12-31 23:59:59")), Data() + "0007/12/Boiler 12-0007.suc");
  EXPECT_EQ(event->PathAt(ZRDateTime()), Data() + "0000/00/Boiler 00-0000.suc");
}

TEST_F(EventSaving, ExtensionIsDatForTypeOneAlone) {
  const ZRDateTime when = At("2024-03-09");
  EXPECT_TRUE(event->PathAt(when, 260, 1).ends_with(" 03-2024.dat"));
  for (const int type : {0, 2, -1, 100})
    EXPECT_TRUE(event->PathAt(when, 260, type).ends_with(" 03-2024.suc")) << type;
}

TEST_F(EventSaving, NameStandsInThePathAsItIs) {
  EXPECT_EQ(Make("Kessel \"2\" &amp; ñ 😀 100%d").PathAt(At("2024-03-09")),
            Data() + "2024/03/Kessel \"2\" & ñ 😀 100%d 03-2024.suc");
}

TEST_F(EventSaving, PathThatDoesntFitIsEmpty) {
  const ZRDateTime when = At("2024-03-09");
  const int needed = static_cast<int>(event->PathAt(when).size()) + 1;
  EXPECT_FALSE(event->PathAt(when, needed).empty());
  for (const int size : {needed - 1, needed - 5, 20, 2, 1})
    EXPECT_EQ(event->PathAt(when, size), "") << size;
  std::array<wchar_t, 1> untouched = {L'#'};
  event->EventFileName(untouched.data(), 0, when, 0);
  EXPECT_EQ(untouched[0], L'#');
}

TEST_F(EventSaving, NameThatWouldLeaveTheFolderHasNoPath) {
  EXPECT_EQ(Make("../Boiler").PathAt(At("2024-03-09")), "");
  EXPECT_EQ(Make("a/b").PathAt(At("2024-03-09")), "");
  EXPECT_EQ(Make("..").PathAt(At("2024-03-09")), Data() + "2024/03/.. 03-2024.suc");
}

// --- writing ---

TEST_F(EventSaving, FirstTransitionOfAMonthMakesItsFoldersAndItsFile) {
  Save(1, "2026-03-05 10:00:00", kActivated, "on");
  EXPECT_EQ(Files(), "2026/03/Boiler 03-2026.suc");
  EXPECT_EQ(Steps("2026/03/Boiler 03-2026.suc"), "1:1on");
  EXPECT_EQ(event->WaitingRecords(), 0);
  EXPECT_EQ(Loaded("2026-03-01", "2026-03-31"), "1 03-05 10:00:00");
}

TEST_F(EventSaving, RecordHoldsTheFourFields) {
  Save(7, "2026-03-05 10:11:12", kAcknowledged, "seen &amp; é");
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(Wide(event->PathAt(At("2026-03-01"))).Text(), true));
  ASSERT_EQ(file.numRecords, 1);
  ASSERT_TRUE(file.GoRecord(0));
  uuid id;
  ZRDateTime date;
  file.EventId(id);
  file.DateValue(date);
  EXPECT_EQ(id, Id(7));
  EXPECT_EQ(date, At("2026-03-05 10:11:12"));
  EXPECT_EQ(file.EventValue(), 4.0);
  EXPECT_EQ(file.EventAnnotationView(), "seen &amp; é");
}

TEST_F(EventSaving, RecordLiesInTheFileOfItsMonthInUtc) {
  Save(1, "2026-01-31 23:59:59", kActivated);
  Save(1, "2026-02-01 00:00:00", kDeactivated);
  EXPECT_EQ(Steps("2026/01/Boiler 01-2026.suc"), "1:1");
  EXPECT_EQ(Steps("2026/02/Boiler 02-2026.suc"), "1:2");
}

TEST_F(EventSaving, RecordsLieInTheOrderInWhichTheyCame) {
  Save(1, "2026-03-05 10:00:00", kActivated, "a");
  Save(1, "2026-03-05 10:00:05", kAcknowledged, "b");
  Save(1, "2026-03-05 09:00:00", kDeactivated, "c");
  EXPECT_EQ(Steps("2026/03/Boiler 03-2026.suc"), "1:1a 1:4b 1:2c");
}

TEST_F(EventSaving, PathIsToldToTheTransition) {
  tagSEventRT transition;
  transition.actived = At("2026-03-05");
  event->Save(transition);
  EXPECT_EQ(Narrow(transition.fileName), event->PathAt(At("2026-03-05")));
}

// --- waiting ---

TEST_F(EventSaving, WhileAReaderHasTheFilesARecordWaitsForTheNextOne) {
  Save(1, "2026-03-05 10:00:00", kActivated);
  Occupy(5000);
  const std::uint32_t before = time.TickCount();
  Save(1, "2026-03-05 10:00:09", kDeactivated);
  EXPECT_EQ(time.TickCount() - before, 10U);
  EXPECT_EQ(event->WaitingRecords(), 1);
  EXPECT_EQ(Steps("2026/03/Boiler 03-2026.suc"), "1:1");
  reader.Join();
  EXPECT_EQ(Steps("2026/03/Boiler 03-2026.suc"), "1:1") << "not before the next one";
  Save(2, "2026-03-05 11:00:00", kActivated);
  EXPECT_EQ(Steps("2026/03/Boiler 03-2026.suc"), "1:1 1:2 2:1");
  EXPECT_EQ(event->WaitingRecords(), 0);
}

TEST_F(EventSaving, ReaderThatGoesWithinTenMillisecondsIsWaitedFor) {
  Save(1, "2026-03-05 10:00:00", kActivated);
  Occupy(8);
  Save(1, "2026-03-05 10:00:09", kDeactivated);
  EXPECT_EQ(event->WaitingRecords(), 0);
  EXPECT_EQ(Steps("2026/03/Boiler 03-2026.suc"), "1:1 1:2");
}

TEST_F(EventSaving, RecordThatWaitedLiesInTheFileOfItsOwnMonth) {
  Save(1, "2026-03-05 10:00:00", kActivated);
  Occupy(5000);
  Save(1, "2026-03-31 23:59:59", kDeactivated, "late");
  reader.Join();
  Save(2, "2026-04-01 00:00:00", kActivated);
  EXPECT_EQ(Steps("2026/03/Boiler 03-2026.suc"), "1:1 1:2late");
  EXPECT_EQ(Steps("2026/04/Boiler 04-2026.suc"), "2:1");
}

TEST_F(EventSaving, WhileTheFolderCantBeWrittenRecordsWaitAndThenGoInOrder) {
  // A file stands where the folder of the year has to be.
  site.Write("data/2026", "");
  for (int i = 1; i <= 3; ++i) {
    Save(i, "2026-03-05 10:00:00", kActivated);
    EXPECT_EQ(event->WaitingRecords(), i);
  }
  EXPECT_EQ(Files(), "2026");
  site.Remove("data/2026");
  Save(4, "2026-03-05 10:00:00", kActivated);
  EXPECT_EQ(Steps("2026/03/Boiler 03-2026.suc"), "1:1 2:1 3:1 4:1");
  EXPECT_EQ(event->WaitingRecords(), 0);
}

TEST_F(EventSaving, FileOfAnotherTypeIsLeftAloneAndTheRecordWaits) {
  std::filesystem::create_directories(site.path / "data/2026/03");
  site.Write("data/2026/03/Boiler 03-2026.suc", "somebody's text");
  Save(1, "2026-03-05 10:00:00", kActivated);
  EXPECT_EQ(event->WaitingRecords(), 1);
  std::ifstream file(site.path / "data/2026/03/Boiler 03-2026.suc");
  std::string content;
  std::getline(file, content);
  EXPECT_EQ(content, "somebody's text");
}

TEST_F(EventSaving, EventWhoseNameCantBeAFileNameGetsNoneAndItsRecordsWait) {
  for (const char* name : {"a/b", "../x"}) {
    Make(name);
    Save(1, "2026-03-05 10:00:00", kActivated);
    Save(1, "2026-03-05 10:00:01", kDeactivated);
    EXPECT_EQ(event->WaitingRecords(), 2) << name;
  }
  Make(std::string(300, 'n'));
  Save(1, "2026-03-05 10:00:00", kActivated);
  EXPECT_EQ(event->WaitingRecords(), 1);
  EXPECT_EQ(Files(), "");
}

TEST_F(EventSaving, RecordsThatStillWaitGoWithTheEvent) {
  site.Write("data/2026", "");
  Save(1, "2026-03-05 10:00:00", kActivated);
  site.Remove("data/2026");
  event.reset();
  EXPECT_EQ(Files(), "");
}

// --- by the state machine ---

class EventHistory : public HistoryTest {
 protected:
  void Serve(const EventXml& definition) {
    Load(definition);
    Set("RUN", 0);
    StartServer();
    Passes(2);
  }
  static EventXml Pump() { return EventXml("Pump").Condition("[P.RUN] = 1"); }
  // Steps without the numbers of their occurrences.
  [[nodiscard]] std::string Values(const std::string& below) const {
    const std::string steps = Steps(below);
    std::string values;
    for (std::size_t at = steps.find(':'); at != std::string::npos; at = steps.find(':', at + 1))
      values += steps[at + 1];
    return values;
  }
};

TEST_F(EventHistory, EventWithRecordLeavesItsTransitionsAndTheirTexts) {
  Serve(Pump().With("annotation", "on &amp;amp; up").With("deaAnnotation", "down").Record());
  Set("RUN", 1);
  Passes(2);
  Set("RUN", 0);
  Passes(2);
  StopServer();
  const std::string steps = Steps("2026/01/Pump 01-2026.suc");
  EXPECT_NE(steps.find(":1on &amp;amp; up"), std::string::npos) << "escaped as it was: " << steps;
  EXPECT_NE(steps.find(":2"), std::string::npos) << steps;
  EXPECT_EQ(Values("2026/01/Pump 01-2026.suc"), "12");
}

TEST_F(EventHistory, AcknowledgementLiesBeforeOrBehindTheEndAsItCame) {
  Serve(Pump().Notify().Record());
  ZREventDriver& pump = **ZREventSystem::Get().EventsBegin();
  for (const bool endsFirst : {false, true}) {
    Set("RUN", 1);
    Passes(2);
    if (endsFirst) {
      Set("RUN", 0);
      Passes(2);
    }
    EXPECT_TRUE(pump.ProcessHttpServiceAck(pump.Id()));
    Set("RUN", 0);
    Passes(2);
  }
  StopServer();
  EXPECT_EQ(Values("2026/01/Pump 01-2026.suc"), "142124");
}

TEST_F(EventHistory, EventWithoutRecordLeavesNothing) {
  Serve(Pump());
  Set("RUN", 1);
  Passes(2);
  StopServer();
  EXPECT_EQ(Files(), "");
}

TEST_F(EventHistory, DateIsTheClockOfTheWriting) {
  Serve(Pump().Record());
  Set("RUN", 1);
  Passes(1);
  StopServer();
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(Wide((site.path / "data/2026/01/Pump 01-2026.suc").string()).Text(), true));
  ASSERT_TRUE(file.GoRecord(0));
  ZRDateTime date;
  file.DateValue(date);
  EXPECT_EQ(date, At("2026-01-01 00:00:03"));
}

}  // namespace
