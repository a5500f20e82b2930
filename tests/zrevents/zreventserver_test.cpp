// The life of the server: loading, starting, stopping, the gate.

#include "zrevents/zreventserver.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "host/driversupport/zrdrivervariable.h"
#include "host/platform/zrthread.h"
#include "host/user/zrsecuritymanager.h"
#include "support/enginetest.h"
#include "support/logcapture.h"

namespace {

constexpr int kFixedGroups = 8;           // those of the store and the parking group
constexpr std::uint32_t kGateWait = 100;  // ms, a service's wait for a token

const std::string kGroupA = "33333333-0000-4000-8000-00000000000a";
const std::string kGroupB = "33333333-0000-4000-8000-00000000000b";
const std::string kDefaultGroup = "22222222-2222-2222-2222-222222222222";
const std::string kAlarmGroup = "22222222-2222-2222-2222-222222222212";
const std::string kUnknownGroup = "99999999-0000-4000-8000-000000000009";

EventXml Always(const std::string& name, int number = 1) {
  return EventXml(name, number).Condition("1 = 1");
}

class EventServer : public EngineTest {
 protected:
  // What a Start says, in its order.
  static std::vector<std::string> StartLines(const LogCapture& log) {
    for (const LogCapture::tagLine& line : log.Lines()) {
      if (line.text.rfind("ZREventServer::", 0) == 0) {
        EXPECT_EQ(kLogTrace, line.level);
      }
    }
    return log.Starting("ZREventServer::Start()");
  }
  static std::string AddsToGroup(const std::string& event, int index, const std::string& group) {
    return "ZREventServer::Start(): adding event '" + event + "' to event group '" +
           std::to_string(index) + "' (named '" + group + "')...";
  }
  static std::string AddsGroups(int count, int extra) {
    return "ZREventServer::Start(): adding " + std::to_string(count) +
           " new groups (they come from ZREventSystem)...|" +
           "ZREventServer::Start(): adding extra new group (this is the " + std::to_string(extra) +
           "th)...";
  }
  static std::string Joined(const std::vector<std::string>& lines) {
    std::string all;
    for (const std::string& line : lines)
      all += (all.empty() ? "" : "|") + line;
    return all;
  }
  // An event "Alone" that has no group, and one, "Grouped", of the group "!". The fixed groups are
  // gone while these load.
  void LoadAloneAndGrouped() {
    driver->generate = [](XmlDocument::XmlNode* events, XmlDocument::XmlNode* groups,
                          const ZRWideMap&) {
      Store().Reset();
      XmlDocument generated;
      ASSERT_TRUE(generated.Parse(
          ("<main><events>" + Always("Alone", 1).Xml() + Always("Grouped", 2).Group(kGroupA).Xml() +
           "</events><eventsGroups>" + GroupXml(kGroupA, "!") + "</eventsGroups></main>")
              .c_str()));
      *events->NewChild(L"events", nullptr) = *generated.Root()->Node(L"events");
      *groups->Node(L"eventsGroups") = *generated.Root()->Node(L"eventsGroups");
    };
    LoadXeve("");
    ASSERT_NE(nullptr, Find("Alone"));
    ASSERT_EQ(0, Find("Alone")->GroupsVectorSize());
  }
  std::string Read(const std::string& name) const {
    std::ifstream file(site.path / name, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
  }
  static std::vector<std::string> Tags(const XmlDocument::XmlNode& node) {
    std::vector<std::string> tags;
    for (auto child = node.ChildsBegin(); child != node.ChildsEnd(); ++child)
      tags.emplace_back((*child)->TagUtf8());
    return tags;
  }
  static void RegisterSystemDriver() {
    auto system = std::make_unique<TestDriver>("R$SYS");
    (void)system->NumberOf("NEVE");
    ZRDriver::Register(std::move(system));
  }
  // The value that the host's system driver shows; -1 without one.
  static double EventsLoaded() {
    ZRDriverVariable variable;
    variable.Setup(L"R$SYS.NEVE");
    ZRValue value;
    return variable.Lock(false) && variable.Value(value) ? value.Numeric() : -1.0;
  }
  int ActiveStatus() const {
    FakeRequest request;
    FakeResponse response;
    server->ProcessHttpServiceEventsActived(request, response);
    return response.status;
  }
  int NotifiedStatus() const {
    FakeRequest request;
    FakeResponse response;
    server->ProcessHttpServiceEventsNotified(request, response);
    return response.status;
  }
  int ActiveCount() const {
    FakeRequest request;
    FakeResponse response;
    return server->ActiveEventsCount(request, response);
  }
  int NotifiedCount() const {
    FakeRequest request;
    FakeResponse response;
    return server->NotifiedEventsCount(request, response);
  }
  // Virtual milliseconds that `what` takes.
  template <typename What>
  std::int64_t Duration(What what) {
    const std::int64_t before = time.UtcMilliseconds();
    what();
    return time.UtcMilliseconds() - before;
  }
};

// Lets each look at the rights take `wait` milliseconds: a service that lasts.
class SlowRights {
 public:
  explicit SlowRights(std::uint32_t toWait) : wait(toWait) { SetAccessRule(&Ask, this); }
  ~SlowRights() { SetAccessRule(nullptr, nullptr); }
  SlowRights(const SlowRights&) = delete;
  SlowRights& operator=(const SlowRights&) = delete;

 private:
  static bool Ask(void* context, int, const wchar_t*, ZRHttpRequest&, const char*) {
    ZRPlatform::Get().Sleep(static_cast<const SlowRights*>(context)->wait);
    return true;
  }
  const std::uint32_t wait;
};

TEST_F(EventServer, GetGivesTheInstance) {
  EXPECT_EQ(server.get(), &ZREventServer::Get());
}

// --- LoadCfg ---

TEST_F(EventServer, LoadsEmptyDocumentsWithoutAnyFile) {
  const LogCapture log;
  EXPECT_TRUE(server->LoadCfg());
  EXPECT_EQ("main", server->Cfg()->Root()->TagUtf8());
  EXPECT_EQ((std::vector<std::string>{"eventsGroups", "events"}), Tags(*server->Cfg()->Root()));
  EXPECT_EQ("lotwise", server->ParkingCfg()->Root()->TagUtf8());
  EXPECT_EQ((std::vector<std::string>{"events"}), Tags(*server->ParkingCfg()->Root()));
  EXPECT_EQ("main", server->TimeTableCfg()->Root()->TagUtf8());
  EXPECT_EQ((std::vector<std::string>{"days", "weeks", "calendars"}),
            Tags(*server->TimeTableCfg()->Root()));
  EXPECT_EQ(kFixedGroups, Store().EventsGroupsSize());
  EXPECT_EQ(0, Store().EventsSize());
  EXPECT_TRUE(log.Lines().empty());
  EXPECT_TRUE(std::filesystem::is_empty(site.path / "config"));
}

TEST_F(EventServer, AFileThatCannotBeReadIsAnEmptyOne) {
  for (const char* name : {"default.xeve", "default.xpark", "default.xtmt"})
    site.Write(std::string("config/") + name, "<main><events>");
  const LogCapture log;
  EXPECT_TRUE(server->LoadCfg());
  EXPECT_EQ("main", server->Cfg()->Root()->TagUtf8());
  EXPECT_EQ("lotwise", server->ParkingCfg()->Root()->TagUtf8());
  EXPECT_EQ("main", server->TimeTableCfg()->Root()->TagUtf8());
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(EventServer, AddsMissingBranchesInMemoryOnly) {
  const std::string events = "<a><events></events></a>";
  const std::string parking = "<b></b>";
  const std::string tables = "<c><weeks></weeks></c>";
  site.Write("config/default.xeve", events);
  site.Write("config/default.xpark", parking);
  site.Write("config/default.xtmt", tables);
  EXPECT_TRUE(server->LoadCfg());
  EXPECT_EQ("a", server->Cfg()->Root()->TagUtf8());
  EXPECT_EQ((std::vector<std::string>{"events", "eventsGroups"}), Tags(*server->Cfg()->Root()));
  EXPECT_EQ("b", server->ParkingCfg()->Root()->TagUtf8());
  EXPECT_EQ((std::vector<std::string>{"events"}), Tags(*server->ParkingCfg()->Root()));
  EXPECT_EQ("c", server->TimeTableCfg()->Root()->TagUtf8());
  EXPECT_EQ((std::vector<std::string>{"weeks", "days", "calendars"}),
            Tags(*server->TimeTableCfg()->Root()));
  EXPECT_EQ(events, Read("config/default.xeve"));
  EXPECT_EQ(parking, Read("config/default.xpark"));
  EXPECT_EQ(tables, Read("config/default.xtmt"));
}

TEST_F(EventServer, KeepsWhatTheFilesHold) {
  site.Write("config/default.xpark", "<lotwise><events><lot>1</lot></events></lotwise>");
  Load(Always("Pump"));
  EXPECT_NE(nullptr, server->Cfg()->Root()->Node(L"events/event?name=Pump?"));
  EXPECT_NE(nullptr, server->ParkingCfg()->Root()->Node(L"events/lot"));
}

TEST_F(EventServer, LoadsEnabledEventsOnly) {
  Load({Always("On", 1).With("enabled", "T"), Always("Off", 2).With("enabled", "F")});
  EXPECT_NE(nullptr, Find("On"));
  EXPECT_EQ(nullptr, Find("Off"));
}

TEST_F(EventServer, LoadsTimeTablesBeforeTheEventsThatBindThem) {
  TimeTables("<days><day><id>d</id><name>Day</name></day></days>");
  Load(Always("Pump").TimeTable("Day"));
  EXPECT_NE(nullptr, Find("Pump")->TimeTable());
}

TEST_F(EventServer, ASecondLoadReplacesTheFirst) {
  Load(Always("Pump"));
  Load(Always("Fan"));
  EXPECT_EQ(1, Store().EventsSize());
  EXPECT_NE(nullptr, Find("Fan"));
  EXPECT_EQ(kFixedGroups, Store().EventsGroupsSize());
}

TEST_F(EventServer, SortsEventsAndGroups) {
  LoadXeve(Always("b", 1).Xml() + Always("a", 2).Xml(), GroupXml(kGroupA, "AAA"));
  EXPECT_EQ("a", Narrow((*Store().EventsBegin())->Name()));
  std::vector<std::string> names;
  for (auto at = Store().EventsGroupsBegin(); at != Store().EventsGroupsEnd(); ++at)
    names.push_back(Narrow((*at)->Name()));
  EXPECT_EQ((std::vector<std::string>{"< Parking >", "AAA", "Consumption", "General", "Maintenance",
                                      "Power quality", "Security", "System", "alarm"}),
            names);
}

// --- Start ---

TEST_F(EventServer, StartsTheListenerThreadAloneWithoutEvents) {
  RegisterSystemDriver();
  EXPECT_TRUE(server->LoadCfg());
  time.FailThreadsAfter(1);
  const LogCapture log;
  EXPECT_FALSE(server->IsServerStarted());
  StartServer();
  EXPECT_TRUE(server->IsServerStarted());
  EXPECT_EQ(AddsGroups(kFixedGroups, kFixedGroups + 1), Joined(StartLines(log)));
  EXPECT_EQ(2u, log.Lines().size());
  EXPECT_EQ(0.0, EventsLoaded());
  EXPECT_EQ(0u, server->GetNumberOfEvents());
}

TEST_F(EventServer, StartsOneThreadForEachGroupWithEvents) {
  LoadXeve(Always("A1", 1).Group(kGroupA).Xml() + Always("A2", 2).Group(kGroupA).Xml() +
               Always("B1", 3).Group(kGroupB).Xml(),
           GroupXml(kGroupA, "A") + GroupXml(kGroupB, "B"));
  time.FailThreadsAfter(3);  // two workers, and the listener thread
  StartServer();
  for (const char* name : {"A1", "A2", "B1"})
    EXPECT_TRUE(Find(name)->IsEnabled()) << name;
  EXPECT_EQ(3u, server->GetNumberOfEvents());
}

TEST_F(EventServer, AnEventRunsOnTheWorkerOfItsFirstGroupOnly) {
  LoadXeve(Always("Two", 1).Group(kGroupB).Group(kGroupA).Xml() + Always("Plain", 2).Xml() +
               Always("Lost", 3).Group(kUnknownGroup).Xml(),
           GroupXml(kGroupA, "AA") + GroupXml(kGroupB, "BB"));
  const LogCapture log;
  StartServer();
  // "< Parking >", "AA", "BB", "Consumption", "General", ...
  EXPECT_EQ(AddsGroups(kFixedGroups + 2, kFixedGroups + 3) + "|" +
                AddsToGroup("Lost", 4, "General") + "|" + AddsToGroup("Plain", 4, "General") + "|" +
                AddsToGroup("Two", 2, "BB"),
            Joined(StartLines(log)));
  EXPECT_EQ(3u, server->GetNumberOfEvents());
}

TEST_F(EventServer, OfTwoGroupsOfOneNameTheLaterOneGetsTheEvents) {
  LoadXeve(Always("InFixed", 1).Group(kAlarmGroup).Xml() + Always("InOwn", 2).Group(kGroupA).Xml(),
           GroupXml(kGroupA, "alarm"));
  time.FailThreadsAfter(2);  // one worker, and the listener thread
  const LogCapture log;
  StartServer();
  EXPECT_EQ(AddsGroups(kFixedGroups + 1, kFixedGroups + 2) + "|" +
                AddsToGroup("InFixed", kFixedGroups, "alarm") + "|" +
                AddsToGroup("InOwn", kFixedGroups, "alarm"),
            Joined(StartLines(log)));
}

TEST_F(EventServer, AnEventWithoutAGroupRunsOnTheExtraWorker) {
  LoadAloneAndGrouped();
  time.FailThreadsAfter(2);
  EXPECT_FALSE(started = server->Start());
  time.FailThreadsAfter(3);  // the worker of "!", the extra one, and the listener thread
  const LogCapture log;
  StartServer();
  EXPECT_EQ(AddsGroups(2, 3) +
                "|ZREventServer::Start(): adding event 'Alone' to the last/extra event group '2' "
                "(has no name)...|" +
                AddsToGroup("Grouped", 0, "!"),
            Joined(StartLines(log)));
  EXPECT_TRUE(Find("Alone")->IsEnabled());
  EXPECT_EQ(2u, server->GetNumberOfEvents());
}

// The event's group belongs to another store.
TEST_F(EventServer, AnEventWhoseGroupIsntInTheStoreIsLostWithALine) {
  RegisterSystemDriver();
  std::unique_ptr<ZREventSystem> other;
  ZREventSystem& own = Store();
  driver->generate = [&](XmlDocument::XmlNode* events, XmlDocument::XmlNode*, const ZRWideMap&) {
    if (other != nullptr) return;
    other = std::make_unique<ZREventSystem>();
    XmlDocument groups;
    ASSERT_TRUE(groups.Parse(
        ("<main><eventsGroups>" + GroupXml(kGroupA, "Elsewhere") + "</eventsGroups></main>")
            .c_str()));
    ASSERT_TRUE(other->LoadXml(groups));
    XmlDocument generated;
    ASSERT_TRUE(
        generated.Parse(("<events>" + Always("Lost").Group(kGroupA).Xml() + "</events>").c_str()));
    *events->NewChild(L"events", nullptr) = *generated.Root();
  };
  LoadXeve(Always("Kept", 2).Xml());
  const LogCapture log;
  StartServer();
  EXPECT_TRUE(log.Has(kLogInvariant, "Houston!"));
  EXPECT_FALSE(own.LockEvent(L"Lost")->IsEnabled());
  EXPECT_TRUE(own.LockEvent(L"Kept")->IsEnabled());
  EXPECT_EQ(1u, server->GetNumberOfEvents());
  EXPECT_EQ(2.0, EventsLoaded());
  StopServer();
}

TEST_F(EventServer, ShowsTheNumberOfLoadedEventsInTheSystemDriver) {
  RegisterSystemDriver();
  Load({Always("A", 1), Always("B", 2), Always("C", 3)});
  EXPECT_EQ(-1.0, EventsLoaded());
  StartServer();
  EXPECT_EQ(3.0, EventsLoaded());
}

TEST_F(EventServer, AMissingSystemDriverCostsNoLine) {
  EXPECT_TRUE(server->LoadCfg());
  const LogCapture log;
  StartServer();
  EXPECT_EQ(2u, log.Lines().size());  // the two about groups
}

TEST_F(EventServer, CountsEventsThatHaveAWorkerBetweenStartAndStop) {
  Load({Always("A", 1), Always("B", 2)});
  EXPECT_EQ(0u, server->GetNumberOfEvents());
  StartServer();
  EXPECT_EQ(2u, server->GetNumberOfEvents());
  StopServer();
  EXPECT_EQ(0u, server->GetNumberOfEvents());
}

TEST_F(EventServer, ASecondStartAddsGroupsButNoWorker) {
  RegisterSystemDriver();
  Load(Always("Pump"));
  StartServer();
  {
    ZRDriverVariable variable;
    variable.Setup(L"R$SYS.NEVE");
    ASSERT_TRUE(variable.Lock(false));
    ZRValue value;
    value.SetNumeric(99);
    variable.SetValue(value);
  }
  time.FailThreadsAfter(0);
  const LogCapture log;
  EXPECT_TRUE(server->Start());
  EXPECT_EQ(
      AddsGroups(kFixedGroups, 2 * kFixedGroups + 2) + "|" + AddsToGroup("Pump", 2, "General"),
      Joined(StartLines(log)));
  EXPECT_EQ(2u, server->GetNumberOfEvents());
  EXPECT_EQ(99.0, EventsLoaded());  // not published again
  EXPECT_TRUE(server->IsServerStarted());
}

TEST_F(EventServer, AStartAfterAStopWithoutALoadHasNoEvents) {
  RegisterSystemDriver();
  Load(Always("Pump"));
  StartServer();
  StopServer();
  time.FailThreadsAfter(1);  // the listener thread
  const LogCapture log;
  StartServer();
  EXPECT_EQ(AddsGroups(0, 1), Joined(StartLines(log)));
  EXPECT_TRUE(server->IsServerStarted());
  EXPECT_EQ(0u, server->GetNumberOfEvents());
  EXPECT_EQ(0.0, EventsLoaded());
}

TEST_F(EventServer, LivesAgainAfterAStopAndALoad) {
  for (int life = 0; life < 3; ++life) {
    Load(Always("Pump"));
    StartServer();
    EXPECT_TRUE(Find("Pump")->IsEnabled());
    EXPECT_EQ(200, ActiveStatus());
    StopServer();
    EXPECT_FALSE(server->IsServerStarted());
    EXPECT_EQ(0, Store().EventsSize());
    EXPECT_EQ(0, Store().EventsGroupsSize());
  }
}

// Virtual time in which one start of a thread fails, and none before and behind it.
class OneMissingThread final : public ZRPlatform {
 public:
  OneMissingThread(ZRVirtualTime& toUse, int toFail) : time(toUse), missing(toFail) {
    Replace(this);
  }
  ~OneMissingThread() override { Replace(&time); }
  OneMissingThread(const OneMissingThread&) = delete;
  OneMissingThread& operator=(const OneMissingThread&) = delete;

  [[nodiscard]] int Asked() const { return asked; }

  tagThread StartThread(std::function<void()> body) override {
    return asked++ == missing ? 0 : time.StartThread(std::move(body));
  }
  void JoinThread(tagThread thread) override { time.JoinThread(thread); }
  void Sleep(std::uint32_t milliseconds) override { time.Sleep(milliseconds); }
  std::uint32_t TickCount() override { return time.TickCount(); }
  std::int64_t UtcMilliseconds() override { return time.UtcMilliseconds(); }
  bool Wait(ZRWaitWord& word, std::uint32_t expected, std::uint32_t milliseconds) override {
    return time.Wait(word, expected, milliseconds);
  }
  void WakeOne(ZRWaitWord& word) override { time.WakeOne(word); }
  void WakeAll(ZRWaitWord& word) override { time.WakeAll(word); }

 private:
  ZRVirtualTime& time;
  const int missing;
  int asked = 0;
};

// There is one more extra group, and it has never been started.
TEST_F(EventServer, ASecondStartMakesASecondWorkerForEventsWithoutAGroupOnly) {
  LoadAloneAndGrouped();
  StartServer();
  const OneMissingThread platform(time, -1);  // none is missing: it counts
  EXPECT_TRUE(server->Start());
  EXPECT_EQ(1, platform.Asked());
  EXPECT_EQ(4u, server->GetNumberOfEvents());
}

// Two workers and the listener thread: whichever can't be made, all the others are ended.
class EventServerWithoutThreads : public EventServer, public ::testing::WithParamInterface<int> {};

TEST_P(EventServerWithoutThreads, FailsToStartWithNothingRunning) {
  RegisterSystemDriver();
  LoadXeve(Always("A1", 1).Group(kGroupA).Xml() + Always("B1", 2).Group(kGroupB).Xml(),
           GroupXml(kGroupA, "A") + GroupXml(kGroupB, "B"));
  time.FailThreadsAfter(GetParam());
  const LogCapture log;
  EXPECT_FALSE(started = server->Start());
  EXPECT_EQ(4u, StartLines(log).size());  // two about groups, two about events
  for (const LogCapture::tagLine& line : log.Lines())
    EXPECT_EQ(kLogTrace, line.level) << line.text;  // none about the failure
  EXPECT_FALSE(server->IsServerStarted());
  EXPECT_EQ(0u, server->GetNumberOfEvents());
  EXPECT_EQ(-1.0, EventsLoaded());
  EXPECT_EQ(2, Store().EventsSize());
  const std::uint64_t switches = time.Switches();
  Passes(3);
  EXPECT_EQ(switches, time.Switches());  // no thread is left
  EXPECT_FALSE(server->GetLastEventsClientActionsDateTime().Valid());
}

TEST_P(EventServerWithoutThreads, CanBeStartedOnceThereAreThreadsAgain) {
  LoadXeve(Always("A1", 1).Group(kGroupA).Xml() + Always("B1", 2).Group(kGroupB).Xml(),
           GroupXml(kGroupA, "A") + GroupXml(kGroupB, "B"));
  time.FailThreadsAfter(GetParam());
  EXPECT_FALSE(started = server->Start());
  time.FailThreadsAfter(3);
  StartServer();
  EXPECT_TRUE(server->IsServerStarted());
  EXPECT_EQ(2u, server->GetNumberOfEvents());
  EXPECT_EQ(200, ActiveStatus());
}

TEST_P(EventServerWithoutThreads, CanBeStoppedAllTheSame) {
  LoadXeve(Always("A1", 1).Group(kGroupA).Xml() + Always("B1", 2).Group(kGroupB).Xml(),
           GroupXml(kGroupA, "A") + GroupXml(kGroupB, "B"));
  time.FailThreadsAfter(GetParam());
  EXPECT_FALSE(started = server->Start());
  server->Stop();
  EXPECT_EQ(0, Store().EventsSize());
  EXPECT_EQ(503, ActiveStatus());
}

// Only the one thread can't be made: none behind it is asked for.
TEST_P(EventServerWithoutThreads, AsksForNoThreadBehindTheOneThatCannotBeMade) {
  LoadXeve(Always("A1", 1).Group(kGroupA).Xml() + Always("B1", 2).Group(kGroupB).Xml(),
           GroupXml(kGroupA, "A") + GroupXml(kGroupB, "B"));
  OneMissingThread platform(time, GetParam());
  EXPECT_FALSE(started = server->Start());
  EXPECT_FALSE(server->IsServerStarted());
  EXPECT_EQ(GetParam() + 1, platform.Asked());
}

// The tokens that the last Stop took come back before anything can fail.
TEST_P(EventServerWithoutThreads, OpensTheGateThatAStopHasClosed) {
  const std::string events =
      Always("A1", 1).Group(kGroupA).Xml() + Always("B1", 2).Group(kGroupB).Xml();
  const std::string groups = GroupXml(kGroupA, "A") + GroupXml(kGroupB, "B");
  LoadXeve(events, groups);
  StartServer();
  StopServer();
  ASSERT_EQ(503, ActiveStatus());
  LoadXeve(events, groups);
  time.FailThreadsAfter(GetParam());
  EXPECT_FALSE(started = server->Start());
  ASSERT_EQ(200, ActiveStatus());
  EXPECT_EQ(0, Duration([&] { server->Stop(); }));  // it gets all tokens at once
  EXPECT_EQ(0, Store().EventsSize());
}

INSTANTIATE_TEST_SUITE_P(Threads, EventServerWithoutThreads, ::testing::Values(0, 1, 2));

// --- Stop ---

TEST_F(EventServer, AStopBeforeAStartEmptiesTheStoreAndClosesTheGate) {
  Load(Always("Pump"));
  EXPECT_EQ(0, Duration([&] { server->Stop(); }));
  EXPECT_EQ(0, Store().EventsSize());
  EXPECT_EQ(503, ActiveStatus());
}

TEST_F(EventServer, StopEndsAllThreadsWithinASecond) {
  LoadXeve(Always("A1", 1).Group(kGroupA).Xml() + Always("B1", 2).Group(kGroupB).Xml(),
           GroupXml(kGroupA, "A") + GroupXml(kGroupB, "B"));
  StartServer();
  EXPECT_EQ(kCycle, Duration([&] { StopServer(); }));
  EXPECT_FALSE(server->IsServerStarted());
  const std::uint64_t switches = time.Switches();
  Passes(3);
  EXPECT_EQ(switches, time.Switches());
}

TEST_F(EventServer, StopWaitsForTheServicesInProgress) {
  Load(Always("Pump"));
  StartServer();
  const SlowRights rights(5000);
  int status = 0;
  ZRThread service;
  ASSERT_TRUE(service.Start([&] { status = ActiveStatus(); }));
  time.Advance(0);
  EXPECT_EQ(0, status);
  StopServer();
  EXPECT_EQ(200, status);  // it had ended before the store was emptied
  service.Join();
}

TEST_F(EventServer, DuringAStopAServiceIsRefusedAfterAHundredMilliseconds) {
  Load(Always("Pump"));
  StartServer();
  const SlowRights rights(5000);
  ZRThread service;
  ZRThread stop;
  ASSERT_TRUE(service.Start([&] { EXPECT_EQ(200, ActiveStatus()); }));
  ASSERT_TRUE(stop.Start([&] { StopServer(); }));
  time.Advance(1000);
  EXPECT_EQ(kGateWait, Duration([&] { EXPECT_EQ(503, ActiveStatus()); }));
  EXPECT_EQ(kGateWait, Duration([&] { EXPECT_EQ(503, NotifiedStatus()); }));
  EXPECT_EQ(kGateWait,
            Duration([&] { EXPECT_FALSE(server->GetLastEventsClientActionsDateTime().Valid()); }));
  EXPECT_EQ(1, Store().EventsSize());
  service.Join();
  stop.Join();
  EXPECT_EQ(0, Store().EventsSize());
}

TEST_F(EventServer, ARefusedServiceHasNoBody) {
  server->Stop();
  FakeRequest request;
  FakeResponse response;
  EXPECT_TRUE(server->ProcessHttpServiceEventsActived(request, response));
  EXPECT_EQ(503, response.status);
  EXPECT_EQ("", response.body);
  EXPECT_EQ(1, response.begun);
  EXPECT_EQ(1, response.ended);
}

// --- the gate ---

TEST_F(EventServer, LetsThirtyTwoServicesInAtOnce) {
  Load(Always("Pump"));
  StartServer();  // releases 32 tokens of a gate that has them all: no effect
  const SlowRights rights(5000);
  std::vector<std::unique_ptr<ZRThread>> services;
  int served = 0;
  for (int number = 0; number < ZREventServer::kGateTokens; ++number) {
    services.push_back(std::make_unique<ZRThread>());
    ASSERT_TRUE(services.back()->Start([&] { served += ActiveStatus() == 200 ? 1 : 0; }));
  }
  time.Advance(1);
  EXPECT_EQ(kGateWait, Duration([&] { EXPECT_EQ(503, ActiveStatus()); }));
  for (const auto& service : services)
    service->Join();
  EXPECT_EQ(ZREventServer::kGateTokens, served);
  EXPECT_EQ(200, ActiveStatus());
}

TEST_F(EventServer, AServiceWaitsForATokenThatIsGivenBackInTime) {
  Load(Always("Pump"));
  StartServer();
  const SlowRights rights(50);
  std::vector<std::unique_ptr<ZRThread>> services;
  for (int number = 0; number < ZREventServer::kGateTokens; ++number) {
    services.push_back(std::make_unique<ZRThread>());
    ASSERT_TRUE(services.back()->Start([&] { EXPECT_EQ(200, ActiveStatus()); }));
  }
  time.Advance(1);
  EXPECT_EQ(200, ActiveStatus());
  for (const auto& service : services)
    service->Join();
}

// --- the counters ---

TEST_F(EventServer, CountersNeedNoToken) {
  Load(Always("Pump").Notify());
  StartServer();
  const SlowRights rights(5000);
  ZRThread service;
  ZRThread stop;
  ASSERT_TRUE(service.Start([&] { EXPECT_EQ(200, ActiveStatus()); }));
  ASSERT_TRUE(stop.Start([&] { StopServer(); }));
  time.Advance(1000);
  SetAccessRule(nullptr, nullptr);
  EXPECT_EQ(0, Duration([&] {
              EXPECT_EQ(1, ActiveCount());
              EXPECT_EQ(1, NotifiedCount());
            }));
  service.Join();
  stop.Join();
  EXPECT_EQ(0, Duration([&] {
              EXPECT_EQ(0, ActiveCount());
              EXPECT_EQ(0, NotifiedCount());
            }));
}

TEST_F(EventServer, AResetWaitsForACounter) {
  Load(Always("Pump"));
  StartServer();
  const SlowRights rights(3000);
  int counted = -1;
  ZRThread counter;
  ASSERT_TRUE(counter.Start([&] { counted = ActiveCount(); }));
  time.Advance(0);
  EXPECT_EQ(3000, Duration([&] { StopServer(); }));
  counter.Join();
  EXPECT_EQ(1, counted);
}

TEST_F(EventServer, CountersTellActiveFromNotified) {
  Load({Always("Asks", 1).Notify(), Always("Silent", 2), EventXml("Rests", 3).Condition("1 = 2")});
  StartServer();
  EXPECT_EQ(2, ActiveCount());
  EXPECT_EQ(1, NotifiedCount());
}

// --- the rest ---

TEST_F(EventServer, ResetEmptiesTheStoreAndNothingElse) {
  Load(Always("Pump"));
  server->Reset();
  EXPECT_EQ(0, Store().EventsSize());
  EXPECT_EQ(0, Store().EventsGroupsSize());
  EXPECT_NE(nullptr, server->Cfg()->Root()->Node(L"events/event"));
  EXPECT_EQ(200, ActiveStatus());
}

TEST_F(EventServer, WithoutListenersNoPathIsCircular) {
  EXPECT_FALSE(server->HasCircularDependence(L"a.b"));
  EXPECT_FALSE(server->HasCircularDependence(L"a"));
}

TEST_F(EventServer, TheListenerThreadIsStartedOnceInEachLife) {
  EXPECT_TRUE(server->LoadCfg());
  StartServer();
  Passes(5);
  EXPECT_TRUE(server->IsServerStarted());
  StopServer();
  EXPECT_FALSE(server->IsServerStarted());
  StartServer();
  EXPECT_TRUE(server->IsServerStarted());
}

}  // namespace
