#include "tessaly/zreventvariables.h"

#include <gtest/gtest.h>

#include "host/driversupport/eventfile/zreventfilesync.h"
#include "host/platform/zrsystemfilesystem.h"
#include "support/enginetest.h"
#include "support/logcapture.h"
#include "tessaly/zrperiod.h"
#include "zrevents/history/zreventloggerdata.h"

namespace {

// Vocabulary: Begin with events, read a variable, Told: what the observer was told, in words.
class EventVariables : public EngineTest {
 protected:
  EventVariables() { ZREventFileSync::Get().SetDurability(ZRDurability::kOff); }
  ~EventVariables() override {
    End();
    ZREventFileSync::Get().SetDurability(ZRDurability::kAdaptive);
    (void)ZRDateTime::SetLocalZone("");
  }

  // As far as the first pass, with the history unread.
  void BeginUnread(const std::vector<EventXml>& events, ZRCountUnit unit = ZRCountUnit::kMonth) {
    Load(events);
    variables = std::make_unique<ZREventVariables>(
        [this](const ZREventDriver& event, bool active, double seconds) {
          told.push_back(Narrow(event.Name()) + (active ? " on " : " off ") +
                         Narrow(FormatWide(L"%g", seconds)));
        },
        unit);
    variables->Bind(Store());
    StartServer();
  }
  void Read() {
    ASSERT_TRUE(variables->Start());
    time.Advance(0);
  }
  void Begin(const std::vector<EventXml>& events, ZRCountUnit unit = ZRCountUnit::kMonth) {
    BeginUnread(events, unit);
    Read();
  }
  void End() {
    if (variables != nullptr) variables->Stop();
    StopServer();
    variables.reset();
  }
  // For so many seconds each: active, then not.
  void Run(int active, int inactive) {
    Set("RUN", 1);
    Passes(active);
    Set("RUN", 0);
    Passes(inactive);
  }
  // The clock, to a time of UTC.
  void At(const std::string& utc) {
    time.SetUtc(ParseInstant(utc, ZRReading::kUtc)->UtcMilliseconds());
  }
  // "CACT CDIS CACK CTIM"
  static std::string Counts(const std::string& event = "Pump") {
    return Value(event + ".CACT") + " " + Value(event + ".CDIS") + " " + Value(event + ".CACK") +
           " " + Value(event + ".CTIM");
  }
  static bool Acknowledge(const std::string& event = "Pump") {
    return Find(event)->ProcessHttpServiceAck(Find(event)->Id());
  }
  static ZRDriver* Device(int number) {
    return ZRDriver::Source()->DriverOfId(Wide(EventXml::Id(number)));
  }
  // The value of a variable, or a word for why there is none.
  static std::string Value(const std::string& name) {
    ZRLiveValue* const value = ZRLiveValues::Get().Find(Wide(name));
    if (value == nullptr) return "unknown";
    double number = 0.0;
    const bool isNumber = value->Number(number);
    ZRLiveValues::Get().Release(value);
    return isNumber ? Narrow(FormatWide(L"%g", number)) : "unavailable";
  }
  std::vector<std::string> Told() { return std::exchange(told, {}); }

  std::unique_ptr<ZREventVariables> variables;
  std::vector<std::string> told;
};

using Words = std::vector<std::string>;

EventXml Pump(const std::string& name = "Pump", int number = 1) {
  return EventXml(name, number).Condition("[P.RUN] = 1");
}

TEST_F(EventVariables, ShowStateAndSecondsOfEachEvent) {
  Set("RUN", 0);
  Begin({Pump(), EventXml("Fan", 2).Condition("1 = 1")});
  EXPECT_EQ(Value("Pump.ST"), "0");
  EXPECT_EQ(Value("Pump.TACT"), "0");
  EXPECT_EQ(Value("Fan.ST"), "1");
  Set("RUN", 1);
  Passes();
  EXPECT_EQ(Value("Pump.ST"), "1");
  EXPECT_EQ(Value("Pump.TACT"), "0");
  EXPECT_EQ(Value("Fan.TACT"), "1");
  Passes(5);
  EXPECT_EQ(Value("Pump.TACT"), "5");
  Set("RUN", 0);
  Passes();
  EXPECT_EQ(Value("Pump.ST"), "0");
  EXPECT_EQ(Value("Pump.TACT"), "0");
}

TEST_F(EventVariables, ExistAsSoonAsTheyAreBound) {
  Load(Pump());
  EXPECT_EQ(Value("Pump.ST"), "unknown");
  variables = std::make_unique<ZREventVariables>(nullptr, ZRCountUnit::kMonth);
  variables->Bind(Store());
  EXPECT_EQ(Value("Pump.ST"), "0");
  EXPECT_EQ(Value("Pump.TACT"), "0");
}

TEST_F(EventVariables, ObserverIsToldOfEachTransitionOnce) {
  Set("RUN", 0);
  Begin({Pump()});
  Passes(3);
  EXPECT_EQ(Told(), Words{}) << "an event that begins inactive is no news";
  Set("RUN", 1);
  Passes(4);
  EXPECT_EQ(Told(), Words{"Pump on 0"});
  Set("RUN", 0);
  Passes(4);
  EXPECT_EQ(Told(), Words{"Pump off 4"});
  Set("RUN", 1);
  Passes();
  Set("RUN", 0);
  Passes();
  EXPECT_EQ(Told(), (Words{"Pump on 0", "Pump off 1"}));
}

TEST_F(EventVariables, ObserverIsToldOfTheWholeTimeADeactivationDelayIncluded) {
  Set("RUN", 1);
  Begin({Pump().DelayToDeactivate("3")});
  Passes(2);
  Set("RUN", 0);
  Passes(10);
  EXPECT_EQ(Told(), (Words{"Pump on 0", "Pump off 6"}));
}

TEST_F(EventVariables, ClockThatIsSetBackMakesNoNegativeTime) {
  Set("RUN", 1);
  Begin({Pump()});
  time.SetUtc(time.UtcMilliseconds() - 3'600'000);
  Set("RUN", 0);
  Passes();
  EXPECT_EQ(Told(), (Words{"Pump on 0", "Pump off 0"}));
}

TEST_F(EventVariables, OtherEventsCanReadThem) {
  Set("RUN", 1);
  Begin({Pump(), EventXml("Long", 2).Condition("[Pump.TACT] >= 3")});
  Passes(2);
  EXPECT_FALSE(Find("Long")->IsEnabled());
  Passes(3);
  EXPECT_TRUE(Find("Long")->IsEnabled());
}

TEST_F(EventVariables, OfTwoEventsOfOneNameTheFirstHasThemAndBothAreTold) {
  Set("RUN", 1);
  Begin({EventXml("Pump", 1).Condition("[P.RUN] = 2"), Pump("Pump", 2)});
  Passes();
  EXPECT_EQ(Value("Pump.ST"), "0");
  EXPECT_EQ(Told(), Words{"Pump on 0"});
  Set("RUN", 2);
  Passes();
  EXPECT_EQ(Value("Pump.ST"), "1");
  EXPECT_EQ(Told(), (Words{"Pump on 0", "Pump off 2"}));
}

TEST_F(EventVariables, NameThatADriverHasStaysTheDrivers) {
  Set("ST", 7);
  Begin({EventXml("P", 1).Condition("1 = 1")});
  EXPECT_EQ(Value("P.ST"), "7");
  EXPECT_EQ(Value("P.TACT"), "0");
  EXPECT_EQ(Told(), Words{"P on 0"});
}

TEST_F(EventVariables, AreGoneWithTheirObject) {
  Set("RUN", 0);
  Begin({Pump()});
  StopServer();
  variables.reset();
  EXPECT_EQ(Value("Pump.ST"), "unknown");
  EXPECT_EQ(Value("Pump.TACT"), "unknown");
}

// --- devices ---

TEST_F(EventVariables, AreThoseOfADeviceWithNameAndIdOfTheEvent) {
  Begin({Pump(), Pump("Fan", 2)});
  ZRDriver* const device = Device(2);
  ASSERT_NE(device, nullptr);
  EXPECT_EQ(Narrow(device->Name()), "Fan");
  EXPECT_EQ(Narrow(device->Id()), EventXml::Id(2));
  EXPECT_EQ(Narrow(device->Uuid().toWString()), EventXml::Id(2));
  EXPECT_TRUE(device->IsOnline());
  std::string names;
  device->VisitVariables([&](std::int64_t, const ZRWString& name, const ZRLiveValue&) {
    names += (names.empty() ? "" : " ") + Narrow(name);
  });
  EXPECT_EQ(names, "ST TACT CACT CDIS CACK CTIM");
  std::int64_t number = -1;
  EXPECT_EQ(ZRDriver::FindVariable(L"Fan.CDIS", number), device);
  EXPECT_EQ(number, device->VariableNumber(L"CDIS"));
  EXPECT_EQ(ZRDriver::Source()->DriverOfName(L"Fan"), device);
  EXPECT_EQ(Device(2), device) << "it is made once";
}

TEST_F(EventVariables, DeviceThatIsNotThereIsNotFound) {
  Begin({Pump()});
  std::int64_t number = 5;
  EXPECT_EQ(Device(3), nullptr);
  EXPECT_EQ(ZRDriver::Source()->DriverOfId(L"Pump"), nullptr);
  EXPECT_EQ(ZRDriver::Source()->DriverOfId(L"AAAAAAAA-0000-4000-8000-000000000001"), nullptr);
  EXPECT_EQ(ZRDriver::LockDriver(Wide(EventXml::Id(1)).Text(), nullptr), nullptr)
      << "no remote event comes through it";
  for (const wchar_t* const name :
       {L"Pump.NONE", L"Pump.", L"Pump", L".ST", L"Pum.ST", L"Pump.st", L"", L"Pump.ST.ST"})
    EXPECT_EQ(ZRDriver::FindVariable(name, number), nullptr) << Narrow(name);
  EXPECT_EQ(number, 5);
  EXPECT_EQ(ZRDriver::Source()->DriverOfName(L"Zebra"), nullptr);
}

TEST_F(EventVariables, TellWhatTheyAre) {
  Begin({Pump()});
  ZRDriver& device = *Device(1);
  std::string all;
  for (const wchar_t* const name : {L"ST", L"TACT", L"CACT", L"CDIS", L"CACK", L"CTIM"}) {
    tagSVariableHandle handle;
    tagSVariableInfo info;
    tagSVariableValueInfo valueInfo;
    ASSERT_TRUE(device.FindVariable(name, handle));
    ASSERT_TRUE(device.VariableInfo(handle, info, 0));
    ASSERT_TRUE(device.ValueInfo(handle.number, valueInfo));
    EXPECT_EQ(info.name, name);
    EXPECT_EQ(valueInfo.flags, 0);
    EXPECT_EQ(valueInfo.type, 0U);
    all += " " + std::to_string(info.flags.to_ulong()) + Str(valueInfo.measure);
  }
  EXPECT_EQ(all, " 4 16s 8 8 8 16s");
  tagSVariableHandle none;
  tagSVariableInfo info;
  tagSVariableValueInfo valueInfo;
  EXPECT_FALSE(device.VariableInfo(none, info, 0));
  EXPECT_FALSE(device.ValueInfo(6, valueInfo));
}

TEST_F(EventVariables, AreTheEventsOwn) {
  Begin({Pump()});
  ZRDriver& device = *Device(1);
  ZRValue one;
  one.SetNumeric(1);
  for (std::int64_t number = 0; number < 6; ++number) {
    EXPECT_FALSE(device.ForceValue(number, one, L"Pump"));
    device.SetVariableValue(number, 1.0);
  }
  EXPECT_EQ(Value("Pump.ST") + " " + Value("Pump.TACT") + " " + Counts(), "0 0 0 0 0 0");
}

TEST_F(EventVariables, CostNothingUntilSomebodyAsks) {
  const std::size_t before = ZRLiveValues::Get().Size();
  Set("RUN", 1);
  Begin({Pump(), Pump("Fan", 2), EventXml("Other", 3).Condition("[Fan.CACT] = 1")});
  Passes(3);
  // The condition's name stands for all of its device's.
  EXPECT_EQ(ZRLiveValues::Get().Size(), before + 7) << "and P.RUN";
  EXPECT_TRUE(Find("Other")->IsEnabled());
}

TEST_F(EventVariables, ShowWhatHappenedBeforeSomebodyAsked) {
  Set("RUN", 0);
  Begin({Pump().Notify()});
  Run(3, 1);
  ASSERT_TRUE(Acknowledge());
  Set("RUN", 1);
  Passes(3);
  EXPECT_EQ(Value("Pump.ST") + " " + Value("Pump.TACT") + " " + Counts(), "1 2 2 1 1 5");
}

TEST_F(EventVariables, NameOfAnEventMayHavePoints) {
  Set("RUN", 1);
  Begin({Pump("1.hall.Pump"), EventXml("Other", 2).Condition("[1.hall.Pump.ST] = 1")});
  Passes();
  EXPECT_EQ(Value("1.hall.Pump.ST"), "1");
  EXPECT_TRUE(Find("Other")->IsEnabled());
}

TEST_F(EventVariables, SecondEventOfANameHasADeviceWithoutVariables) {
  Begin({Pump("Pump", 1), Pump("Pump", 2)});
  ZRDriver* const second = Device(2);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(second->VariableNumber(L"ST"), -1);
  EXPECT_EQ(Device(1)->VariableNumber(L"ST"), 0);
  std::int64_t number = -1;
  EXPECT_EQ(ZRDriver::FindVariable(L"Pump.CACT", number), Device(1));
}

TEST_F(EventVariables, DeviceHasNotWhatADriverOfItsNameHas) {
  Set("ST", 7);
  Set("CACT", 8);
  Begin({EventXml("P", 1).Condition("1 = 1")});
  ZRDriver& device = *Device(1);
  EXPECT_EQ(device.VariableNumber(L"ST"), -1);
  EXPECT_EQ(device.VariableNumber(L"TACT"), 0);
  tagSVariableValueInfo info;
  ASSERT_TRUE(device.ValueInfo(device.VariableNumber(L"CTIM"), info));
  EXPECT_EQ(Str(info.measure), "s");
  std::int64_t number = -1;
  EXPECT_EQ(ZRDriver::FindVariable(L"P.ST", number), driver);
  EXPECT_EQ(ZRDriver::FindVariable(L"P.CTIM", number), &device);
  EXPECT_EQ(Value("P.CACT"), "8");
}

TEST_F(EventVariables, AreGoneWhenTheyAreStopped) {
  Begin({Pump()});
  EXPECT_NE(Device(1), nullptr);
  variables->Stop();
  EXPECT_EQ(ZRDriver::Source(), nullptr);
  std::int64_t ignored = 0;
  EXPECT_EQ(ZRDriver::FindVariable(L"Pump.ST", ignored), nullptr);
}

TEST_F(EventVariables, FollowTheEventsOfAReload) {
  Set("RUN", 1);
  Begin({Pump("Pump", 1).Record(), Pump("Fan", 2).Record()});
  Passes(2);
  EXPECT_EQ(Counts("Fan"), "1 0 0 2");
  Set("RUN", 0);
  Passes();
  End();
  Begin({Pump("Fan", 2).Record(), Pump("Lamp", 3).Record()});
  EXPECT_EQ(Value("Pump.CACT"), "unknown");
  EXPECT_EQ(Device(1), nullptr);
  EXPECT_EQ(Counts("Fan"), "1 1 0 3");
  EXPECT_EQ(Counts("Lamp"), "0 0 0 0");
}

// --- counts ---

TEST_F(EventVariables, CountWhatHappens) {
  Set("RUN", 0);
  Begin({Pump().Notify()});
  EXPECT_EQ(Counts(), "0 0 0 0");
  Set("RUN", 1);
  Passes(4);
  EXPECT_EQ(Counts(), "1 0 0 3") << "what goes on is in it";
  Set("RUN", 0);
  Passes();
  EXPECT_EQ(Counts(), "1 1 0 4");
  Run(2, 10);
  EXPECT_EQ(Counts(), "2 2 0 6");
}

TEST_F(EventVariables, AcknowledgementIsCountedOnce) {
  Set("RUN", 0);
  Begin({Pump().Notify()});
  EXPECT_FALSE(Acknowledge());
  Set("RUN", 1);
  Passes(2);
  EXPECT_TRUE(Acknowledge());
  EXPECT_TRUE(Acknowledge());
  EXPECT_EQ(Value("Pump.CACK"), "1");
  Passes(2);
  Set("RUN", 0);
  Passes(3);
  EXPECT_EQ(Counts(), "1 1 1 4");
}

TEST_F(EventVariables, EventsThatAreNotRecordedCountFromTheStartOn) {
  Set("RUN", 0);
  Begin({Pump()});
  Run(3, 2);
  EXPECT_EQ(Counts(), "1 1 0 3");
  End();
  Begin({Pump()});
  EXPECT_EQ(Counts(), "0 0 0 0");
}

TEST_F(EventVariables, ConditionsMayUseCounts) {
  Set("RUN", 0);
  Begin({Pump(), EventXml("Often", 2).Condition("[Pump.CACT] &gt; 2")});
  Run(1, 1);
  Run(1, 1);
  Passes();
  EXPECT_FALSE(Find("Often")->IsEnabled());
  Run(1, 2);
  EXPECT_TRUE(Find("Often")->IsEnabled());
}

// --- the history ---

TEST_F(EventVariables, CountsAreUnavailableUntilTheHistoryIsRead) {
  Set("RUN", 1);
  BeginUnread({Pump().Record()});
  Passes(3);
  EXPECT_EQ(Counts(), "unavailable unavailable unavailable unavailable");
  EXPECT_EQ(Value("Pump.ST") + " " + Value("Pump.TACT"), "1 3");
  Read();
  EXPECT_EQ(Counts(), "1 0 0 3");
}

TEST_F(EventVariables, CountsGoOnAfterARestart) {
  Set("RUN", 0);
  Begin({Pump().Record().Notify()});
  Run(5, 3);
  ASSERT_TRUE(Acknowledge());
  Run(2, 3);
  EXPECT_EQ(Counts(), "2 2 1 7");
  End();
  Passes(60);
  Begin({Pump().Record().Notify()});
  EXPECT_EQ(Counts(), "2 2 1 7");
  Run(2, 1);
  EXPECT_EQ(Counts(), "3 3 1 9");
}

TEST_F(EventVariables, OccurrenceThatTheEndOfTheSiteCutOffAddsNoSeconds) {
  Set("RUN", 0);
  Begin({Pump().Record()});
  Run(5, 1);
  Set("RUN", 1);
  Passes(10);
  EXPECT_EQ(Counts(), "2 1 0 14");
  End();
  Passes(100);
  Begin({Pump().Record()});
  EXPECT_EQ(Counts(), "3 1 0 5") << "it is active anew";
  Passes(4);
  EXPECT_EQ(Counts(), "3 1 0 9");
}

TEST_F(EventVariables, WhatHappensBeforeTheHistoryIsReadCountsOnce) {
  Set("RUN", 0);
  Begin({Pump().Record().Notify()});
  Run(4, 2);
  End();
  BeginUnread({Pump().Record().Notify()});
  Run(3, 1);
  ASSERT_TRUE(Acknowledge());
  Set("RUN", 1);
  Passes(2);
  Read();
  EXPECT_EQ(Counts(), "3 2 1 8");
  Passes();
  Set("RUN", 0);
  Passes();
  EXPECT_EQ(Counts(), "3 3 1 10");
}

TEST_F(EventVariables, FirstInstantOfTheRunIsNoHistory) {
  Set("RUN", 1);
  BeginUnread({Pump().Record()});  // active at the very instant of Bind
  Read();
  EXPECT_EQ(Counts(), "1 0 0 0");
}

TEST_F(EventVariables, OccurrenceFromBeforeThePeriodCountsFromItsBeginning) {
  At("2026-01-31T23:59:50");
  Set("RUN", 0);
  Begin({Pump().Record()});
  Run(20, 5);  // from 23:59:51 to 00:00:11
  EXPECT_EQ(Counts(), "0 1 0 11");
  End();
  Begin({Pump().Record()});
  EXPECT_EQ(Counts(), "0 1 0 11");
  End();
  Begin({Pump().Record()}, ZRCountUnit::kAll);
  EXPECT_EQ(Counts(), "1 1 0 20");
}

TEST_F(EventVariables, ReadWhatTheTotalsOfTheHistoryTell) {
  Set("RUN", 0);
  Begin({Pump().Record().Notify()}, ZRCountUnit::kYear);
  for (int i = 1; i < 30; ++i) {
    Run(i, 31 - i);
    ASSERT_TRUE(i % 3 != 0 || Acknowledge());
    time.SetUtc(time.UtcMilliseconds() + i * 3'600'000 + i * 17);
  }
  const std::string lived = Counts();
  End();
  Begin({Pump().Record().Notify()}, ZRCountUnit::kYear);
  ZREventLoggerInfo info;
  info.AddVariable(Find("Pump")->Id());
  ZREventLoggerData data;
  data.Setup(info);
  const ZRCountPeriod year = CountPeriodAround(ZRCountUnit::kYear, time.UtcMilliseconds());
  EXPECT_TRUE(data.SelectData(ZRDateTime::FromUtcMilliseconds(year.begin),
                              ZRDateTime::FromUtcMilliseconds(year.next), false));
  const auto& total = **data.RecordGroupTotalized().Begin();
  EXPECT_EQ(Counts(),
            std::to_string(total.EnableCount()) + " " + std::to_string(total.DisableCount()) + " " +
                std::to_string(total.AckCount()) + " " + std::to_string(total.Duration()));
  EXPECT_EQ(Counts(), lived);
}

TEST_F(EventVariables, AllThatEverHappenedIsReadFromTheOldestYearOn) {
  At("2019-12-31T23:59:50");
  Set("RUN", 0);
  Begin({Pump().Record()});
  Run(3, 1);
  End();
  At("2026-05-10T10:00");
  Begin({Pump().Record()}, ZRCountUnit::kAll);
  EXPECT_EQ(Counts(), "1 1 0 3");
}

TEST_F(EventVariables, StopEndsTheReading) {
  Set("RUN", 0);
  BeginUnread({Pump().Record()});
  (void)Value("Pump.CACT");
  ASSERT_TRUE(variables->Start());
  variables->Stop();
  EXPECT_EQ(Value("Pump.CACT"), "unavailable") << "the thread had no turn";
}

// A disk on which a data file takes its time to be opened.
class CSlowDisk final : public ZRSystemFileSystem {
 public:
  [[nodiscard]] tagHandle OpenSized(tagHandle folder, const char* below,
                                    std::int64_t& size) override {
    Wait();
    return ZRSystemFileSystem::OpenSized(folder, below, size);
  }
  [[nodiscard]] tagHandle OpenStamped(tagHandle folder, const char* below,
                                      tagStamp& stamp) override {
    Wait();
    return ZRSystemFileSystem::OpenStamped(folder, below, stamp);
  }

  std::uint32_t wait = 0;  // ms
  int opened = 0;

 private:
  void Wait() {
    ++opened;
    ZRPlatform::Get().Sleep(wait);
  }
};

class EventVariablesOnASlowDisk : public EventVariables {
 protected:
  // A month with an occurrence of 4 s of each of five events.
  EventVariablesOnASlowDisk() {
    Set("RUN", 0);
    Begin(Five());
    Run(4, 2);
    End();
    time.SetFiles(&disk);
    disk.wait = 4000;
  }
  ~EventVariablesOnASlowDisk() override {
    End();
    time.SetFiles(nullptr);
  }
  static std::vector<EventXml> Five() {
    std::vector<EventXml> events;
    for (int number = 1; number <= 5; ++number)
      events.push_back(Pump("E" + std::to_string(number), number).Record());
    return events;
  }

  CSlowDisk disk;
};

TEST_F(EventVariablesOnASlowDisk, ReadingHoldsNobodyUpAndTellsHowFarItIs) {
  const LogCapture log;
  Begin(Five());
  Passes(5);
  EXPECT_EQ(Counts("E1"), "1 1 0 4");
  EXPECT_EQ(Value("E2.CACT"), "unavailable");
  Set("RUN", 1);
  Passes(2);
  EXPECT_EQ(Value("E5.ST"), "1");
  Passes(20);
  EXPECT_EQ(Counts("E5"), "2 1 0 24");
  EXPECT_EQ(log.Starting("counts of the events"),
            (Words{"counts of the events: the history of 3 of 5 is read",
                   "counts of the events: the history of all 5 is read"}));
}

TEST_F(EventVariablesOnASlowDisk, TransitionThatFallsIntoTheReadingCountsOnce) {
  Begin(Five());
  Passes(1);  // the file of E1 is being opened
  Run(1, 1);
  EXPECT_EQ(Counts("E1"), "unavailable unavailable unavailable unavailable");
  Passes(30);
  EXPECT_EQ(Counts("E1"), "2 2 0 5");
  // Their records waited for the file, and go with the next ones.
  disk.wait = 0;
  Run(2, 2);
  EXPECT_EQ(Counts("E1"), "3 3 0 7");
  End();
  Begin(Five());
  EXPECT_EQ(Counts("E1"), "3 3 0 7");
}

TEST_F(EventVariablesOnASlowDisk, StopWaitsForOneFileAtMost) {
  Begin(Five());
  Passes(5);
  EXPECT_EQ(Counts("E1") + ", " + Value("E2.CACT"), "1 1 0 4, unavailable");
  const int before = disk.opened;
  variables->Stop();
  EXPECT_EQ(Counts("E1") + ", " + Value("E2.CACT"), "1 1 0 4, unavailable");
  Passes(20);
  EXPECT_EQ(disk.opened, before);
}

TEST_F(EventVariablesOnASlowDisk, NextPeriodEndsTheReading) {
  At("2026-01-31T23:59:57");
  Begin(Five());
  Passes(2);
  EXPECT_EQ(Value("E5.CACT"), "unavailable");
  Passes(3);
  EXPECT_EQ(Counts("E5"), "0 0 0 0");
  EXPECT_EQ(disk.opened, 1);
}

// --- the next period ---

TEST_F(EventVariables, BeginAgainAtTheFirstInstantOfTheNextMonth) {
  ASSERT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid"));
  At("2026-01-31T22:59:50");
  Set("RUN", 0);
  Begin({Pump(), Pump("Fan", 2)});
  Run(2, 1);
  Set("RUN", 1);
  Passes(6);
  EXPECT_EQ(Counts(), "2 1 0 7");
  time.Advance(999);
  EXPECT_EQ(Value("Pump.CACT"), "2");
  time.Advance(1);
  EXPECT_EQ(Counts(), "0 0 0 0") << "at 23:00 of UTC";
  EXPECT_EQ(Counts("Fan"), "0 0 0 0") << "of one that nobody had asked for";
  EXPECT_EQ(Value("Pump.TACT"), "6");
  Passes(3);
  EXPECT_EQ(Counts(), "0 0 0 3");
  Set("RUN", 0);
  Passes(2);
  EXPECT_EQ(Counts(), "0 1 0 4");
}

TEST_F(EventVariables, DayOfSummerTimeHas23Hours) {
  ASSERT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid"));
  At("2026-03-28T22:59:58");
  Set("RUN", 0);
  Begin({Pump()}, ZRCountUnit::kDay);
  Run(1, 5);
  EXPECT_EQ(Counts(), "0 1 0 0") << "it ended with the first instant of the 29th";
  Run(2, 1);
  EXPECT_EQ(Counts(), "1 2 0 2");
  At("2026-03-29T21:59:59");
  Passes();
  EXPECT_EQ(Counts(), "0 0 0 0");
}

TEST_F(EventVariables, HistoryOfAPeriodThatIsOverIsNotWanted) {
  At("2026-01-31T23:59:40");
  Set("RUN", 0);
  Begin({Pump().Record()});
  Run(2, 1);
  End();
  BeginUnread({Pump().Record()});
  Run(3, 1);
  EXPECT_EQ(Value("Pump.CACT"), "unavailable");
  Passes(20);
  Read();
  EXPECT_EQ(Counts(), "0 0 0 0");
  Run(2, 1);
  EXPECT_EQ(Counts(), "1 1 0 2");
}

TEST_F(EventVariables, TransitionBeginsThePeriodOfItsEventItself) {
  At("2026-01-31T23:59:58");
  Set("RUN", 0);
  BeginUnread({Pump()});  // and no thread
  Passes(3);
  Run(2, 1);
  EXPECT_EQ(Counts(), "1 1 0 2");
}

TEST_F(EventVariables, ClockThatIsSetFarBackBeginsAgain) {
  At("2030-01-31T12:00");
  Set("RUN", 0);
  Begin({Pump()});
  Run(2, 1);
  EXPECT_EQ(Counts(), "1 1 0 2");
  At("2026-01-10T12:00");
  Passes(2);
  EXPECT_EQ(Counts(), "0 0 0 0");
  Run(2, 1);
  EXPECT_EQ(Counts(), "1 1 0 2");
}

}  // namespace
