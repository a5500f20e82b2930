// The events' variables on the system's threads.

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <vector>

#include "host/platform/zrthread.h"
#include "host/support/zrtessalysetup.h"
#include "support/eventxml.h"
#include "support/sitefolder.h"
#include "tessaly/zreventvariables.h"
#include "zrevents/zreventserver.h"
#include "zrevents/zreventstatus.h"

namespace {

constexpr int kEvents = 20;
constexpr int kRounds = 200;

std::string NameOf(int number) {
  return "E" + std::to_string(100 + number);
}

double ValueOf(int number, const char* variable) {
  ZRLiveValue* const live = ZRLiveValues::Get().Reference(Wide(NameOf(number) + "." + variable));
  const double value = live->NumberOrNan();
  ZRLiveValues::Get().Release(live);
  return value;
}

// A worker that tells of marks, one that acknowledges, two that look for devices, and the thread
// that reads the history, which is empty.
TEST(EventVariablesThreads, NothingIsLostWhileDevicesAreMadeAndTheHistoryIsRead) {
  const SiteFolder site;
  std::vector<ZRSettingProblem> problems;
  ASSERT_TRUE(ZRTessalySetup::Get().Load(site.WidePath(), problems, problems));
  std::string events;
  for (int number = 0; number < kEvents; ++number)
    events += EventXml(NameOf(number), number).Condition("1 = 0").Xml();
  site.Write("config/default.xeve", "<main><events>" + events + "</events></main>");
  ZREventServer engine;
  ASSERT_TRUE(engine.LoadCfg());
  ZREventVariables variables(nullptr, ZRCountUnit::kAll);
  variables.Bind(ZREventSystem::Get());

  const auto forEach = [](auto visit) {
    for (int round = 1; round <= kRounds; ++round)
      for (int number = 0; number < kEvents; ++number)
        visit(round, number);
  };
  const auto work = [&](int round, int number) {
    const std::int64_t now = ZRPlatform::Get().UtcMilliseconds();
    variables.SetVariableValue(2 * number, round % 2);
    variables.NoteMark(2 * number, round % 2 == 1 ? kActivated : kDeactivated, now);
    variables.SetVariableValue(2 * number + 1, round);
  };
  const auto acknowledge = [&](int, int number) {
    variables.NoteMark(2 * number, kAcknowledged, ZRPlatform::Get().UtcMilliseconds());
  };
  const auto look = [&](int, int number) {
    (void)ValueOf(number, "CACT");
    EXPECT_NE(ZRDriver::Source()->DriverOfId(Wide(EventXml::Id(number))), nullptr);
  };
  ASSERT_TRUE(variables.Start());
  std::array<ZRThread, 4> threads;
  ASSERT_TRUE(threads[0].Start([&] { forEach(work); }));
  ASSERT_TRUE(threads[1].Start([&] { forEach(acknowledge); }));
  ASSERT_TRUE(threads[2].Start([&] { forEach(look); }));
  ASSERT_TRUE(threads[3].Start([&] { forEach(look); }));
  for (ZRThread& thread : threads)
    thread.Join();
  for (int number = 0; number < kEvents; ++number) {
    while (!(ValueOf(number, "CACT") >= 0))
      ZRPlatform::Get().Sleep(0);
    EXPECT_EQ(ValueOf(number, "ST"), 0);
    EXPECT_EQ(ValueOf(number, "TACT"), kRounds);
    EXPECT_EQ(ValueOf(number, "CACT"), kRounds / 2);
    EXPECT_EQ(ValueOf(number, "CDIS"), kRounds / 2);
    EXPECT_EQ(ValueOf(number, "CACK"), kRounds);
  }
  variables.Stop();
  engine.Reset();
}

}  // namespace
