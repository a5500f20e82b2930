// The mail queue on the system's threads, for the thread sanitizer.

#include <gtest/gtest.h>

#include <list>

#include "host/platform/zrfilesystem.h"
#include "host/platform/zrthread.h"
#include "support/faketool.h"
#include "zrevents/actions/zreventmailqueue.h"

namespace {

// The system, but for processes: each ends well at once.
class InstantTool final : public ZRPlatform {
 public:
  InstantTool() { Replace(this); }
  ~InstantTool() override { Replace(nullptr); }
  InstantTool(const InstantTool&) = delete;
  InstantTool& operator=(const InstantTool&) = delete;

  std::uint32_t TickCount() override { return System().TickCount(); }
  std::int64_t UtcMilliseconds() override { return System().UtcMilliseconds(); }
  void Sleep(std::uint32_t milliseconds) override { System().Sleep(milliseconds); }
  tagThread StartThread(std::function<void()> body) override {
    return System().StartThread(std::move(body));
  }
  void JoinThread(tagThread thread) override { System().JoinThread(thread); }
  bool Wait(ZRWaitWord& word, std::uint32_t expected, std::uint32_t milliseconds) override {
    return System().Wait(word, expected, milliseconds);
  }
  void WakeOne(ZRWaitWord& word) override { System().WakeOne(word); }
  void WakeAll(ZRWaitWord& word) override { System().WakeAll(word); }
  int StartProcess(const ZRProcessStart& /*start*/) override { return ++mails; }
  bool WaitProcess(int /*process*/, std::uint32_t /*ms*/, int& exitCode) override {
    exitCode = 0;
    return true;
  }

  std::atomic<int> mails{0};
};

// A queue that ends and begins anew while several threads add to it loses no message, and is
// destroyed while its thread works or has just ended.
TEST(MailQueueThreads, AddAtOnce) {
  InstantTool tool;
  const ShareFolder share;
  constexpr int kAdders = 3;
  constexpr int kEach = 3;
  for (int round = 0; round < 2; ++round) {
    ZREventMailQueue queue;
    std::list<ZRThread> adders;
    for (int adder = 0; adder < kAdders; ++adder) {
      ASSERT_TRUE(adders.emplace_back().Start([&] {
        for (int each = 0; each < kEach; ++each)
          EXPECT_TRUE(queue.Add({"a@b"}, "subject", "body"));
      }));
    }
    adders.clear();
    const std::uint32_t begun = tool.TickCount();
    while (round == 0 && tool.mails < kAdders * kEach && tool.TickCount() - begun < 15'000)
      tool.Sleep(1);
    if (round == 0) {
      EXPECT_EQ(kAdders * kEach, tool.mails);
    }
  }
  EXPECT_TRUE(share.Files().empty());
}

}  // namespace
