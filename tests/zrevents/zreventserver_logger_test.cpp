#include <memory>
#include <string>
#include <vector>

#include "support/golden.h"
#include "support/historytest.h"

namespace {

constexpr const char* kHeader = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>";
constexpr const char* kEmpty = "<loggerEvents></loggerEvents>";

class LoggerService : public HistoryTest {
 protected:
  void Serve(const std::vector<std::string>& names, bool isNotified = false) {
    std::vector<EventXml> events;
    for (const std::string& name : names) {
      events.push_back(EventXml(name, static_cast<int>(events.size()) + 1).Condition("1 = 0"));
      if (isNotified) events.back().Notify();
    }
    Load(events);
    StartServer();
  }
  void WriteFor(const std::string& name, int occurrence, const std::string& when, double value,
                const std::string& text = "") {
    std::array<wchar_t, 260> path{};
    Find(name)->EventFileName(path.data(), 260, At(when), 0);
    WriteInto(Narrow(ZRWString(path.data())), occurrence, when, value, text);
  }
  FakeResponse Ask(const std::string& from, const std::string& to, bool deflate = false) {
    FakeRequest request(deflate);
    FakeResponse response;
    EXPECT_TRUE(server->ProcessHttpServiceEventsLogger(request, response, At(from), At(to)));
    return response;
  }
  // The answer without its header and root.
  std::string Records(const std::string& from, const std::string& to) {
    std::string body = Ask(from, to).body;
    const std::string opening = std::string(kHeader) + "<loggerEvents>";
    const std::string closing = "</loggerEvents>";
    EXPECT_TRUE(body.starts_with(opening) && body.ends_with(closing)) << body;
    return body.substr(opening.size(), body.size() - opening.size() - closing.size());
  }
};

TEST_F(LoggerService, AnswerOfAPeriodWithoutDataIsHeaderAndRoot) {
  Serve({"Pump"});
  for (const bool deflate : {false, true}) {
    const FakeResponse response = Ask("2026-03-01", "2026-03-31", deflate);
    EXPECT_EQ(response.body, std::string(kHeader) + kEmpty);
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.kind, deflate ? 4 : 2);
    EXPECT_EQ(response.begun, 1);
    EXPECT_EQ(response.ended, 1);
  }
}

TEST_F(LoggerService, AnswerWithoutEventsIsHeaderAndRoot) {
  Serve({});
  EXPECT_EQ(Ask("2026-03-01", "2026-03-31").body, std::string(kHeader) + kEmpty);
}

TEST_F(LoggerService, OccurrenceThatStillRunsHasNoDelays) {
  Serve({"Pump"});
  WriteFor("Pump", 1, "2026-03-05 10:00:00", kActivated, "on");
  EXPECT_EQ(
      Records("2026-03-01", "2026-03-31"),
      "<record><id>0c000000-0000-0000-0000-000000000001</id><eventId>" + EventXml::Id(1) +
          "</eventId><annotation>on</annotation><dateTime>05032026100000</dateTime></record>");
}

TEST_F(LoggerService, DelayOfZeroIsWrittenAndAnEmptyAnnotationIsnt) {
  Serve({"Pump"});
  WriteFor("Pump", 1, "2026-03-05 10:00:00", kActivated);
  WriteFor("Pump", 1, "2026-03-05 10:00:00", kAcknowledged, "not sent");
  WriteFor("Pump", 1, "2026-03-05 10:00:00", kDeactivated, "not sent");
  EXPECT_EQ(Records("2026-03-01", "2026-03-31"),
            "<record><id>0c000000-0000-0000-0000-000000000001</id><eventId>" + EventXml::Id(1) +
                "</eventId><dateTime>05032026100000</dateTime><ackDelay>0</ackDelay>"
                "<disabledDelay>0</disabledDelay></record>");
}

TEST_F(LoggerService, DelayIsWrittenWithItsSign) {
  Serve({"Pump"});
  WriteFor("Pump", 1, "2026-03-05 10:00:00", kActivated);
  WriteFor("Pump", 1, "2026-03-05 09:59:00", kDeactivated);  // the clock was set back
  const std::string records = Records("2026-03-01", "2026-03-31");
  EXPECT_NE(records.find("<disabledDelay>-60</disabledDelay>"), std::string::npos) << records;
}

TEST_F(LoggerService, AnnotationGoesOutAsItStandsWhateverItsLength) {
  Serve({"Pump"});
  const std::string text = "<b>&" + std::string(5000, 'x') + "é";
  WriteFor("Pump", 1, "2026-03-05 10:00:00", kActivated, text);
  EXPECT_NE(Records("2026-03-01", "2026-03-31").find("<annotation>" + text + "</annotation>"),
            std::string::npos);
}

TEST_F(LoggerService, AllEventsTakePartWithoutARightAndInTheOrderOfTime) {
  Serve({"A", "B", "C"});
  WriteFor("C", 3, "2026-03-05 09:00:00", kActivated, "c");
  WriteFor("A", 1, "2026-03-05 10:00:00", kActivated, "a");
  WriteFor("B", 2, "2026-03-05 10:00:00", kActivated, "b");
  const std::string records = Records("2026-03-01", "2026-03-31");
  std::string texts;
  for (std::size_t at = records.find("<annotation>"); at != std::string::npos;
       at = records.find("<annotation>", at + 1))
    texts += records[at + 12];
  EXPECT_EQ(texts, "cba");
}

TEST_F(LoggerService, ManyEventsAreAskedForOnce) {
  std::vector<std::string> names;
  for (int i = 0; i < 40; ++i)
    names.push_back("Pump " + std::to_string(i));
  Serve(names);
  for (int i = 0; i < 40; ++i)
    WriteFor(names[static_cast<std::size_t>(i)], i, "2026-03-05 10:00:00", kActivated);
  const std::string records = Records("2026-03-01", "2026-03-31");
  EXPECT_EQ(CountSubstring(Wide(records), Wide("<record>")), 40);
  for (int i = 1; i <= 40; ++i)
    EXPECT_EQ(CountSubstring(Wide(records), Wide(EventXml::Id(i))), 1) << i;
}

TEST_F(LoggerService, OccurrenceThatBeganBeforeIsntThere) {
  Serve({"Pump"});
  WriteFor("Pump", 1, "2026-03-05 09:00:00", kActivated);
  WriteFor("Pump", 1, "2026-03-05 10:30:00", kDeactivated);
  EXPECT_EQ(Records("2026-03-05 10:00:00", "2026-03-05 11:00:00"), "");
}

TEST_F(LoggerService, AnswerAfterStopIsServiceUnavailable) {
  Serve({"Pump"});
  StopServer();
  const std::uint32_t before = time.TickCount();
  const FakeResponse response = Ask("2026-03-01", "2026-03-31");
  EXPECT_EQ(time.TickCount() - before, 100U);
  EXPECT_EQ(response.status, 503);
  EXPECT_EQ(response.kind, 0);
  EXPECT_EQ(response.body, "");
  EXPECT_EQ(response.ended, 1);
}

TEST_F(LoggerService, ResultIsThatOfTheAnswer) {
  Serve({"Pump"});
  FakeRequest request;
  FakeResponse response;
  response.endResult = false;
  EXPECT_FALSE(server->ProcessHttpServiceEventsLogger(request, response, At("2026-03-01"),
                                                      At("2026-03-31")));
}

TEST_F(LoggerService, AnswerIsTheGoldenFileAndTheExampleOfItsPage) {
  Serve({"Boiler", "Fan"}, true);
  WriteFor("Boiler", 1, "2026-03-01 07:58:30", kActivated, "Boiler &quot;2&quot;: 93.5 °C &gt; 90");
  WriteFor("Boiler", 1, "2026-03-01 08:00:00", kAcknowledged, "A. Smith");
  WriteFor("Boiler", 1, "2026-03-01 08:28:30", kDeactivated, "cool again");
  WriteFor("Boiler", 2, "2026-03-01 23:45:05", kActivated, "Boiler &quot;2&quot;: 91.0 °C &gt; 90");
  WriteFor("Boiler", 9, "2026-03-02 00:00:00", kActivated, "not of that day");
  WriteFor("Fan", 3, "2026-03-01 08:00:00", kActivated);
  WriteFor("Fan", 3, "2026-03-01 08:00:00", kDeactivated);
  EXPECT_EQ(Ask("2026-03-01", "2026-03-02").body, Golden("logger.xml"));
  EXPECT_EQ(PageExample("docs/wire/logger.md"), Golden("logger.xml"));
}

// --- the events of a question ---

class LoggerInfo : public HistoryTest {
 protected:
  static uuid Event(int number) { return wtouuid(Wide(EventXml::Id(number))); }
  // The numbers of the events, in order, with a "-" behind those that aren't bound.
  static std::string Shown(const ZREventLoggerInfo& info) {
    std::string all;
    for (auto at = info.EventsBegin(); at != info.EventsEnd(); ++at)
      all += (all.empty() ? "" : " ") + std::to_string((*at)->Id().bytes[15]) +
             ((*at)->IsLocked() ? "" : "-");
    return all;
  }
};

TEST_F(LoggerInfo, KeepsEachEventOnceInTheOrderOfAdding) {
  ZREventLoggerInfo info;
  for (const int number : {3, 1, 3, 2, 1})
    info.AddVariable(Event(number));
  EXPECT_EQ(Shown(info), "3- 1- 2-");
  EXPECT_EQ(info.NVariables(), 3);
  EXPECT_EQ((*info.EventsBegin())->Driver(), nullptr);
}

TEST_F(LoggerInfo, LockBindsTheEventsThatExistAndDropsTheOthers) {
  for (const int others : {0, 40}) {  // the few and the many are looked up in two ways
    std::vector<EventXml> events = {EventXml("A", 1).Condition("1 = 0"),
                                    EventXml("B", 2).Condition("1 = 0")};
    ZREventLoggerInfo info;
    for (const int number : {9, 2, 8, 1})
      info.AddVariable(Event(number));
    for (int i = 0; i < others; ++i) {
      uuid unknown;
      NewGUID(&unknown);
      info.AddVariable(unknown);
    }
    Load(events);
    info.Lock();
    EXPECT_EQ(Shown(info), "2 1");
    EXPECT_EQ((*info.EventsBegin())->Driver(), Find("B"));
    info.AddVariable(Event(1));
    info.AddVariable(Event(9));
    EXPECT_EQ(Shown(info), "2 1 9-");
    info.Unlock();
    EXPECT_EQ(Shown(info), "2- 1- 9-");
    info.DeleteAll();
    EXPECT_EQ(Shown(info), "");
    info.AddVariable(Event(1));
    EXPECT_EQ(Shown(info), "1-");
  }
}

TEST_F(LoggerInfo, OfTwoEventsWithOneIdTheFirstOfTheStoreIsBound) {
  Load({EventXml("B", 1).Condition("1 = 0"), EventXml("A", 1).Condition("1 = 0")});
  for (const int others : {0, 40}) {
    ZREventLoggerInfo info;
    info.AddVariable(Event(1));
    for (int i = 0; i < others; ++i) {
      uuid unknown;
      NewGUID(&unknown);
      info.AddVariable(unknown);
    }
    info.Lock();
    EXPECT_EQ((*info.EventsBegin())->Driver(), Find("A"));
  }
}

TEST_F(LoggerInfo, CopiesAreDeepAndBoundAsTheirSource) {
  Load({EventXml("A", 1).Condition("1 = 0")});
  ZREventLoggerInfo info;
  info.AddVariable(Event(1));
  info.Lock();
  ZREventLoggerInfo copy(info);
  EXPECT_EQ(Shown(copy), "1");
  EXPECT_NE(*copy.EventsBegin(), *info.EventsBegin());
  info.Unlock();
  EXPECT_EQ(Shown(copy), "1");
  copy.AddVariable(Event(1));
  EXPECT_EQ(copy.NVariables(), 1);
  copy = info;
  EXPECT_EQ(Shown(copy), "1-");
}

TEST_F(LoggerInfo, VariableIsBoundAndFreedByItself) {
  Load({EventXml("A", 1).Condition("1 = 0")});
  ZREventLoggerInfoVar known(Event(1));
  EXPECT_FALSE(known.IsLocked());
  EXPECT_TRUE(known.Lock());
  EXPECT_EQ(known.Driver(), Find("A"));
  known.Unlock();
  EXPECT_FALSE(known.IsLocked());
  ZREventLoggerInfoVar unknown(Event(2));
  EXPECT_FALSE(unknown.Lock());
}

TEST_F(LoggerInfo, QuestionForAnUnknownEventIsAnsweredWithNothing) {
  ZREventLoggerInfo info;
  info.AddVariable(Event(7));
  ZREventLoggerData data;
  data.Setup(info);
  EXPECT_EQ(data.Info().NVariables(), 0);
  EXPECT_TRUE(data.SelectData(At("2026-03-01"), At("2026-03-31"), false));
  EXPECT_EQ(HistoryTest::Shown(data), "");
}

TEST_F(LoggerInfo, FailureOfOneEventIsToldAndTheOthersAreLoaded) {
  Load({EventXml("A", 1).Condition("1 = 0"), EventXml("B", 2).Condition("1 = 0")});
  std::array<wchar_t, 260> path{};
  Find("B")->EventFileName(path.data(), 260, At("2026-03-01"), 0);
  WriteInto(Narrow(ZRWString(path.data())), 1, "2026-03-05 10:00:00", kActivated);
  ZREventLoggerInfo info;
  info.AddVariable(Event(1));
  info.AddVariable(Event(2));
  ZREventLoggerData data;
  data.Setup(info);
  EXPECT_FALSE(data.SelectData(At("2026-03-01"), At("2026-03-31"), false));
  EXPECT_EQ(HistoryTest::Shown(data), "1 03-05 10:00:00");
}

}  // namespace
