// The SMS queue on the system's threads, for the thread sanitizer.

#include <gtest/gtest.h>

#include <algorithm>
#include <list>

#include "host/platform/zrthread.h"
#include "host/support/zrtessalysetup.h"
#include "support/fakesmssender.h"
#include "support/logcapture.h"
#include "zrevents/actions/zreventsmsqueue.h"

namespace {

// The system, but for pauses: each is over soon.
class HastySystem final : public ZRPlatform {
 public:
  HastySystem() { Replace(this); }
  ~HastySystem() override { Replace(nullptr); }
  HastySystem(const HastySystem&) = delete;
  HastySystem& operator=(const HastySystem&) = delete;

  std::uint32_t TickCount() override { return System().TickCount(); }
  std::int64_t UtcMilliseconds() override { return System().UtcMilliseconds(); }
  void Sleep(std::uint32_t milliseconds) override {
    System().Sleep(std::min(milliseconds, std::uint32_t{1}));
  }
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

constexpr std::size_t kAdders = 4;
constexpr std::size_t kEach = 10;

void AddAtOnce(ZREventSmsQueue& queue) {
  std::list<ZRThread> adders;
  for (std::size_t adder = 0; adder < kAdders; ++adder) {
    ASSERT_TRUE(adders.emplace_back().Start([&] {
      for (std::size_t each = 0; each < kEach; ++each)
        EXPECT_TRUE(queue.Add({"112"}, "text", false));
    }));
  }
}

// A queue whose thread ends and begins anew while several threads add to it ends each group once.
TEST(SmsQueueThreads, EndEachGroupOnce) {
  HastySystem system;
  std::vector<ZRSettingProblem> none;
  ASSERT_TRUE(ZRTessalySetup::Get().LoadText("[sms]\nqueue = -1\n", L"/nowhere", none, none));
  const LogCapture log;
  SmsTrials sms;
  ZREventSmsQueue queue(std::make_unique<FakeSmsSender>(sms));
  AddAtOnce(queue);
  const std::uint32_t begun = system.TickCount();
  const auto ended = [&log] { return log.Starting("All SMS messages in group ").size(); };
  while (ended() < kAdders * kEach && system.TickCount() - begun < 15'000)
    system.Sleep(1);
  auto lines = log.Starting("All SMS messages in group ");
  EXPECT_EQ(kAdders * kEach, lines.size());
  std::sort(lines.begin(), lines.end());
  EXPECT_EQ(lines.end(), std::unique(lines.begin(), lines.end()));
}

// While its thread works, has just ended, or waits between two passes.
TEST(SmsQueueThreads, EndWithTheQueueAtAnyMoment) {
  const HastySystem system;
  for (int round = 0; round < 20; ++round) {
    SmsTrials sms;
    if (round % 2 == 0) sms.failing = {"112"};
    ZREventSmsQueue queue(std::make_unique<FakeSmsSender>(sms));
    AddAtOnce(queue);
  }
}

}  // namespace
