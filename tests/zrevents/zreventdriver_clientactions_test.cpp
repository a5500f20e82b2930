#include <gtest/gtest.h>

#include "support/accessrule.h"
#include "support/golden.h"
#include "support/logcapture.h"
#include "support/oneevent.h"

namespace {

using Strings = std::vector<std::string>;

constexpr const char* kNorth = "BBBBBBBB-0000-4000-8000-00000000000A";
constexpr const char* kSouth = "bbbbbbbb-0000-4000-8000-00000000000b";

constexpr const char* kHeader = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>";
constexpr const char* kEmpty = "<eventsActions></eventsActions>";

constexpr const char* kLogService = "@ ZREventServer::ProcessHttpServiceEventsActions()...";
constexpr const char* kLogCall = "Calling ProcessHttpServiceEventsActions() for current event...";
constexpr const char* kLogList = "Trying to generate xml with actions list...";

std::string LogEvent(const std::string& name) {
  return "Event '" + name + "' is activated and has client actions!";
}
std::string LogOccurrence(const std::string& id) {
  return "Calling ProcessHttpServiceEventsActions() for " + id + " event...";
}

// An element that has an id, so that its fragment is known.
std::string Beep(const std::string& id) {
  return "<beep><id>" + id + "</id></beep>";
}
std::string Screen(const std::string& id, const std::string& name) {
  return "<screen><id>" + id + "</id><name>" + name + "</name></screen>";
}
std::string BeepAction(const std::string& when, const std::string& id) {
  return "<action><when>" + when + "</when><id>" + id + "</id><what>BEEP</what></action>";
}

// --- one event ---

class ClientActions : public OneEvent {
 protected:
  static EventXml Pump() { return EventXml("Pump").Condition("1 = 1"); }
  static EventXml Beeping() { return Pump().Actions("clientActions", "activate", Beep("7")); }

  // The event alone, without probes.
  OwnEvent& Make(const EventXml& definition) {
    event = std::make_unique<OwnEvent>();
    EXPECT_TRUE(event->LoadText(definition.Xml()));
    return *event;
  }
  tagSEventRT& Occurrence(int status) {
    tagSEventRT& occurrence = *event->AddOccurrence();
    occurrence.status = status;
    return occurrence;
  }
  [[nodiscard]] std::string Told() const {
    FakeResponse response;
    EXPECT_TRUE(event->ProcessHttpServiceEventsActions(response));
    EXPECT_EQ(response.begun + response.ended, 0);
    return response.body;
  }
  // What the form that gives a text appends; "-" for nothing.
  [[nodiscard]] std::string Text() const {
    ZRString text("before");
    const bool has = event->ProcessHttpServiceEventsActions(text);
    EXPECT_TRUE(text.View().starts_with("before"));
    EXPECT_EQ(has, text.Length() > 6);
    return has ? Str(text).substr(6) : "-";
  }
  static std::string EventId() { return "<eventId>" + EventXml::Id(1) + "</eventId>"; }
};

TEST_F(ClientActions, AreToldByMomentInTheOrderOfTheConfiguration) {
  EventXml definition = Pump().Notify();
  for (const char* moment : {"acknowledge", "deactivate", "while", "activate"}) {
    const std::string id(moment, 2);
    definition.Actions("clientActions", moment, Beep(id + "1") + Beep(id + "2"));
    definition.Actions("actions", moment, Beep("server"));
  }
  Make(definition);
  EXPECT_EQ(Text(), BeepAction("ON_ACTIVATE", "ac1") + BeepAction("ON_ACTIVATE", "ac2") +
                        BeepAction("WHILE_ACTIVE", "wh1") + BeepAction("WHILE_ACTIVE", "wh2") +
                        BeepAction("ON_DEACTIVATE", "de1") + BeepAction("ON_DEACTIVATE", "de2") +
                        BeepAction("ON_ACKNOWLEDGE", "ac1") + BeepAction("ON_ACKNOWLEDGE", "ac2"));
}

TEST_F(ClientActions, OfAnEventThatDoesNotNotifyHaveNoAcknowledgement) {
  EventXml definition = Beeping();
  definition.Actions("clientActions", "acknowledge", Beep("8"));
  Make(definition);
  EXPECT_EQ(Text(), BeepAction("ON_ACTIVATE", "7"));
  Occurrence(kActivated);
  EXPECT_EQ(Told(), "<eventAction>" + EventId() + BeepAction("ON_ACTIVATE", "7") + "</eventAction>")
      << "nor the two letters";
}

TEST_F(ClientActions, EventWithoutAnyHasNoText) {
  Make(Pump());
  EXPECT_EQ(Text(), "-");
  Make(Pump().Actions("actions", "activate", Beep("7")));
  EXPECT_EQ(Text(), "-");
  Occurrence(kActivated);
  EXPECT_EQ(Told(), "");
}

TEST_F(ClientActions, OccurrencesAreToldByTheirMarksAndTheIdOfTheEvent) {
  Make(Beeping().Notify());
  struct tagRow {
    int status;
    const char* deactivated;
    const char* acknowledged;
  };
  constexpr tagRow kRows[] = {{1, "F", "F"}, {2, "T", "F"}, {3, "T", "F"}, {4, "F", "T"},
                              {5, "F", "T"}, {6, "T", "T"}, {7, "T", "T"}};
  Occurrence(0);
  std::string all;
  for (const tagRow& row : kRows) {
    Occurrence(row.status);
    all += "<eventAction>" + EventId() + "<deactivated>" + row.deactivated +
           "</deactivated><acknowledge>" + row.acknowledged + "</acknowledge>" +
           BeepAction("ON_ACTIVATE", "7") + "</eventAction>";
  }
  EXPECT_EQ(Told(), all);
}

TEST_F(ClientActions, ParameterIsExpandedForEachAnswer) {
  Set("X", 1);
  Make(Pump().Argument("[P.X]").Actions(
      "clientActions", "while",
      "<shellExecute><id>7</id><command>notes</command><parameter>%a1</parameter></shellExecute>"));
  const auto launch = [](const std::string& line) {
    return "<action><when>WHILE_ACTIVE</when><id>7</id><what>LAUNCH</what><how>" + line +
           "</how></action>";
  };
  EXPECT_EQ(Text(), launch("notes 1"));
  Set("X", 2);
  EXPECT_EQ(Text(), launch("notes 2"));
}

TEST_F(ClientActions, LongAnswersComeOutWhole) {
  std::string elements;
  std::string expected;
  for (int count = 0; count < 1000; ++count) {
    elements += Beep(std::to_string(count));
    expected += BeepAction("ON_ACTIVATE", std::to_string(count));
  }
  Make(Pump().Actions("clientActions", "activate", elements));
  Occurrence(kActivated);
  EXPECT_EQ(Told(), "<eventAction>" + EventId() + expected + "</eventAction>");
}

TEST_F(ClientActions, GeneratedIdStaysUntilTheNextLoading) {
  Make(Pump().Actions("clientActions", "activate", "<beep></beep>"));
  const std::string first = Text();
  EXPECT_EQ(first, Text());
  Make(Pump().Actions("clientActions", "activate", "<beep></beep>"));
  EXPECT_NE(first, Text());
}

TEST_F(ClientActions, EachStepIsLogged) {
  Make(Beeping());
  Occurrence(0);
  const std::string id = Narrow(Occurrence(kActivated).id.toWString());
  const LogCapture log;
  (void)Told();
  EXPECT_EQ(log.Lines(), (std::vector<LogCapture::tagLine>{{kLogTrace, LogOccurrence(id)},
                                                           {kLogTrace, kLogList}}));
}

// --- the service ---

class ClientActionsService : public EngineTest {
 protected:
  static EventXml Event(const std::string& name, int number) {
    return EventXml(name, number).Condition("[P.RUN" + std::to_string(number) + "] = 1");
  }
  static EventXml Beeping(const std::string& name, int number) {
    return Event(name, number).Actions("clientActions", "activate", Beep(name));
  }
  // Events in groups North and South; all of them active, but those of numbers above 8.
  void Serve(const std::vector<EventXml>& events) {
    std::string all;
    for (const EventXml& event : events)
      all += event.Xml();
    LoadXeve(all, GroupXml(kNorth, "North") + GroupXml(kSouth, "South"));
    for (int number = 1; number <= 9; ++number)
      Set("RUN" + std::to_string(number), number <= 8 ? 1 : 0);
    StartServer();
  }
  FakeResponse Ask(bool deflate = false) {
    FakeRequest request(deflate);
    FakeResponse response;
    EXPECT_TRUE(server->ProcessHttpServiceEventsActions(request, response));
    return response;
  }
  // The ids of the actions that are told.
  std::string Told() {
    const std::string xml = Ask().body;
    std::string found;
    const std::string opening = "</when><id>";
    for (std::size_t at = xml.find(opening); at != std::string::npos; at = xml.find(opening, at)) {
      at += opening.size();
      found += (found.empty() ? "" : " ") + xml.substr(at, xml.find('<', at) - at);
    }
    return found;
  }
};

TEST_F(ClientActionsService, AnswerWithoutEventsIsHeaderAndRoot) {
  Serve({});
  const FakeResponse plain = Ask();
  EXPECT_EQ(plain.status, 200);
  EXPECT_EQ(plain.kind, 3);
  EXPECT_EQ(plain.body, std::string(kHeader) + kEmpty);
  EXPECT_EQ(plain.begun, 1);
  EXPECT_EQ(plain.ended, 1);
  const FakeResponse deflated = Ask(true);
  EXPECT_EQ(deflated.status, 200);
  EXPECT_EQ(deflated.kind, 5);
  EXPECT_EQ(deflated.body, plain.body);
}

TEST_F(ClientActionsService, ResultIsThatOfTheAnswer) {
  Serve({});
  FakeRequest request;
  FakeResponse response;
  response.endResult = false;
  EXPECT_FALSE(server->ProcessHttpServiceEventsActions(request, response));
}

TEST_F(ClientActionsService, AnswerAfterStopIsServiceUnavailable) {
  Serve({Beeping("Pump", 1)});
  StopServer();
  const LogCapture log;
  for (const bool accepted : {true, false}) {
    FakeRequest request(true);
    FakeResponse response;
    response.endResult = accepted;
    const std::uint32_t before = ZRPlatform::Get().TickCount();
    EXPECT_EQ(server->ProcessHttpServiceEventsActions(request, response), accepted);
    EXPECT_EQ(ZRPlatform::Get().TickCount() - before, 100u) << "the wait for a token";
    EXPECT_EQ(response.status, 503);
    EXPECT_EQ(response.kind, 0);
    EXPECT_EQ(response.body, "");
  }
  EXPECT_EQ(log.Lines(), std::vector<LogCapture::tagLine>{});
}

// Each call gives back what it takes: there are 32 tokens.
TEST_F(ClientActionsService, CanBeAskedAgainAndAgain) {
  Serve({Beeping("Pump", 1)});
  for (int count = 0; count < 3 * ZREventServer::kGateTokens; ++count)
    ASSERT_EQ(Ask().status, 200);
}

TEST_F(ClientActionsService, EventsWithOccurrencesAndClientActionsAreToldInTheirOrder) {
  Serve({Beeping("Pump", 1), Event("Quiet", 2), Beeping("Idle", 9), Beeping("Boiler", 3),
         Event("Server", 4).Actions("actions", "activate", Beep("no"))});
  EXPECT_EQ(Told(), "Boiler Pump");
  Set("RUN1", 0);
  Passes();
  EXPECT_EQ(Told(), "Boiler") << "its occurrence is over";
}

TEST_F(ClientActionsService, ActionsWithoutAFormForClientsAreLeftOut) {
  const std::string force = "<force><variable>[P.N]</variable><value>1</value></force>";
  const std::string mail = "<mail><message>x</message><address>a@b</address></mail>";
  const std::string sms = "<sms><message>x</message><phone>112</phone></sms>";
  Set("N", 0);
  Serve({Event("Mixed", 1).Actions("clientActions", "activate", force + Beep("7") + mail + sms),
         Event("Mute", 2).Actions("clientActions", "activate", force + mail + sms)});
  EXPECT_TRUE(Find("Mute")->hasClientActions());
  const LogCapture log;
  EXPECT_EQ(Told(), "7");
  EXPECT_TRUE(log.Has(kLogTrace, LogEvent("Mute")));
  EXPECT_EQ(log.Starting(kLogList).size(), 2u) << "looked for all the same";
  const std::string xml = Ask().body;
  EXPECT_EQ(xml.find("<eventAction>"), xml.rfind("<eventAction>"));
}

TEST_F(ClientActionsService, OccurrenceThatWaitsForSomebodyIsToldOn) {
  Serve({Beeping("Pump", 1).Notify()});
  Set("RUN1", 0);
  Passes();
  EXPECT_NE(Ask().body.find("<deactivated>T</deactivated><acknowledge>F</acknowledge>"),
            std::string::npos);
}

TEST_F(ClientActionsService, CallerIsToldOfGroupsWithTheRight) {
  Serve({Beeping("A", 1).Group(kNorth), Beeping("B", 2).Group(kSouth),
         Beeping("C", 3).Group(kNorth).Group(kSouth).Group(kNorth)});
  {
    AccessRule rule({{11, kSouth}});
    EXPECT_EQ(Told(), "B C");
    Strings asked;
    for (const AccessRule::tagQuestion& question : rule.asked) {
      EXPECT_EQ(question.right, 11);
      EXPECT_EQ(question.digest, "");
      asked.push_back(question.resource);
    }
    EXPECT_EQ(asked, (Strings{kNorth, kSouth, kNorth, kSouth})) << "up to the first that passes";
  }
  const AccessRule others({{6, kNorth}, {7, kNorth}, {8, kNorth}, {16, kNorth}, {17, kNorth}});
  EXPECT_EQ(Ask().status, 200);
  EXPECT_EQ(Ask().body, std::string(kHeader) + kEmpty);
}

TEST_F(ClientActionsService, EachStepIsLogged) {
  Serve({Beeping("A", 1).Group(kNorth), Beeping("B", 2).Group(kSouth), Beeping("Idle", 9),
         Event("Quiet", 3)});
  const AccessRule rule({{11, kSouth}});
  const LogCapture log;
  (void)Ask();
  Strings lines;
  for (const LogCapture::tagLine& line : log.Lines()) {
    EXPECT_EQ(line.level, kLogTrace);
    lines.push_back(line.text);
  }
  ASSERT_EQ(lines.size(), 6u);
  EXPECT_EQ(lines[0], kLogService);
  EXPECT_EQ(lines[1], LogEvent("A"));
  EXPECT_EQ(lines[2], LogEvent("B")) << "A is left out";
  EXPECT_EQ(lines[3], kLogCall);
  EXPECT_EQ(lines[4].size(), LogOccurrence(EventXml::Id(1)).size()) << lines[4];
  EXPECT_EQ(lines[5], kLogList);
}

TEST_F(ClientActionsService, AnswerIsTheGoldenFileAndTheExampleOfItsPage) {
  Set("LEVEL", 12.5);
  Serve({Event("Boiler", 1)
             .Notify()
             .Argument("[P.LEVEL]", "1")
             .Actions("clientActions", "activate",
                      Beep("cccccccc-0000-4000-8000-000000000001") +
                          Screen("cccccccc-0000-4000-8000-000000000002", "Sala n\xC3\xBAmero 3"))
             .Actions("clientActions", "while",
                      "<shellExecute><id>cccccccc-0000-4000-8000-000000000003</id>"
                      "<command>notes</command><parameter>%n at %a1</parameter></shellExecute>")
             .Actions("clientActions", "deactivate",
                      "<report><id>cccccccc-0000-4000-8000-000000000004</id><name>Day</name>"
                      "</report>")
             .Actions("clientActions", "acknowledge",
                      "<launchWeb><id>cccccccc-0000-4000-8000-000000000005</id>"
                      "<url>https://wiki.example/boiler</url><window>TAB</window></launchWeb>"),
         Event("Pump", 2).Actions("clientActions", "activate",
                                  "<device><id>cccccccc-0000-4000-8000-000000000006</id>"
                                  "<name>Pump 3</name></device>"),
         Beeping("Spare", 9)});
  EXPECT_EQ(Ask().body, Golden("actions.xml"));
  EXPECT_EQ(PageExample("docs/wire/actions.md"), Golden("actions.xml"));
  XmlDocument document;
  EXPECT_TRUE(document.Parse(Golden("actions.xml").c_str()));
}

}  // namespace
