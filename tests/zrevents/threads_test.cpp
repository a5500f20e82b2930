// The engine on real threads, for the sanitizers: nothing here looks at the clock.
//
// Its seconds of sleep are hundredths here, so that many lives fit into one test.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/driversupport/zrdriver.h"
#include "host/platform/zrplatform.h"
#include "host/platform/zrthread.h"
#include "host/support/zrtessalysetup.h"
#include "support/eventxml.h"
#include "support/fakehttp.h"
#include "support/oneevent.h"
#include "support/sitefolder.h"
#include "zrevents/timetables/zrtimetablereference.h"
#include "zrevents/zreventserver.h"
#include "zrevents/zreventservergrouppartial.h"

namespace {

// The system's platform, in a hurry: only Sleep differs.
class HastyPlatform final : public ZRPlatform {
 public:
  HastyPlatform() { Replace(this); }
  ~HastyPlatform() override { Replace(nullptr); }
  HastyPlatform(const HastyPlatform&) = delete;
  HastyPlatform& operator=(const HastyPlatform&) = delete;

  void Sleep(std::uint32_t milliseconds) override {
    constexpr std::uint32_t kHaste = 100;
    System().Sleep(milliseconds < kHaste ? milliseconds : milliseconds / kHaste);
  }
  std::uint32_t TickCount() override { return System().TickCount(); }
  std::int64_t UtcMilliseconds() override { return System().UtcMilliseconds(); }
  tagThread StartThread(std::function<void()> body) override {
    return System().StartThread(std::move(body));
  }
  void JoinThread(tagThread thread) override { System().JoinThread(thread); }
  bool Wait(ZRWaitWord& word, std::uint32_t expected, std::uint32_t milliseconds) override {
    return System().Wait(word, expected, milliseconds);
  }
  void WakeOne(ZRWaitWord& word) override { System().WakeOne(word); }
  void WakeAll(ZRWaitWord& word) override { System().WakeAll(word); }
};

// A site with events in several groups, and an engine on the system's threads. Half of the
// conditions follow one variable, all events share tables that change their mind with the date.
class RealThreads : public ::testing::Test {
 protected:
  static constexpr int kEvents = 24;

  RealThreads() {
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    EXPECT_TRUE(ZRTessalySetup::Get().Load(site.WidePath(), problems, warnings));
    driver = static_cast<TestDriver*>(ZRDriver::Register(std::make_unique<TestDriver>("P")));
    (void)driver->NumberOf("RUN");
    site.Write("config/default.xeve", Document());
    site.Write("config/default.xtmt",
               "<main><days><d><id>d</id><name>Open</name></d></days>"
               "<weeks><w><id>w</id><name>Week</name><day1>Open</day1><day2>Calendar</day2></w>"
               "</weeks><calendars><c><id>c</id><name>Calendar</name></c></calendars></main>");
    server = std::make_unique<ZREventServer>();
  }
  ~RealThreads() override {
    server.reset();
    ZRDriver::UnregisterAll();
  }

  static std::string Document() {
    std::string groups;
    std::string events;
    for (int group = 0; group < 3; ++group)
      groups += GroupXml(EventXml::Id(100 + group), "Group " + std::to_string(group));
    for (int number = 0; number < kEvents; ++number) {
      EventXml event("Event " + std::to_string(number), number + 1);
      event.Condition(number % 2 == 0 ? "[P.RUN] = 1" : "1 = 1")
          .Notify()
          .Record()
          .TimeTable("Week")
          .Group(EventXml::Id(100 + number % 3))
          .With("annotation", "since \\\\1")
          .Argument("[P.RUN] + 1", "%g")
          .Actions("clientActions", "activate", "<beep></beep>");
      events += event.Xml();
    }
    return "<main><eventsGroups>" + groups + "</eventsGroups><events>" + events +
           "</events></main>";
  }

  // Runs `body` over and over on threads of their own until the object goes.
  class CLoops {
   public:
    void Add(std::function<void()> body) {
      threads.push_back(std::make_unique<ZRThread>());
      EXPECT_TRUE(threads.back()->Start([this, toRun = std::move(body)] {
        while (!ended.load()) {
          toRun();
          rounds.fetch_add(1);
          ZRPlatform::Get().Sleep(1);
        }
      }));
    }
    // Waits until the loops have made `count` rounds more.
    void AwaitRounds(int count) const {
      const int goal = rounds.load() + count;
      while (rounds.load() < goal)
        ZRPlatform::Get().Sleep(1);
    }
    CLoops() = default;
    ~CLoops() {
      ended = true;
      for (const auto& thread : threads)
        thread->Join();
    }
    CLoops(const CLoops&) = delete;
    CLoops& operator=(const CLoops&) = delete;

   private:
    std::atomic<bool> ended{false};
    std::atomic<int> rounds{0};
    std::vector<std::unique_ptr<ZRThread>> threads;
  };

  int Count(bool notified) const {
    FakeRequest request;
    FakeResponse response;
    return notified ? server->NotifiedEventsCount(request, response)
                    : server->ActiveEventsCount(request, response);
  }
  // True if the service was let in; its document is whole then.
  bool Ask(bool notified) const {
    FakeRequest request;
    FakeResponse response;
    const bool sent = notified ? server->ProcessHttpServiceEventsNotified(request, response)
                               : server->ProcessHttpServiceEventsActived(request, response);
    EXPECT_TRUE(sent);
    if (response.status != 200) return false;
    EXPECT_TRUE(response.body.ends_with("Events>"));
    return true;
  }
  void AskForAllElse() const {
    (void)server->GetLastEventsClientActionsDateTime();
    EXPECT_LE(server->GetNumberOfEvents(), static_cast<unsigned>(2 * kEvents));
    (void)server->LongestPass();
    (void)server->IsServerStarted();
    EXPECT_FALSE(server->HasCircularDependence(L"a.b.c"));
  }

  HastyPlatform platform;
  SiteFolder site;
  TestDriver* driver = nullptr;
  std::unique_ptr<ZREventServer> server;
};

// Services, counters and the host's questions go on while the engine lives several lives.
TEST_F(RealThreads, ServicesAndCountersOutliveStopLoadAndStart) {
  std::atomic<int> served{0};
  std::atomic<int> run{0};
  ASSERT_TRUE(server->LoadCfg());
  ASSERT_TRUE(server->Start());
  CLoops loops;
  for (const bool notified : {false, true}) {
    loops.Add([&, notified] { served += Ask(notified) ? 1 : 0; });
    loops.Add([&, notified] { EXPECT_LE(Count(notified), kEvents); });
  }
  loops.Add([&] { AskForAllElse(); });
  loops.Add([&] { driver->Set("RUN", run.fetch_add(1) % 2); });
  loops.AwaitRounds(20);
  EXPECT_LT(0, served.load());
  for (int life = 0; life < 4; ++life) {
    server->Stop();
    EXPECT_EQ(0, Count(false));
    ASSERT_TRUE(server->LoadCfg());
    ASSERT_TRUE(server->Start());
    loops.AwaitRounds(20);
  }
  server->Stop();
}

// Passes without the second of sleep between them, against everybody who reads.
TEST_F(RealThreads, PassesServicesAndCountersShareTheEvents) {
  ASSERT_TRUE(server->LoadCfg());
  ZREventSystem& store = ZREventSystem::Get();
  std::vector<std::vector<ZREventDriver*>> parts(2);
  std::size_t next = 0;
  for (auto event = store.EventsBegin(); event != store.EventsEnd(); ++event)
    parts[next++ % parts.size()].push_back(*event);
  std::vector<std::unique_ptr<ZREventServerGroup::ZREventServerGroupPartial>> workers;
  for (const auto& part : parts)
    workers.push_back(std::make_unique<ZREventServerGroup::ZREventServerGroupPartial>(part));
  std::atomic<int> run{0};
  {
    CLoops loops;
    for (const auto& worker : workers)
      loops.Add([&] { worker->Pass(); });
    loops.Add([&] { driver->Set("RUN", run.fetch_add(1) % 2); });
    for (const bool notified : {false, true}) {
      loops.Add([&, notified] { EXPECT_TRUE(Ask(notified)); });
      loops.Add([&, notified] { EXPECT_LE(Count(notified), kEvents); });
    }
    loops.Add([&] {
      ZRDateTime newest;
      for (const auto& worker : workers) {
        worker->KeepNewestTimes(newest);
        (void)worker->LastPass();
      }
    });
    loops.Add([&] {
      for (auto event = store.EventsBegin(); event != store.EventsEnd(); ++event) {
        (void)(*event)->ActivedSeconds();
        (void)(*event)->Annotation();
        (void)(*event)->HasEvent((*event)->Id());
      }
    });
    loops.AwaitRounds(600);
  }
  driver->Set("RUN", 0);
  for (const auto& worker : workers)
    worker->Pass();
  EXPECT_EQ(kEvents / 2, Count(false));
}

// One table, asked for many days by several threads at once, each answer being right.
TEST_F(RealThreads, ATableAnswersEachThreadForItsOwnDay) {
  site.Write("config/default.xtmt",
             "<main><days><d><id>d</id><name>Never</name><slot><from>00:00</from><to>24:00</to>"
             "</slot></d></days><weeks><w><id>w</id><name>Week</name><day1>Never</day1>"
             "<day3>Never</day3></w></weeks></main>");
  ASSERT_TRUE(server->LoadCfg());
  ZRTimeTable* const table = ZREventSystem::Get().LockTimeTable(L"Week");
  ASSERT_NE(nullptr, table);
  CLoops loops;
  for (int shift = 0; shift < 4; ++shift) {
    loops.Add([table, shift] {
      for (int day = 0; day < 50; ++day) {
        ZRDateTime date;
        date.SetDate(2026, 3, 1 + (day + shift) % 31);
        const bool closed = date.DayOfWeek() == 1 || date.DayOfWeek() == 3;
        EXPECT_EQ(!closed, table->NeedCheck(date));
      }
    });
  }
  loops.AwaitRounds(100);
}

}  // namespace
