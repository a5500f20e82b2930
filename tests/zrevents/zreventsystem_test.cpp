// The store: what fills it, its order, its searches, its end.

#include "zrevents/zreventsystem.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/tools/zrstringtable.h"
#include "support/enginetest.h"
#include "support/logcapture.h"
#include "zrevents/actions/zreventaction.h"

namespace {

const std::string kGroupA = "33333333-0000-4000-8000-00000000000a";
const std::string kGroupB = "33333333-0000-4000-8000-00000000000b";
const std::string kAlarmGroup = "22222222-2222-2222-2222-222222222212";
const std::string kDefaultGroup = "22222222-2222-2222-2222-222222222222";

EventXml Always(const std::string& name, int number = 1) {
  return EventXml(name, number).Condition("1 = 1");
}
std::string Body(const std::string& groups, const std::string& events = "") {
  return "<main><eventsGroups>" + groups + "</eventsGroups><events>" + events + "</events></main>";
}

class EventSystem : public EngineTest {
 protected:
  // Fills the empty store with what a document holds, unsorted. The document stays.
  void LoadDocument(const std::string& xml) {
    Store().Reset();
    ASSERT_TRUE(document.Parse(xml.c_str()));
    EXPECT_TRUE(Store().LoadXml(document));
  }
  static std::vector<std::string> GroupNames() {
    std::vector<std::string> names;
    for (auto at = Store().EventsGroupsBegin(); at != Store().EventsGroupsEnd(); ++at)
      names.push_back(Narrow((*at)->Name()));
    return names;
  }
  static std::vector<std::string> EventNames() {
    std::vector<std::string> names;
    for (auto at = Store().EventsBegin(); at != Store().EventsEnd(); ++at)
      names.push_back(Narrow((*at)->Name()));
    return names;
  }
  // The first group of an event.
  static std::string GroupOf(const std::string& event) {
    const ZREventDriver* const found = Find(event);
    if (found == nullptr || found->GroupsVectorSize() == 0) return "-";
    return Narrow((*found->GroupsVectorBegin())->Name());
  }
  // One more driver, behind those before.
  static TestDriver& AddDriver(const std::string& name) {
    return *static_cast<TestDriver*>(ZRDriver::Register(std::make_unique<TestDriver>(name)));
  }
  // Lets a driver generate groups and events, given as elements.
  static void Generate(TestDriver& generator, const std::string& groups,
                       const std::string& events) {
    generator.generate = [groups, events](XmlDocument::XmlNode* eventsRoot,
                                          XmlDocument::XmlNode* groupsRoot, const ZRWideMap&) {
      XmlDocument generated;
      ASSERT_TRUE(generated.Parse(Body(groups, events).c_str()));
      *groupsRoot->Node(L"eventsGroups") = *generated.Root()->Node(L"eventsGroups");
      *eventsRoot->NewChild(L"events", nullptr) = *generated.Root()->Node(L"events");
    };
  }

  XmlDocument document;
};

TEST_F(EventSystem, GetGivesTheStoreOfTheServer) {
  EXPECT_TRUE(server->LoadCfg());
  EXPECT_EQ(8, ZREventSystem::Get().EventsGroupsSize());
}

// --- groups ---

TEST_F(EventSystem, BeginsWithTheSevenFixedGroupsInTheirOrder) {
  const LogCapture log;
  LoadDocument(Body(""));
  const std::vector<std::pair<std::string, std::string>> expected = {
      {"22222222-2222-2222-2222-222222222222", Narrow(ZRLoadString(34875))},
      {"22222222-2222-2222-2222-222222222211", Narrow(ZRLoadString(33210))},
      {"22222222-2222-2222-2222-222222222212", "alarm"},
      {"22222222-2222-2222-2222-222222222213", Narrow(ZRLoadString(36166))},
      {"22222222-2222-2222-2222-222222222214", Narrow(ZRLoadString(36157))},
      {"22222222-2222-2222-2222-222222222215", Narrow(ZRLoadString(36185))},
      {"22222222-2222-2222-2222-222222222216", Narrow(ZRLoadString(24543))}};
  ASSERT_EQ(7, Store().EventsGroupsSize());
  auto at = Store().EventsGroupsBegin();
  for (const auto& [id, name] : expected) {
    EXPECT_EQ(id, Narrow((*at)->IdStr()));
    EXPECT_EQ(id, Narrow((*at)->Id().toWString()));
    EXPECT_EQ(name, Narrow((*at)->Name()));
    ++at;
  }
  EXPECT_EQ(0, Store().EventsSize());
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(EventSystem, HasTheFixedGroupsInTheInstallationsLanguage) {
  ASSERT_TRUE(SetStringLanguage("es"));
  LoadDocument(Body(""));
  ASSERT_TRUE(SetStringLanguage("en"));
  EXPECT_NE(nullptr, Store().LockEventsGroup(L"Sistema"));
  EXPECT_NE(nullptr, Store().LockEventsGroup(L"alarm"));
}

TEST_F(EventSystem, TheParkingGroupComesBehindAllOthers) {
  LoadDocument(Body(GroupXml(kGroupA, "Own")));
  const LogCapture log;
  EXPECT_TRUE(Store().LoadParkingXml(XmlDocument()));
  EXPECT_EQ(9, Store().EventsGroupsSize());
  EXPECT_EQ("< " + Narrow(ZRLoadString(34031)) + " >", GroupNames().back());
  EXPECT_EQ("11111111-1111-1111-1111-111111111111",
            Narrow(Store().LockEventsGroup(L"< Parking >")->IdStr()));
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(EventSystem, NothingOfTheParkingDocumentIsRead) {
  LoadDocument(Body(""));
  XmlDocument parking;
  ASSERT_TRUE(parking.Parse(Body(GroupXml(kGroupA, "Own"), Always("Pump").Xml()).c_str()));
  const LogCapture log;
  EXPECT_TRUE(Store().LoadParkingXml(parking));
  EXPECT_EQ(8, Store().EventsGroupsSize());
  EXPECT_EQ("< Parking >", GroupNames().back());
  EXPECT_EQ(0, Store().EventsSize());
  EXPECT_TRUE(log.Lines().empty());
}

// It doesn't exist yet while they load.
TEST_F(EventSystem, NoEventJoinsTheParkingGroup) {
  LoadXeve(Always("Pump").Group("11111111-1111-1111-1111-111111111111").Xml());
  EXPECT_EQ("General", GroupOf("Pump"));
}

TEST_F(EventSystem, AddsTheGroupsOfTheDocumentWithALineEach) {
  const LogCapture log;
  LoadDocument(
      Body("<x><id>" + kGroupA + "</id><name>Own</name></x>" + GroupXml(kGroupB, "50% %s")));
  EXPECT_EQ(9, Store().EventsGroupsSize());
  EXPECT_EQ(
      (std::vector<LogCapture::tagLine>{
          {kLogTrace,
           "ZREventSystem::LoadXml(): adding new event group 'Own' (it's the 8th group)..."},
          {kLogTrace,
           "ZREventSystem::LoadXml(): adding new event group '50% %s' (it's the 9th group)..."}}),
      log.Lines());
}

TEST_F(EventSystem, PassesOverGroupsThatCannotBeLoadedInSilence) {
  const LogCapture log;
  LoadDocument(Body("<g><name>NoId</name></g>" + GroupXml("", "EmptyId") +
                    GroupXml("00000000-0000-0000-0000-000000000000", "NullId") +
                    GroupXml("none", "BadId") + GroupXml(kGroupA, "") + "<g></g>"));
  EXPECT_EQ(7, Store().EventsGroupsSize());
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(EventSystem, KeepsTwoGroupsOfOneIdAndFindsTheFirst) {
  LoadDocument(
      Body(GroupXml(kAlarmGroup, "Mine") + GroupXml(kGroupA, "One") + GroupXml(kGroupA, "Two")));
  EXPECT_EQ(10, Store().EventsGroupsSize());
  EXPECT_EQ("alarm", Narrow(Store().LockEventsGroup(wtouuid(Wide(kAlarmGroup)))->Name()));
  EXPECT_EQ("One", Narrow(Store().LockEventsGroup(wtouuid(Wide(kGroupA)))->Name()));
}

TEST_F(EventSystem, KeepsAGroupOfAFixedGroupsNameBesideIt) {
  LoadDocument(Body(GroupXml(kGroupA, "alarm")));
  EXPECT_EQ(8, Store().EventsGroupsSize());
  EXPECT_EQ(kAlarmGroup, Narrow(Store().LockEventsGroup(L"alarm")->IdStr()));
}

TEST_F(EventSystem, ADocumentWithoutAnythingLoads) {
  EXPECT_TRUE(Store().LoadXml(XmlDocument()));
  EXPECT_EQ(7, Store().EventsGroupsSize());
  LoadDocument("<anything></anything>");
  EXPECT_EQ(7, Store().EventsGroupsSize());
  EXPECT_EQ(0, Store().EventsSize());
}

// --- events ---

TEST_F(EventSystem, AddsTheEventsOfTheDocumentWhateverTheirTag) {
  std::string second = Always("B", 2).Xml();
  second = "<other>" + second.substr(7, second.size() - 15) + "</other>";
  LoadDocument(Body("", Always("C", 1).Xml() + second));
  EXPECT_EQ((std::vector<std::string>{"C", "B"}), EventNames());
  EXPECT_EQ(2, Store().EventsSize());
}

TEST_F(EventSystem, PassesOverEventsThatCannotBeLoaded) {
  const LogCapture log;
  LoadDocument(Body("", EventXml("NoCondition", 1).Xml() + "<event></event>" +
                            EventXml::Bare().With("id", "none").With("name", "x").Xml() +
                            Always("Good", 2).Xml()));
  EXPECT_EQ((std::vector<std::string>{"Good"}), EventNames());
  for (const LogCapture::tagLine& line : log.Lines())
    EXPECT_EQ(kLogTrace, line.level) << line.text;
}

TEST_F(EventSystem, FindsEventsByIdAndByExactName) {
  LoadDocument(Body("", Always("Pump", 1).Xml() + Always("Fan", 2).Xml()));
  EXPECT_EQ("Fan", Narrow(Store().LockEvent(wtouuid(Wide(EventXml::Id(2))))->Name()));
  EXPECT_EQ(Store().LockEvent(L"Fan"), Store().LockEvent(wtouuid(Wide(EventXml::Id(2)))));
  EXPECT_EQ(nullptr, Store().LockEvent(wtouuid(Wide(EventXml::Id(3)))));
  EXPECT_EQ(nullptr, Store().LockEvent(uuid::null));
  for (const wchar_t* name : {L"fan", L"FAN", L"Fa", L"Fan ", L""})
    EXPECT_EQ(nullptr, Store().LockEvent(name)) << Narrow(ZRWString(name));
}

TEST_F(EventSystem, FindsTheFirstOfTwoEventsOfOneNameOrId) {
  LoadDocument(Body("", Always("Same", 1).With("description", "first").Xml() +
                            Always("Same", 2).Xml() + Always("Other", 1).Xml()));
  EXPECT_EQ("first", Narrow(Store().LockEvent(L"Same")->Description()));
  EXPECT_EQ("Same", Narrow(Store().LockEvent(wtouuid(Wide(EventXml::Id(1))))->Name()));
}

TEST_F(EventSystem, FindsTheFirstOfOneIdInTheOrderAfterSorting) {
  LoadDocument(Body("", Always("C", 1).Xml() + Always("B", 1).Xml() + Always("A", 2).Xml() +
                            Always("D", 1).Xml()));
  const uuid first = wtouuid(Wide(EventXml::Id(1)));
  EXPECT_EQ("C", Narrow(Store().LockEvent(first)->Name()));
  Store().Sort();
  EXPECT_EQ("B", Narrow(Store().LockEvent(first)->Name()));
  EXPECT_EQ("A", Narrow(Store().LockEvent(wtouuid(Wide(EventXml::Id(2))))->Name()));
  EXPECT_EQ(nullptr, Store().LockEvent(uuid::null));
  EXPECT_EQ(nullptr, Store().LockEvent(wtouuid(Wide(EventXml::Id(3)))));
}

TEST_F(EventSystem, FindsEventsThatJoinAndLeaveAfterSorting) {
  LoadDocument(Body("", Always("A", 1).Xml()));
  Store().Sort();
  XmlDocument more;
  ASSERT_TRUE(more.Parse(Body("", Always("B", 2).Xml()).c_str()));
  EXPECT_TRUE(Store().LoadXml(more));
  EXPECT_NE(nullptr, Store().LockEvent(wtouuid(Wide(EventXml::Id(1)))));
  EXPECT_NE(nullptr, Store().LockEvent(wtouuid(Wide(EventXml::Id(2)))));
  Store().Sort();
  Store().Reset();
  EXPECT_EQ(nullptr, Store().LockEvent(wtouuid(Wide(EventXml::Id(1)))));
}

TEST_F(EventSystem, FindsGroupsByIdAndByExactName) {
  LoadDocument(Body(GroupXml(kGroupA, "Own")));
  EXPECT_EQ(Store().LockEventsGroup(L"Own"), Store().LockEventsGroup(wtouuid(Wide(kGroupA))));
  EXPECT_NE(nullptr, Store().LockEventsGroup(L"Own"));
  EXPECT_EQ(nullptr, Store().LockEventsGroup(L"own"));
  EXPECT_EQ(nullptr, Store().LockEventsGroup(L""));
  EXPECT_EQ(nullptr, Store().LockEventsGroup(wtouuid(Wide(kGroupB))));
  EXPECT_EQ(nullptr, Store().LockEventsGroup(uuid::null));
}

TEST_F(EventSystem, CountsEachMembershipOfAGroup) {
  LoadDocument(Body(GroupXml(kGroupA, "Own"),
                    Always("Twice", 1).Group(kGroupA).Group(kGroupA).Xml() +
                        Always("Lost", 2).Group(kGroupB).Xml() + Always("Plain", 3).Xml()));
  EXPECT_EQ(2, Store().LockEventsGroup(L"Own")->References());
  EXPECT_EQ(2, Store().LockEventsGroup(L"General")->References());
  EXPECT_EQ(0, Store().LockEventsGroup(L"alarm")->References());
}

// --- order ---

TEST_F(EventSystem, SortsByTheNumbersOfTheUnits) {
  LoadDocument(Body("", Always("b", 1).Xml() + Always("B", 2).Xml() + Always("a", 3).Xml()));
  Store().Sort();
  EXPECT_EQ((std::vector<std::string>{"B", "a", "b"}), EventNames());
}

TEST_F(EventSystem, APrefixComesFirst) {
  LoadDocument(
      Body("", Always("Pump 10", 1).Xml() + Always("Pump 1", 2).Xml() + Always("Pump", 3).Xml()));
  Store().Sort();
  EXPECT_EQ((std::vector<std::string>{"Pump", "Pump 1", "Pump 10"}), EventNames());
}

// U+1F600 is D83D DE00 in units of 16 bits, and so before U+FF5E.
TEST_F(EventSystem, APairOfUnitsSortsByItsFirst) {
  LoadDocument(Body("", Always("\xEF\xBD\x9E", 1).Xml() + Always("\xF0\x9F\x98\x80", 2).Xml() +
                            Always("\xC3\xB1", 3).Xml() + Always("z", 4).Xml()));
  Store().Sort();
  EXPECT_EQ((std::vector<std::string>{"z", "\xC3\xB1", "\xF0\x9F\x98\x80", "\xEF\xBD\x9E"}),
            EventNames());
}

TEST_F(EventSystem, EqualNamesKeepTheirOrder) {
  std::string events;
  for (int number = 1; number <= 40; ++number)
    events += Always(number % 2 == 0 ? "b" : "a", number).Xml();
  LoadDocument(Body("", events));
  Store().Sort();
  int before = -1;
  for (auto at = Store().EventsBegin(); at != Store().EventsEnd(); ++at) {
    const int number = std::stoi(Narrow((*at)->Id().toWString()).substr(24));
    if (number == 2) before = 0;
    EXPECT_LT(before, number);
    before = number;
  }
}

TEST_F(EventSystem, SortsGroupsTheSameWay) {
  LoadDocument(Body(GroupXml(kGroupA, "alar") + GroupXml(kGroupB, "alarm")));
  Store().SortEventsGroups();
  EXPECT_EQ((std::vector<std::string>{"Consumption", "General", "Maintenance", "Power quality",
                                      "Security", "System", "alar", "alarm", "alarm"}),
            GroupNames());
  auto last = Store().EventsGroupsBegin();
  std::advance(last, 8);
  EXPECT_EQ(kGroupB, Narrow((*last)->IdStr()));
}

// --- what drivers generate ---

TEST_F(EventSystem, AddsWhatADriverGenerates) {
  Generate(*driver, GroupXml(kGroupA, "Made"), Always("Sensor", 2).Group(kGroupA).Xml());
  const LogCapture log;
  LoadDocument(Body("", Always("Pump", 1).Xml()));
  EXPECT_EQ((std::vector<std::string>{"Pump", "Sensor"}), EventNames());
  EXPECT_EQ("Made", GroupOf("Sensor"));
  EXPECT_TRUE(
      log.Has(kLogTrace,
              "ZREventSystem::LoadXml(): adding new event group 'Made' (it's the 8th group)..."));
}

TEST_F(EventSystem, AnEventOfTheDocumentIsTooEarlyForAGeneratedGroup) {
  Generate(*driver, GroupXml(kGroupA, "Made"), "");
  LoadDocument(Body("", Always("Pump").Group(kGroupA).Xml()));
  EXPECT_EQ("General", GroupOf("Pump"));
}

TEST_F(EventSystem, AGeneratedEventCanNameGroupsOfTheDocumentAndOfEarlierDrivers) {
  TestDriver& second = AddDriver("Q");
  Generate(*driver, GroupXml(kGroupA, "MadeFirst"),
           Always("Later", 1).Group(kGroupB).Xml() +
               Always("OfDocument", 2).Group("33333333-0000-4000-8000-00000000000c").Xml());
  Generate(second, GroupXml(kGroupB, "MadeSecond"),
           Always("Earlier", 3).Group(kGroupA).Xml() + Always("Own", 4).Group(kGroupB).Xml());
  LoadDocument(Body(GroupXml("33333333-0000-4000-8000-00000000000c", "Document")));
  EXPECT_EQ("General", GroupOf("Later"));
  EXPECT_EQ("Document", GroupOf("OfDocument"));
  EXPECT_EQ("MadeFirst", GroupOf("Earlier"));
  EXPECT_EQ("MadeSecond", GroupOf("Own"));
}

TEST_F(EventSystem, GivesEachDriverTwoFreshDocuments) {
  int asked = 0;
  const auto look = [&](XmlDocument::XmlNode* events, XmlDocument::XmlNode* groups,
                        const ZRWideMap&) {
    ++asked;
    EXPECT_EQ("main", events->TagUtf8());
    EXPECT_EQ(0, events->Size());
    EXPECT_EQ("main", groups->TagUtf8());
    EXPECT_EQ(1, groups->Size());
    EXPECT_EQ("eventsGroups", (*groups->ChildsBegin())->TagUtf8());
    (void)events->NewChild(L"left", nullptr);
    (void)groups->NewChild(L"left", nullptr);
  };
  driver->generate = look;
  AddDriver("Q").generate = look;
  LoadDocument(Body(""));
  EXPECT_EQ(2, asked);
  EXPECT_EQ(7, Store().EventsGroupsSize());
}

TEST_F(EventSystem, ADriverMayTakeAwayTheBranchOfGroups) {
  driver->generate = [](XmlDocument::XmlNode* events, XmlDocument::XmlNode* groups,
                        const ZRWideMap&) {
    groups->RemoveChild(groups->Node(L"eventsGroups"));
    XmlDocument generated;
    ASSERT_TRUE(generated.Parse(("<events>" + Always("Sensor").Xml() + "</events>").c_str()));
    *events->NewChild(L"events", nullptr) = *generated.Root();
  };
  LoadDocument(Body(""));
  EXPECT_EQ((std::vector<std::string>{"Sensor"}), EventNames());
}

TEST_F(EventSystem, PassesOverWhatADriverGeneratesBadly) {
  Generate(*driver, GroupXml(kGroupA, "") + "<x></x>", "<x></x>" + EventXml("NoCondition").Xml());
  LoadDocument(Body(""));
  EXPECT_EQ(7, Store().EventsGroupsSize());
  EXPECT_EQ(0, Store().EventsSize());
}

TEST_F(EventSystem, TheDocumentOfAGeneratedEventLivesAsLongAsTheEvent) {
  Generate(*driver, "", Always("Sensor").Argument("1 + 2", "%g").With("annotation", "A \\1").Xml());
  LoadXeve("");
  StartServer();
  Passes(2);
  EXPECT_EQ("Sensor", Narrow(Find("Sensor")->Node()->Value(L"name", L"")));
  EXPECT_TRUE(Find("Sensor")->IsEnabled());
}

// --- screens ---

class Screens : public EventSystem {
 protected:
  void Write(const std::string& name, const std::string& inPage) const {
    site.Write("config/" + name, "<screen><page>" + inPage + "</page></screen>");
  }
  std::map<std::string, std::string> Map() const {
    std::map<std::string, std::string> narrow;
    for (const auto& [sensor, screen] : Store().CreateScreenNameMap())
      narrow[Narrow(sensor)] = Narrow(screen);
    return narrow;
  }
  static std::string Parking(const std::string& name) {
    return "<parkingSensor><sensorName>" + name + "</sensorName></parkingSensor>";
  }
  static std::string Fire(const std::string& name) {
    return "<fireSensor><fireSensorName>" + name + "</fireSensorName></fireSensor>";
  }
  using tagMap = std::map<std::string, std::string>;
};

TEST_F(Screens, AreFoundByTheirSensors) {
  Write("1.hall.xscn", Parking("P1") + Fire("F1") + "<other><sensorName>X</sensorName></other>");
  EXPECT_EQ((tagMap{{"F1", "hall"}, {"P1", "hall"}}), Map());
}

TEST_F(Screens, AFileWithoutAFurtherPointInItsTitleIsNotRead) {
  Write("plain.xscn", Parking("P1"));
  Write("1.hall.xscm", Parking("P2"));
  Write("1.hall.xscn.bak", Parking("P3"));
  EXPECT_EQ(tagMap{}, Map());
}

TEST_F(Screens, TheFirstFileThatNamesASensorWins) {
  Write("2.second.xscn", Parking("P") + Fire("Q"));
  Write("1.first.xscn", Parking("P") + Fire("R"));
  Write("3.third.xscn", Fire("R") + Fire("S"));
  EXPECT_EQ((tagMap{{"P", "first"}, {"Q", "second"}, {"R", "first"}, {"S", "third"}}), Map());
}

TEST_F(Screens, EachKindHasItsOwnName) {
  Write("1.hall.xscn",
        "<parkingSensor><fireSensorName>F</fireSensorName></parkingSensor>"
        "<fireSensor><sensorName>P</sensorName></fireSensor>");
  EXPECT_EQ((tagMap{{"", "hall"}}), Map());
}

TEST_F(Screens, OnlyPagesOfTheRootAreLookedAt) {
  site.Write("config/1.hall.xscn", "<screen>" + Parking("Outside") + "<Page>" + Parking("Case") +
                                       "</Page><page>" + Parking("One") + "<page>" +
                                       Parking("Inside") + "</page></page><page>" + Parking("Two") +
                                       "</page></screen>");
  EXPECT_EQ((tagMap{{"One", "hall"}, {"Two", "hall"}}), Map());
}

TEST_F(Screens, AFileThatCannotBeReadIsPassedOver) {
  site.Write("config/1.bad.xscn", "<screen><page>");
  Write("2.good.xscn", Parking("P"));
  EXPECT_EQ((tagMap{{"P", "good"}}), Map());
}

TEST_F(Screens, AreHandedToEachDriver) {
  Write("1.hall.xscn", Parking("P"));
  int asked = 0;
  const auto look = [&](XmlDocument::XmlNode*, XmlDocument::XmlNode*, const ZRWideMap& screens) {
    ++asked;
    EXPECT_EQ(1u, screens.size());
    EXPECT_EQ("hall", Narrow(screens.at(L"P")));
  };
  driver->generate = look;
  AddDriver("Q").generate = look;
  EXPECT_TRUE(server->LoadCfg());
  EXPECT_EQ(2, asked);
}

TEST_F(Screens, AreLookedForAnewByEachLoad) {
  tagMap handed;
  driver->generate = [&](XmlDocument::XmlNode*, XmlDocument::XmlNode*, const ZRWideMap& screens) {
    handed.clear();
    for (const auto& [sensor, screen] : screens)
      handed[Narrow(sensor)] = Narrow(screen);
  };
  Write("1.hall.xscn", Parking("Gone"));
  Write("2.yard.xscn", Parking("Moved"));
  EXPECT_TRUE(server->LoadCfg());
  EXPECT_EQ((tagMap{{"Gone", "hall"}, {"Moved", "yard"}}), handed);
  Write("1.hall.xscn", Parking("Moved") + Fire("New"));
  EXPECT_TRUE(server->LoadCfg());
  EXPECT_EQ((tagMap{{"Moved", "hall"}, {"New", "hall"}}), handed);
}

// --- Reset ---

// Looks around while the event goes.
class CWitness final : public ZREventAction {
 public:
  CWitness(ZREventDriver* owner, std::vector<std::string>& toWrite)
      : ZREventAction(owner), seen(toWrite) {}
  ~CWitness() override {
    ZREventSystem& store = ZREventSystem::Get();
    seen.push_back(Narrow(Parent()->Name()) + " " + std::to_string(store.TimeTablesSize()) + " " +
                   std::to_string(store.EventsGroupsSize()) + " " +
                   Narrow(Parent()->TimeTable()->Name()) + " " +
                   Narrow((*Parent()->GroupsVectorBegin())->Name()) + " " +
                   Narrow(Parent()->Node()->Value(L"name", L"")));
  }
  CWitness(const CWitness&) = delete;
  CWitness& operator=(const CWitness&) = delete;
  bool Execute(int /*moment*/) override { return true; }
  bool LoadXml(const XmlDocument::XmlNode* /*node*/) override { return true; }

 private:
  std::vector<std::string>& seen;
};

TEST_F(EventSystem, AResetEndsEventsWhileAllThatTheyReferToIsThere) {
  std::vector<std::string> seen;
  const auto former = ZREventActionKinds::SetMaker(
      "beep", [&](ZREventDriver* owner) { return std::make_unique<CWitness>(owner, seen); });
  TimeTables("<days><day><id>d</id><name>Day</name></day></days>");
  const std::string beep = "<beep></beep>";
  Generate(*driver, "",
           Always("Made", 2).TimeTable("Day").Actions("actions", "activate", beep).Xml());
  Load(Always("Pump").TimeTable("Day").Actions("actions", "activate", beep));
  server->Reset();
  (void)ZREventActionKinds::SetMaker("beep", former);
  EXPECT_EQ((std::vector<std::string>{"Made 1 8 Day General Made", "Pump 1 8 Day General Pump"}),
            seen);
  EXPECT_EQ(0, Store().EventsSize());
  EXPECT_EQ(0, Store().TimeTablesSize());
  EXPECT_EQ(0, Store().EventsGroupsSize());
}

TEST_F(EventSystem, AStoreThatEndsTakesItsEventsWithIt) {
  EXPECT_TRUE(server->LoadCfg());
  auto other = std::make_unique<ZREventSystem>();
  EXPECT_EQ(other.get(), &ZREventSystem::Get());
  XmlDocument own;
  ASSERT_TRUE(own.Parse(Body("", Always("Pump").Xml()).c_str()));
  EXPECT_TRUE(other->LoadXml(own));
  EXPECT_EQ(1, other->EventsSize());
  other.reset();  // nothing is left behind, as the sanitizers see
}

TEST_F(EventSystem, TheFeedIsNotActiveAtFirst) {
  EXPECT_FALSE(Store().GetRssActive());
}

// --- a slot, for the host's checks ---

TEST_F(EventSystem, SaysWhatIsWrongWithASlot) {
  const auto fault = [](const std::string& inside) {
    XmlDocument slot;
    EXPECT_TRUE(slot.Parse(("<slot>" + inside + "</slot>").c_str()));
    return ZREventSystem::SlotFault(*slot.Root());
  };
  EXPECT_EQ(ZRSlotFault::kNone, fault("<from>08:00</from><to>08:00</to>"));
  EXPECT_EQ(ZRSlotFault::kFrom, fault("<from>25:00</from><to>x</to>"));
  EXPECT_EQ(ZRSlotFault::kTo, fault("<from>08:00</from><to>24:01</to>"));
  EXPECT_EQ(ZRSlotFault::kTo, fault("<from>08:00</from>"));
  EXPECT_EQ(ZRSlotFault::kBackwards, fault("<from>22:00</from><to>06:00</to>"));
}

// --- a group ---

ZREventDriverGroup Loaded(const std::string& xml, bool& result) {
  XmlDocument document;
  EXPECT_TRUE(document.Parse(xml.c_str()));
  ZREventDriverGroup group;
  result = group.LoadXml(*document.Root());
  return group;
}

TEST(EventDriverGroup, IsEmptyAtFirst) {
  const ZREventDriverGroup group;
  EXPECT_TRUE(group.Name().IsEmpty());
  EXPECT_TRUE(group.IdStr().IsEmpty());
  EXPECT_EQ(uuid::null, group.Id());
  EXPECT_EQ(0, group.References());
}

TEST(EventDriverGroup, KeepsItsIdAsTheDocumentGaveIt) {
  bool result = false;
  const std::string text = "{33333333-0000-4000-8000-00000000000A}";
  const ZREventDriverGroup group = Loaded(GroupXml(text, "Own"), result);
  EXPECT_TRUE(result);
  EXPECT_EQ(text, Narrow(group.IdStr()));
  EXPECT_EQ(wtouuid(Wide(kGroupA)), group.Id());
  EXPECT_EQ("Own", Narrow(group.Name()));
}

TEST(EventDriverGroup, NeedsAnIdAndAName) {
  bool result = true;
  (void)Loaded("<g><name>x</name></g>", result);
  EXPECT_FALSE(result);
  (void)Loaded(GroupXml("none", "x"), result);
  EXPECT_FALSE(result);
  (void)Loaded(GroupXml("00000000-0000-0000-0000-000000000000", "x"), result);
  EXPECT_FALSE(result);
  const ZREventDriverGroup nameless = Loaded(GroupXml(kGroupA, ""), result);
  EXPECT_FALSE(result);
  EXPECT_EQ(kGroupA, Narrow(nameless.IdStr()));  // what was read stays
}

TEST(EventDriverGroup, ACopyHasItsReferencesToo) {
  bool result = false;
  ZREventDriverGroup group = Loaded(GroupXml(kGroupA, "Own"), result);
  group.AddReference();
  group.AddReference();
  const ZREventDriverGroup copy = group;
  ZREventDriverGroup assigned;
  assigned = group;
  for (const ZREventDriverGroup& other : {copy, assigned}) {
    EXPECT_EQ("Own", Narrow(other.Name()));
    EXPECT_EQ(group.Id(), other.Id());
    EXPECT_EQ(kGroupA, Narrow(other.IdStr()));
    EXPECT_EQ(2, other.References());
  }
}

}  // namespace
