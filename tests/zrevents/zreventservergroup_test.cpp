// The events of a group, their worker and its passes.

#include "zrevents/zreventservergroup.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/platform/zrthread.h"
#include "support/enginetest.h"
#include "support/oneevent.h"
#include "support/probeaction.h"
#include "zrevents/zreventservergrouppartial.h"
#include "zrevents/zrnewesttime.h"

namespace {

// Events outside of the store, in a group of their own. Each has a probe action at `activate` and
// at `while`, so that it tells of every pass.
class EventServerGroup : public EngineTest {
 protected:
  EventServerGroup()
      : probes({"force"}, [this](ZREventDriver& of, int, const std::string&) {
          passes += Narrow(of.Name());
          if (onRun) onRun(of);
        }) {
    LoadXeve("");
  }
  ~EventServerGroup() override { group.Stop(); }

  static EventXml Definition(const std::string& name) {
    return EventXml(name)
        .Condition("1 = 1")
        .Actions("actions", "activate", ProbeXml("force"))
        .Actions("actions", "while", ProbeXml("force"));
  }
  OwnEvent& Make(const EventXml& definition) {
    events.push_back(std::make_unique<OwnEvent>());
    EXPECT_TRUE(events.back()->LoadText(definition.Xml()));
    return *events.back();
  }
  OwnEvent& Add(const std::string& name) { return Add(Definition(name)); }
  OwnEvent& Add(const EventXml& definition) {
    OwnEvent& event = Make(definition);
    group.AddEvent(&event);
    return event;
  }
  void Start() {
    ASSERT_TRUE(group.Start());
    time.Advance(0);
  }
  // The events that were served since the last call, each by its name, in order.
  std::string Served() { return std::exchange(passes, {}); }
  // UTC, counted from the beginning of the test.
  std::int64_t Now() const {
    return ZRPlatform::Get().UtcMilliseconds() - ZRVirtualTime::kDefaultUtc;
  }
  // Milliseconds of the newest time of the group; -1 if it is invalid.
  std::int64_t Newest() {
    ZRDateTime newest;
    EXPECT_TRUE(group.GetLastEventClientActionsDateTime(newest));
    return newest.Valid() ? newest.UtcMilliseconds() - ZRVirtualTime::kDefaultUtc : -1;
  }

  ProbeActions probes;
  std::vector<std::unique_ptr<OwnEvent>> events;
  std::function<void(ZREventDriver&)> onRun;  // called while an action runs
  ZREventServerGroup group;                   // ends its worker before the events go

 private:
  std::string passes;
};

// --- Start and Stop ---

TEST_F(EventServerGroup, WithoutEventsDoesNotStart) {
  EXPECT_EQ(0, group.NumEvents());
  EXPECT_FALSE(group.Start());
}

TEST_F(EventServerGroup, CountsItsEvents) {
  Add("a");
  Add("b");
  EXPECT_EQ(2, group.NumEvents());
}

TEST_F(EventServerGroup, RunsAllItsEventsOnOneThread) {
  for (const char* name : {"a", "b", "c", "d", "e"})
    Add(name);
  time.FailThreadsAfter(1);
  Start();
  EXPECT_EQ("abcde", Served());
}

TEST_F(EventServerGroup, ServesItsEventsInTheOrderInWhichTheyWereAdded) {
  for (const char* name : {"c", "a", "b"})
    Add(name);
  Start();
  EXPECT_EQ("cab", Served());
  Passes();
  EXPECT_EQ("cab", Served());
}

TEST_F(EventServerGroup, ASecondStartMakesNoSecondWorker) {
  Add("a");
  Start();
  time.FailThreadsAfter(0);
  EXPECT_TRUE(group.Start());
  (void)Served();
  Passes();
  EXPECT_EQ("a", Served());
}

TEST_F(EventServerGroup, AnEventThatIsAddedLaterRunsFromTheNextStartOn) {
  Add("a");
  Start();
  Add("b");
  EXPECT_EQ(2, group.NumEvents());
  (void)Served();
  Passes();
  EXPECT_EQ("a", Served());
  group.Stop();
  (void)Served();
  Start();
  EXPECT_EQ("ab", Served());
}

TEST_F(EventServerGroup, WithoutAThreadIsNotStarted) {
  Add("a");
  time.FailThreadsAfter(0);
  EXPECT_FALSE(group.Start());
  ZRDateTime untouched = ZRDateTime::UTC();
  EXPECT_TRUE(group.GetLastEventClientActionsDateTime(untouched));
  EXPECT_TRUE(untouched.Valid());
  group.Stop();
  time.FailThreadsAfter(1);
  Start();
  EXPECT_EQ("a", Served());
}

TEST_F(EventServerGroup, StopEndsTheWorkerAndCanBeRepeated) {
  Add("a");
  group.Stop();  // not started
  Start();
  group.Stop();
  group.Stop();
  (void)Served();
  Passes(3);
  EXPECT_EQ("", Served());
}

TEST_F(EventServerGroup, ItsEndStopsTheWorker) {
  {
    ZREventServerGroup shortLived;
    shortLived.AddEvent(&Make(Definition("a")));
    ASSERT_TRUE(shortLived.Start());
    Passes();
  }
  (void)Served();
  Passes(3);
  EXPECT_EQ("", Served());
}

// --- the worker ---

TEST_F(EventServerGroup, StartsAPassASecondAfterTheEndOfTheLast) {
  std::vector<std::int64_t> starts;
  onRun = [&](ZREventDriver&) {
    starts.push_back(Now());
    ZRPlatform::Get().Sleep(300);
  };
  Add("a");
  Start();
  time.Advance(5000);
  EXPECT_EQ((std::vector<std::int64_t>{0, 1300, 2600, 3900}), starts);
}

TEST_F(EventServerGroup, ServesOneEventAfterTheOther) {
  std::vector<std::pair<std::string, std::int64_t>> served;
  onRun = [&](const ZREventDriver& event) {
    served.emplace_back(Narrow(event.Name()), Now());
    ZRPlatform::Get().Sleep(400);
  };
  Add("a");
  Add("b");
  Start();
  time.Advance(1000);
  EXPECT_EQ((std::vector<std::pair<std::string, std::int64_t>>{{"a", 0}, {"b", 400}}), served);
}

TEST_F(EventServerGroup, ASlowGroupDoesNotDelayAnother) {
  onRun = [](const ZREventDriver& event) {
    if (event.Name() == L"slow") ZRPlatform::Get().Sleep(60'000);
  };
  Add("slow");
  ZREventServerGroup quick;
  quick.AddEvent(&Make(Definition("q")));
  Start();
  ASSERT_TRUE(quick.Start());
  (void)Served();
  Passes(5);
  EXPECT_EQ("qqqqq", Served().substr(0, 5));
  quick.Stop();
}

// The first event ends the day; for the second it is still the time at which the pass began.
TEST_F(EventServerGroup, OneTimeServesAWholePass) {
  TimeTables(
      "<days><day><id>d</id><name>Later</name><slot><from>01:00</from><to>24:00</to></slot></day>"
      "</days>");
  LoadXeve("");
  bool moved = false;
  onRun = [&](const ZREventDriver& event) {
    if (event.Name() != L"a" || std::exchange(moved, true)) return;
    time.SetUtc(ZRVirtualTime::kDefaultUtc + 2 * 60 * 60 * 1000);
  };
  Add("a");
  const OwnEvent& watched = Add(Definition("b").TimeTable("Later"));
  Start();
  EXPECT_TRUE(watched.IsEnabled());
  Passes();
  EXPECT_FALSE(watched.IsEnabled());
}

TEST_F(EventServerGroup, StopIsSeenBetweenPassesOnly) {
  onRun = [](const ZREventDriver&) { ZRPlatform::Get().Sleep(2000); };
  Add("a");
  Add("b");
  ASSERT_TRUE(group.Start());
  time.Advance(500);  // in the first event
  EXPECT_EQ("a", Served());
  group.Stop();
  EXPECT_EQ("b", Served());
  EXPECT_EQ(2 * 2000 + 1000, Now());  // the pass to its end, and the second behind it
}

// An event that was never given a list of listeners counts as one without any.
TEST_F(EventServerGroup, AnEventWithoutAListRunsAllTheSame) {
  OwnEvent& event = Add(Definition("a").Notify());
  Start();
  EXPECT_TRUE(event.IsEnabled());
  EXPECT_TRUE(event.hasNotified());
}

TEST_F(EventServerGroup, TellsHowLongItsLastPassTook) {
  EXPECT_EQ(0u, group.LongestPass());
  std::uint32_t wait = 300;
  onRun = [&](const ZREventDriver&) { ZRPlatform::Get().Sleep(wait); };
  Add("a");
  Start();
  EXPECT_EQ(0u, group.LongestPass());
  time.Advance(300);
  EXPECT_EQ(300u, group.LongestPass());
  wait = 20;
  time.Advance(1020);
  EXPECT_EQ(20u, group.LongestPass());
}

// --- giving way ---

TEST(PassPace, QuietEventsAreLookedAtInTheirSixtyFour) {
  ZRVirtualTime time;
  ZRPassPace pace;
  pace.Begin();
  time.SetTickCount(5000);
  for (int event = 1; event < 64; ++event)
    EXPECT_FALSE(pace.IsDue(false)) << event;
  EXPECT_TRUE(pace.IsDue(false));
}

TEST(PassPace, ABusyEventIsLookedAtOnItsOwn) {
  ZRVirtualTime time;
  ZRPassPace pace;
  pace.Begin();
  time.SetTickCount(5000);
  EXPECT_TRUE(pace.IsDue(true));
}

TEST(PassPace, IsDueOnceInAMillisecondOnly) {
  ZRVirtualTime time;
  ZRPassPace pace;
  pace.Begin();
  for (int event = 0; event < 1000; ++event)
    EXPECT_FALSE(pace.IsDue(true));
  time.SetTickCount(time.TickCount() + 1);
  EXPECT_TRUE(pace.IsDue(true));
  EXPECT_FALSE(pace.IsDue(true));
}

TEST(PassPace, BeginsAnewWithEachPass) {
  ZRVirtualTime time;
  ZRPassPace pace;
  pace.Begin();
  time.SetTickCount(5000);
  for (int event = 1; event < 64; ++event)
    (void)pace.IsDue(false);
  pace.Begin();
  EXPECT_FALSE(pace.IsDue(true));  // no time has gone by since
  for (int event = 1; event < 64; ++event)
    (void)pace.IsDue(false);
  pace.Begin();
  time.SetTickCount(6000);
  EXPECT_FALSE(pace.IsDue(false));  // the events are counted from there too
  EXPECT_TRUE(pace.IsDue(true));
}

// Another thread that is ready gets its turn between two events, once a millisecond has gone by.
class GivingWay : public EventServerGroup, public ::testing::WithParamInterface<int> {
 protected:
  // Two events that are active while P.RUN is 1. A change of one takes the parameter's
  // milliseconds.
  GivingWay() {
    Set("RUN", 0);
    for (std::int64_t number : {1, 2}) {
      std::int64_t seconds = 0;
      Add(EventXml("x").Condition("[P.RUN] = 1")).setDriverVariables(&watcher, number, seconds);
    }
    EXPECT_TRUE(group.Start());
    time.Advance(0);
  }
  ~GivingWay() override { group.Stop(); }

  // The events that change in a pass, by their numbers, and "-" for another thread that is ready
  // from the first change on.
  std::string OrderWith(double run) {
    order.clear();
    Set("RUN", run);
    Passes();
    other.Join();
    return order;
  }
  static std::string Expected() { return GetParam() == 0 ? "12-" : "1-2"; }

 private:
  // Tells of each change of an event's state, by the number of its variable.
  class CWatcher final : public TestDriver {
   public:
    explicit CWatcher(std::function<void(std::int64_t)> toCall)
        : TestDriver("W"), onChange(std::move(toCall)) {}
    void SetVariableValue(std::int64_t variable, double value) override {
      if (std::exchange(values[variable], value) != value) onChange(variable);
    }

   private:
    const std::function<void(std::int64_t)> onChange;
    std::map<std::int64_t, double> values;
  };

  void Changed(std::int64_t variable) {
    if (order.empty()) {
      EXPECT_TRUE(other.Start([this] { order += "-"; }));
    }
    order += std::to_string(variable);
    time.SetTickCount(time.TickCount() + static_cast<std::uint32_t>(GetParam()));
  }

  std::string order;
  ZRThread other;
  CWatcher watcher{[this](std::int64_t variable) { Changed(variable); }};
};

TEST_P(GivingWay, HappensBehindAnEventThatBegins) {
  EXPECT_EQ(Expected(), OrderWith(1));
}

TEST_P(GivingWay, HappensBehindAnEventThatEnds) {
  (void)OrderWith(1);
  EXPECT_EQ(Expected(), OrderWith(0));
}

INSTANTIATE_TEST_SUITE_P(Milliseconds, GivingWay, ::testing::Values(0, 1));

// --- times of events with client actions ---

EventXml WithClientActions(EventXml definition) {
  return definition.Notify().Actions("clientActions", "activate", ProbeXml("force"));
}

TEST_F(EventServerGroup, LeavesTheTimeAloneUnlessItIsStarted) {
  Add(WithClientActions(Definition("a")));
  ZRDateTime out = ZRDateTime::UTC();
  EXPECT_TRUE(group.GetLastEventClientActionsDateTime(out));
  EXPECT_TRUE(out.Valid());
  Start();
  group.Stop();
  out = ZRDateTime::UTC();
  EXPECT_TRUE(group.GetLastEventClientActionsDateTime(out));
  EXPECT_TRUE(out.Valid());
}

TEST_F(EventServerGroup, InvalidatesTheTimeIfNothingHasHappened) {
  Add(WithClientActions(EventXml("a").Condition("1 = 2")));
  Start();
  ZRDateTime out = ZRDateTime::UTC();
  EXPECT_TRUE(group.GetLastEventClientActionsDateTime(out));
  EXPECT_FALSE(out.Valid());
}

TEST_F(EventServerGroup, EventsWithoutClientActionsDoNotCount) {
  OwnEvent& event = Add(Definition("a"));
  Start();
  Passes(2);
  ASSERT_TRUE(event.GetLastEventActivedDateTime().Valid());
  EXPECT_EQ(-1, Newest());
}

TEST_F(EventServerGroup, GivesTheNewestOfActivationsDeactivationsAndAcknowledgements) {
  OwnEvent& event = Add(WithClientActions(EventXml("a").Condition("[P.RUN] = 1")));
  Set("RUN", 0);
  Start();
  EXPECT_EQ(-1, Newest());
  Set("RUN", 1);
  Passes();
  EXPECT_EQ(1000, Newest());
  Passes(2);
  EXPECT_EQ(1000, Newest());
  Set("RUN", 0);
  Passes();
  EXPECT_EQ(4000, Newest());
  EXPECT_TRUE(event.SetMark(
      [&] {
        tagSEventRT* const occurrence = event.AddOccurrence();
        EXPECT_TRUE(event.SetMark(occurrence, kActivated));
        return occurrence;
      }(),
      kAcknowledged));
  EXPECT_EQ(4000, Newest());  // the worker hasn't seen it yet
  time.Advance(500);
  EXPECT_TRUE(event.SetMark(event.AddOccurrence(), kActivated));
  time.Advance(500);
  EXPECT_EQ(4500, Newest());
}

// Each of the three is remembered on its own, and the newest of all of them counts.
TEST_F(EventServerGroup, AnAcknowledgementAloneMovesTheTime) {
  OwnEvent& event = Add(WithClientActions(EventXml("a").Condition("1 = 2")));
  tagSEventRT* const occurrence = event.AddOccurrence();
  ASSERT_TRUE(event.SetMark(occurrence, kActivated));
  time.Advance(10);
  ASSERT_TRUE(event.SetMark(occurrence, kAcknowledged));
  Start();
  EXPECT_EQ(10, Newest());
}

TEST_F(EventServerGroup, ADeactivationAloneMovesTheTime) {
  OwnEvent& event = Add(WithClientActions(EventXml("a").Condition("1 = 2")));
  tagSEventRT* const occurrence = event.AddOccurrence();
  ASSERT_TRUE(event.SetMark(occurrence, kActivated));
  time.Advance(20);
  ASSERT_TRUE(event.SetMark(occurrence, kDeactivated));
  Start();
  EXPECT_EQ(20, Newest());
}

// Of each kind of time, named by its mark.
class NewestOfEvents : public EventServerGroup, public ::testing::WithParamInterface<int> {
 protected:
  static EventXml Resting(const std::string& name) {
    return WithClientActions(EventXml(name).Condition("1 = 2"));
  }
  // An event with an occurrence, activated at once unless that is the mark.
  void AddWithOccurrence(const std::string& name) {
    OwnEvent& event = Add(Resting(name));
    occurrences.push_back(event.AddOccurrence());
    EXPECT_TRUE(GetParam() == kActivated || event.SetMark(occurrences.back(), kActivated));
  }
  // Ten milliseconds later the event of that place has the mark.
  void MarkLater(std::size_t place) {
    time.Advance(10);
    EXPECT_TRUE(events[place]->SetMark(occurrences[place], GetParam()));
  }

 private:
  std::vector<tagSEventRT*> occurrences;
};

TEST_P(NewestOfEvents, IsThatOfTheLatestWhateverStandsBehindIt) {
  for (const char* name : {"early", "late", "middle"})
    AddWithOccurrence(name);
  Add(Resting("without any"));
  for (const std::size_t place : {0U, 2U, 1U})
    MarkLater(place);
  time.Advance(10);
  Start();
  EXPECT_EQ(30, Newest());
}

INSTANTIATE_TEST_SUITE_P(Marks, NewestOfEvents,
                         ::testing::Values(kActivated, kDeactivated, kAcknowledged));

// A clock that is set back takes no time away that was there.
TEST_F(EventServerGroup, AnOlderTimeReplacesNone) {
  OwnEvent& event = Add(WithClientActions(EventXml("a").Condition("[P.RUN] = 1")));
  Set("RUN", 1);
  Start();
  Set("RUN", 0);
  Passes(10);
  Set("RUN", 1);
  time.SetUtc(ZRVirtualTime::kDefaultUtc - 60'000);
  Passes();
  ASSERT_LT(event.GetLastEventActivedDateTime().UtcMilliseconds(), ZRVirtualTime::kDefaultUtc);
  EXPECT_EQ(1000, Newest());
}

TEST_F(EventServerGroup, TheServerGivesTheNewestOfItsGroups) {
  const std::string other = "33333333-0000-4000-8000-00000000000a";
  LoadXeve(WithClientActions(EventXml("A", 1).Condition("[P.A] = 1")).Xml() +
               WithClientActions(EventXml("B", 2).Condition("[P.B] = 1").Group(other)).Xml() +
               EventXml("C", 3).Condition("[P.C] = 1").Xml(),
           GroupXml(other, "AAA"));
  for (const char* variable : {"A", "B", "C"})
    Set(variable, 0);
  StartServer();
  EXPECT_FALSE(server->GetLastEventsClientActionsDateTime().Valid());
  Set("B", 1);
  Passes();
  Set("C", 1);
  Passes();
  EXPECT_EQ(ZRVirtualTime::kDefaultUtc + 1000,
            server->GetLastEventsClientActionsDateTime().UtcMilliseconds());
  Set("A", 1);
  Passes();
  EXPECT_EQ(ZRVirtualTime::kDefaultUtc + 3000,
            server->GetLastEventsClientActionsDateTime().UtcMilliseconds());
}

TEST(NewestTime, IsReplacedByALaterValidOneOnly) {
  const ZRDateTime early = ZRDateTime::FromUtcMilliseconds(1000);
  const ZRDateTime late = ZRDateTime::FromUtcMilliseconds(2000);
  ZRDateTime newest;
  KeepNewest(newest, ZRDateTime());
  EXPECT_FALSE(newest.Valid());
  KeepNewest(newest, late);
  EXPECT_EQ(2000, newest.UtcMilliseconds());
  KeepNewest(newest, early);
  EXPECT_EQ(2000, newest.UtcMilliseconds());
  KeepNewest(newest, ZRDateTime());
  EXPECT_EQ(2000, newest.UtcMilliseconds());
  newest = early;
  KeepNewest(newest, late);
  EXPECT_EQ(2000, newest.UtcMilliseconds());
}

}  // namespace
