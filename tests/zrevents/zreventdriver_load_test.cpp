#include <gtest/gtest.h>

#include "support/logcapture.h"
#include "support/oneevent.h"

namespace {

constexpr const char* kNorth = "bbbbbbbb-0000-4000-8000-000000000001";
constexpr const char* kSouth = "bbbbbbbb-0000-4000-8000-000000000002";
constexpr const char* kNobody = "bbbbbbbb-0000-4000-8000-00000000ffff";
constexpr const char* kDefault = "22222222-2222-2222-2222-222222222222";

class EventLoad : public OneEvent {
 protected:
  EventLoad() {
    TimeTables("<days><day><id>shift</id><name>Shift</name></day></days>");
    LoadXeve("", GroupXml(kNorth, "North") + GroupXml(kSouth, "South"));
  }

  static EventXml Valid() { return EventXml("Pump").Condition("[P.RUN] = 1"); }

  // Loads without probes and binding.
  bool Loads(const EventXml& definition) { return Loads(definition.Xml()); }
  bool Loads(const std::string& xml) {
    event = std::make_unique<OwnEvent>();
    const bool loaded = event->LoadText(xml);
    (void)Trace();
    return loaded;
  }
  [[nodiscard]] std::vector<std::string> GroupNames() const {
    std::vector<std::string> names;
    for (auto group = event->GroupsVectorBegin(); group != event->GroupsVectorEnd(); ++group)
      names.push_back(Narrow((*group)->Name()));
    return names;
  }
  static int References(const char* groupId) {
    return Store().LockEventsGroup(wtouuid(Wide(groupId)))->References();
  }
};

// --- values ---

TEST_F(EventLoad, ReadsEachValue) {
  ASSERT_TRUE(Loads(Valid()
                        .With("idn", "17")
                        .With("description", " Too &lt;hot&gt; ")
                        .Stop("[P.RUN] = 0")
                        .TimeTable("Shift")
                        .With("notify", "T")
                        .With("record", "T")
                        .With("rssActivate", "T")
                        .With("rssDeactivate", "T")
                        .With("rssAcknowledge", "T")));
  EXPECT_EQ(event->Id(), wtouuid(Wide(EventXml::Id(1))));
  EXPECT_EQ(event->Name(), L"Pump");
  EXPECT_EQ(event->Description(), L" Too <hot> ");
  EXPECT_EQ(event->ActCondition(), L"[P.RUN] = 1");
  EXPECT_EQ(event->DeaCondition(), L"[P.RUN] = 0");
  EXPECT_EQ(event->TimeTable()->Name(), L"Shift");
  EXPECT_EQ(event->Node()->Value(L"idn", L""), L"17");
  EXPECT_TRUE(event->Notify());
  EXPECT_TRUE(event->IsHistoricEnabled());
  EXPECT_TRUE(event->RssActivate());
  EXPECT_TRUE(event->RssDeactivate());
  EXPECT_TRUE(event->RssAcknowledge());
}

TEST_F(EventLoad, BeginsInactiveAndEmpty) {
  ASSERT_TRUE(Loads(Valid().With("annotation", "on").With("deaAnnotation", "off")));
  EXPECT_FALSE(event->IsEnabled());
  EXPECT_TRUE(event->Annotation().IsEmpty()) << "the expansion, not the template";
  EXPECT_TRUE(event->DeaAnnotation().IsEmpty());
  EXPECT_TRUE(event->AckAnnotation().IsEmpty());
  EXPECT_FALSE(event->LastActiveDateTime().Valid());
  EXPECT_FALSE(event->GetLastEventActivedDateTime().Valid());
  EXPECT_FALSE(event->GetLastEventDeActivedDateTime().Valid());
  EXPECT_FALSE(event->GetLastEventAcknowledgeDateTime().Valid());
  EXPECT_FALSE(event->hasActived());
  EXPECT_FALSE(event->hasClientActions());
  EXPECT_EQ(event->TimeTable(), nullptr);
}

TEST_F(EventLoad, FlagsAreTrueForNothingButT) {
  ASSERT_TRUE(Loads(Valid()));
  for (const char* value : {"", "F", "t", "true", "TRUE", "1", " T", "T ", "TT"}) {
    SCOPED_TRACE(value);
    EventXml definition = Valid();
    for (const char* flag : {"notify", "record", "rssActivate", "rssDeactivate", "rssAcknowledge"})
      definition.With(flag, value);
    ASSERT_TRUE(Loads(definition));
    EXPECT_FALSE(event->Notify());
    EXPECT_FALSE(event->IsHistoricEnabled());
    EXPECT_FALSE(event->RssActivate());
    EXPECT_FALSE(event->RssDeactivate());
    EXPECT_FALSE(event->RssAcknowledge());
  }
}

TEST_F(EventLoad, EachFlagIsReadFromItsOwnValue) {
  constexpr std::pair<const char*, bool (ZREventDriver::*)() const> kFlags[] = {
      {"notify", &ZREventDriver::Notify},
      {"record", &ZREventDriver::IsHistoricEnabled},
      {"rssActivate", &ZREventDriver::RssActivate},
      {"rssDeactivate", &ZREventDriver::RssDeactivate},
      {"rssAcknowledge", &ZREventDriver::RssAcknowledge}};
  for (const auto& written : kFlags) {
    ASSERT_TRUE(Loads(Valid().With(written.first, "T")));
    for (const auto& read : kFlags)
      EXPECT_EQ((event.get()->*read.second)(), read.first == written.first)
          << written.first << " " << read.first;
  }
}

TEST_F(EventLoad, TimeTableThatDoesNotExistIsNoneWithoutAComplaint) {
  const LogCapture log;
  ASSERT_TRUE(Loads(Valid().TimeTable("Nights")));
  EXPECT_EQ(event->TimeTable(), nullptr);
  EXPECT_TRUE(log.Lines().empty());
}

// --- what makes an event unusable ---

TEST_F(EventLoad, IsRefusedInSilenceWithoutAnIdAConditionOrAName) {
  const auto element = [](const std::string& inside) { return "<event>" + inside + "</event>"; };
  const std::string id = "<id>" + EventXml::Id(1) + "</id>";
  const std::string name = "<name>Pump</name>";
  const std::string condition = "<condition>1 = 1</condition>";
  const LogCapture log;
  EXPECT_TRUE(Loads(element(id + name + condition)));
  EXPECT_FALSE(Loads(element(name + condition)));
  EXPECT_FALSE(Loads(element("<id></id>" + name + condition)));
  EXPECT_FALSE(Loads(element("<id>pump</id>" + name + condition)));
  EXPECT_FALSE(Loads(element("<id>00000000-0000-0000-0000-000000000000</id>" + name + condition)));
  EXPECT_FALSE(Loads(element(id + name)));
  EXPECT_FALSE(Loads(element(id + name + "<condition></condition>")));
  EXPECT_FALSE(Loads(element(id + name + "<condition>1 + 1</condition>")))
      << "a number is no condition";
  EXPECT_FALSE(Loads(element(id + name + "<condition>1 = </condition>")));
  EXPECT_FALSE(Loads(element(id + condition)));
  EXPECT_FALSE(Loads(element(id + "<name></name>" + condition)));
  EXPECT_FALSE(Loads("<event></event>"));
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(EventLoad, NamelessEventHasBuiltEverythingAndToldNobody) {
  event = std::make_unique<OwnEvent>();
  const int before = References(kNorth);
  EXPECT_FALSE(event->LoadText("<event><id>" + EventXml::Id(1) +
                               "</id><condition>1 = 1</condition><eventsGroups><g>" + kNorth +
                               "</g></eventsGroups><actions><while>" + ProbeXml("force") +
                               "</while></actions></event>"));
  EXPECT_EQ(References(kNorth), before + 1);
  EXPECT_EQ(event->GroupsVectorSize(), 1);
  EXPECT_EQ(Trace(), "");
  EXPECT_TRUE(messages.empty());
}

TEST_F(EventLoad, StoreDropsWhatDoesNotLoadAndGoesOn) {
  LoadXeve(EventXml("No condition", 1).Xml() + Valid().Xml() + EventXml::Bare().Xml());
  EXPECT_EQ(Store().EventsSize(), 1);
  EXPECT_NE(Find("Pump"), nullptr);
}

TEST_F(EventLoad, TellsTheBusOfItselfWithTheIdAsTheDocumentGaveIt) {
  EngineCreationPublisherManager::SetEngineUuid(L"engine");
  EventXml definition = EventXml::Bare();
  definition.With("id", "{AAAAAAAA-0000-4000-8000-00000000000B}")
      .With("name", "Pump")
      .With("description", "Too \"hot\"")
      .Condition("1 = 1");
  ASSERT_TRUE(Loads(definition));
  EngineCreationPublisherManager::SetEngineUuid(L"");
  EXPECT_EQ(messages, (std::vector<std::string>{
                          R"({"type":"eventCreated","engine":"engine",)"
                          R"("id":"{AAAAAAAA-0000-4000-8000-00000000000B}","name":"Pump",)"
                          R"("description":"Too \"hot\""})"}));
  EXPECT_EQ(event->Id(), wtouuid(L"aaaaaaaa-0000-4000-8000-00000000000b"));
}

// --- conditions ---

TEST_F(EventLoad, StopConditionThatIsNoConditionIsDroppedAndKeepsItsText) {
  const LogCapture log;
  for (const char* text : {"[P.RUN] + 1", "((", ""}) {
    ASSERT_TRUE(Loads(Valid().Stop(text)));
    EXPECT_FALSE(event->HasStopCondition()) << text;
    EXPECT_EQ(Narrow(event->DeaCondition()), text);
  }
  EXPECT_TRUE(log.Lines().empty());
  ASSERT_TRUE(Loads(Valid().Stop("[P.RUN] = 0")));
  EXPECT_TRUE(event->HasStopCondition());
  ASSERT_TRUE(Loads(Valid()));
  EXPECT_FALSE(event->HasStopCondition());
  EXPECT_TRUE(event->DeaCondition().IsEmpty());
}

// --- groups ---

TEST_F(EventLoad, JoinsItsGroupsInTheOrderOfTheDocument) {
  ASSERT_TRUE(Loads(Valid().Group(kSouth).Group(kNorth)));
  EXPECT_EQ(GroupNames(), (std::vector<std::string>{"South", "North"}));
  EXPECT_EQ(event->GroupsVectorSize(), 2);
  EXPECT_TRUE(event->IsInGroup(L"North"));
  EXPECT_TRUE(event->IsInGroup(L"South"));
  EXPECT_FALSE(event->IsInGroup(L"north"));
  EXPECT_FALSE(event->IsInGroup(L"General"));
  EXPECT_FALSE(event->IsInGroup(L""));
}

TEST_F(EventLoad, JoinsTheDefaultGroupIfItNamesNone) {
  for (const char* list : {"", "<eventsGroups></eventsGroups>"}) {
    const int before = References(kDefault);
    ASSERT_TRUE(Loads("<event><id>" + EventXml::Id(1) +
                      "</id><name>Pump</name><condition>1 = 1</condition>" + list + "</event>"));
    EXPECT_EQ(GroupNames(), (std::vector<std::string>{"General"}));
    EXPECT_EQ(References(kDefault), before + 1);
  }
}

TEST_F(EventLoad, UnknownGroupsBecomeTheDefaultOneEach) {
  const int before = References(kDefault);
  ASSERT_TRUE(Loads(Valid().Group(kNobody).Group("no id").Group("").Group(kNorth)));
  EXPECT_EQ(GroupNames(), (std::vector<std::string>{"General", "General", "General", "North"}));
  EXPECT_EQ(References(kDefault), before + 3);
}

TEST_F(EventLoad, GroupThatIsNamedTwiceIsJoinedTwice) {
  const int before = References(kNorth);
  ASSERT_TRUE(Loads(Valid().Group(kNorth).Group(kNorth)));
  EXPECT_EQ(event->GroupsVectorSize(), 2);
  EXPECT_EQ(References(kNorth), before + 2);
}

TEST_F(EventLoad, GroupIsFoundByItsIdInAnyNotation) {
  ASSERT_TRUE(Loads(Valid().Group("{BBBBBBBB-0000-4000-8000-000000000002}")));
  EXPECT_EQ(GroupNames(), (std::vector<std::string>{"South"}));
}

TEST_F(EventLoad, HasNoGroupIfEvenTheDefaultOneIsMissing) {
  server->Reset();
  ASSERT_TRUE(Loads(Valid().Group(kNorth)));
  EXPECT_EQ(event->GroupsVectorSize(), 0);
  ASSERT_TRUE(Loads(Valid()));
  EXPECT_EQ(event->GroupsVectorSize(), 0);
}

TEST_F(EventLoad, ReferencesOfAGroupDoNotFallWithTheEvent) {
  const int before = References(kNorth);
  ASSERT_TRUE(Loads(Valid().Group(kNorth)));
  event.reset();
  EXPECT_EQ(References(kNorth), before + 1);
}

// --- loading again ---

TEST_F(EventLoad, SecondLoadReplacesTheDefinitionAndAddsActions) {
  ASSERT_TRUE(Loads(Valid()
                        .Stop("1 = 0")
                        .Group(kNorth)
                        .Argument("1")
                        .DelayToActivate("100")
                        .Actions("actions", "activate", ProbeXml("force", "first"))
                        .Actions("clientActions", "while", ProbeXml("force"))));
  EXPECT_TRUE(event->hasClientActions());
  ASSERT_TRUE(event->LoadText(
      Valid().Group(kSouth).Actions("actions", "activate", ProbeXml("force", "second")).Xml()));
  (void)Trace();
  EXPECT_FALSE(event->HasStopCondition());
  EXPECT_FALSE(event->hasClientActions());
  EXPECT_EQ(GroupNames(), (std::vector<std::string>{"South"}));
  EXPECT_EQ(event->Expand("%a1"), "%a1");
  Set("RUN", 1);
  EXPECT_EQ(Cycle(), "first second") << "and no delay";
}

// --- actions ---

class EventLoadActions : public EventLoad {
 protected:
  // Every kind, whatever else is known.
  EventLoadActions()
      : all({"force", "shellExecute", "screen", "report", "device", "beep", "mail", "sms",
             "launchWeb"},
            [this](ZREventDriver&, int, const std::string& label) { Happened(label); }) {}

  // The lines of the load.
  std::vector<std::string> LogOf(const EventXml& definition) {
    const LogCapture log;
    EXPECT_TRUE(Loads(definition));
    EXPECT_EQ(log.Lines().size(), log.Starting("ZREventDriver::LoadXml: ").size());
    for (const LogCapture::tagLine& line : log.Lines())
      EXPECT_EQ(line.level, kLogTrace);
    return log.Starting("");
  }
  static std::string Line(const std::string& counts, const std::string& where) {
    return "ZREventDriver::LoadXml: " + counts + " @ " + where;
  }

  ProbeActions all;
};

constexpr const char* kNoneCounted =
    "force = 00, shell = 00, screen = 00, report = 00, device = 00, beep = 00, mail = 00, sms = "
    "00, web = 00, unknown = 0";
constexpr const char* kOneForce =
    "force = 01, shell = 00, screen = 00, report = 00, device = 00, beep = 00, mail = 00, sms = "
    "00, web = 00, unknown = 0";

TEST_F(EventLoadActions, EachKindHasItsOwnCounter) {
  std::string elements;
  int count = 0;
  for (const char* tag : {"force", "shellExecute", "screen", "report", "device", "beep", "mail",
                          "sms", "launchWeb", "Force", "web"}) {
    ++count;
    for (int copy = 0; copy < count; ++copy)
      elements += ProbeXml(tag);
  }
  EXPECT_EQ(LogOf(Valid().Actions("actions", "activate", elements)),
            (std::vector<std::string>{
                Line("force = 01, shell = 02, screen = 03, report = 04, device = 05, beep = 06, "
                     "mail = 07, sms = 08, web = 09, unknown = 21",
                     "'actions'+'activate'")}));
}

TEST_F(EventLoadActions, EachMomentOfEachSideIsLoggedInItsOrder) {
  EventXml definition = Valid().Notify();
  for (const char* side : {"clientActions", "actions"}) {
    for (const char* moment : {"acknowledge", "deactivate", "while", "activate"})
      definition.Actions(side, moment, "");
  }
  std::vector<std::string> expected;
  for (const std::string side : {"actions", "clientActions"}) {
    for (const std::string moment : {"activate", "while", "deactivate", "acknowledge"})
      expected.push_back(Line(kNoneCounted, "'" + side + "'+'" + moment + "'"));
  }
  EXPECT_EQ(LogOf(definition), expected);
}

TEST_F(EventLoadActions, MomentWithoutAnElementIsNotLogged) {
  EXPECT_EQ(LogOf(Valid()), std::vector<std::string>{});
  EXPECT_EQ(LogOf(Valid().Actions("actions", "whenever", ProbeXml("force"))),
            std::vector<std::string>{});
}

TEST_F(EventLoadActions, EventThatDoesNotNotifyHasNoAcknowledgeActions) {
  EventXml definition = Valid();
  for (const char* side : {"actions", "clientActions"})
    definition.Actions(side, "acknowledge", ProbeXml("force", "acknowledge"));
  EXPECT_EQ(LogOf(definition), std::vector<std::string>{});
  EXPECT_FALSE(event->hasClientActions());
  EXPECT_EQ(all.Alive(), 0);
  event->ExecuteActions(kMomentAcknowledge);
  EXPECT_EQ(Trace(), "");
  EXPECT_EQ(LogOf(definition.Notify()).size(), 2u);
  EXPECT_TRUE(event->hasClientActions());
}

// The condition comes before groups and actions.
TEST_F(EventLoadActions, EventWithoutAUsableConditionJoinsNoGroupAndHasNoActions) {
  const auto definition = [] {
    return EventXml("Pump").Notify().Group(kNorth).Actions("actions", "while", ProbeXml("force"));
  };
  const int before = References(kNorth);
  const LogCapture log;
  for (const EventXml& broken :
       {definition(), definition().Condition(""), definition().Condition("1 + 1")}) {
    EXPECT_FALSE(Loads(broken)) << broken.Xml();
    EXPECT_EQ(event->GroupsVectorSize(), 0);
    EXPECT_EQ(all.Alive(), 0);
  }
  EXPECT_EQ(References(kNorth), before);
  EXPECT_TRUE(log.Lines().empty());
  EXPECT_TRUE(Loads(definition().Condition("1 = 1"))) << "nothing else is missing";
  EXPECT_EQ(References(kNorth), before + 1);
}

TEST_F(EventLoadActions, ActionThatDoesNotLoadIsCountedAndDestroyed) {
  EXPECT_EQ(LogOf(Valid().Actions("actions", "while", ProbeXml("force", "broken", true))),
            (std::vector<std::string>{Line(kOneForce, "'actions'+'while'")}));
  EXPECT_EQ(all.Alive(), 0);
  event->ExecuteActions(kMomentWhile);
  EXPECT_EQ(Trace(), "");
}

TEST_F(EventLoadActions, ClientActionsArePresentIfOneOfThemLoaded) {
  EXPECT_EQ(LogOf(Valid().Actions("clientActions", "while", ProbeXml("force", "", true))),
            (std::vector<std::string>{Line(kOneForce, "'clientActions'+'while'")}));
  EXPECT_FALSE(event->hasClientActions());
  LogOf(Valid().Actions("clientActions", "while",
                        ProbeXml("force", "", true) + ProbeXml("beep") + ProbeXml("unknown")));
  EXPECT_TRUE(event->hasClientActions());
  LogOf(Valid().Actions("actions", "while", ProbeXml("force")));
  EXPECT_FALSE(event->hasClientActions()) << "says nothing of the server's side";
}

TEST_F(EventLoadActions, ActionKnowsItsEventAndGoesWithIt) {
  ZREventDriver* parent = nullptr;
  const ProbeActions probe({"mail"},
                           [&](ZREventDriver& of, int, const std::string&) { parent = &of; });
  ASSERT_TRUE(Loads(Valid().Actions("actions", "activate", ProbeXml("mail"))));
  event->ExecuteActions(kMomentActivate);
  EXPECT_EQ(parent, event.get());
  EXPECT_EQ(probe.Alive(), 1);
  event.reset();
  EXPECT_EQ(probe.Alive(), 0);
}

TEST_F(EventLoadActions, KindsAreKnownByTheirExactTagAndOnlyWhileTheyCanBeMade) {
  EXPECT_EQ(ZREventActionKinds::KindOf("force"), 0u);
  EXPECT_EQ(ZREventActionKinds::KindOf("launchWeb"), 8u);
  EXPECT_EQ(ZREventActionKinds::KindOf("launchweb"), ZREventActionKinds::kUnknown);
  EXPECT_EQ(ZREventActionKinds::KindOf(""), ZREventActionKinds::kUnknown);
  auto former = ZREventActionKinds::SetMaker("force", {});
  EXPECT_EQ(ZREventActionKinds::KindOf("force"), ZREventActionKinds::kUnknown);
  EXPECT_FALSE(ZREventActionKinds::SetMaker("force", std::move(former)));
  EXPECT_EQ(ZREventActionKinds::KindOf("force"), 0u);
  EXPECT_FALSE(ZREventActionKinds::SetMaker(
      "other", [](ZREventDriver*) { return std::unique_ptr<ZREventAction>(); }));
  EXPECT_EQ(ZREventActionKinds::KindOf("other"), ZREventActionKinds::kUnknown);
}

}  // namespace
