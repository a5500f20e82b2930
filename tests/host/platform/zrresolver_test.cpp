#include "host/platform/zrresolver.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

#include "host/platform/zrmutex.h"

namespace {

using tagAnswer = ZRResolver::tagAnswer;
using tagFound = ZRResolver::tagFound;

constexpr std::uint32_t kPatience = 10'000;  // ms; nobody needs them

// A resolver that answers when it is told to. The questions outlive the test's objects.
struct tagSlow {
  ZRMutex mutex;
  ZRCondition changed;
  bool mayAnswer ZR_GUARDED_BY(mutex) = false;
  std::atomic<int> asked{0};
  std::atomic<int> ended{0};

  void Answer() {
    const ZRMutexLock lock(mutex);
    mayAnswer = true;
    changed.NotifyAll();
  }
  tagFound Wait(const std::string& host) {
    ++asked;
    {
      const ZRMutexLock lock(mutex);
      while (!mayAnswer)
        (void)changed.Wait(mutex, ZRPlatform::kInfinite);
    }
    ++ended;
    return {{"10.0.0.1", host}, ""};
  }
};

class Resolver : public ::testing::Test {
 protected:
  [[nodiscard]] ZRResolver::tagLookup Slowly() const {
    return [slow = slow](const std::string& host) { return slow->Wait(host); };
  }
  // Until all questions have been answered, so that the next test finds none open.
  void TearDown() override {
    slow->Answer();
    while (slow->ended < slow->asked)
      ZRPlatform::Get().Sleep(0);
  }

  std::shared_ptr<tagSlow> slow = std::make_shared<tagSlow>();
  tagFound found;
};

TEST_F(Resolver, AnAddressInDigitsIsItsOwnAnswer) {
  ZRResolver resolver(Slowly());
  for (const char* address : {"127.0.0.1", "::1", "192.168.1.50"}) {
    EXPECT_EQ(tagAnswer::kDone, resolver.Ask(address, 0, found)) << address;
    EXPECT_EQ(std::vector<std::string>{address}, found.addresses);
  }
  EXPECT_EQ(0, slow->asked);
}

TEST_F(Resolver, FindsThisMachine) {
  ZRResolver resolver;
  ASSERT_EQ(tagAnswer::kDone, resolver.Ask("localhost", kPatience, found)) << found.reason;
  for (const std::string& address : found.addresses)
    EXPECT_TRUE(address == "127.0.0.1" || address == "::1") << address;
}

TEST_F(Resolver, SaysWhyThereIsNoAddress) {
  ZRResolver resolver([](const std::string&) { return tagFound{{}, "unknown"}; });
  EXPECT_EQ(tagAnswer::kFailed, resolver.Ask("meter", kPatience, found));
  EXPECT_EQ("unknown", found.reason);
  EXPECT_TRUE(found.addresses.empty());
}

TEST_F(Resolver, WaitsNoLongerThanItIsToldAndGoesOnWithTheSameQuestion) {
  ZRResolver resolver(Slowly());
  EXPECT_EQ(tagAnswer::kPending, resolver.Ask("meter", 1, found));
  EXPECT_EQ("its name isn't looked up yet", found.reason);
  EXPECT_EQ(tagAnswer::kPending, resolver.Ask("meter", 0, found));
  slow->Answer();
  ASSERT_EQ(tagAnswer::kDone, resolver.Ask("meter", kPatience, found));
  EXPECT_EQ((std::vector<std::string>{"10.0.0.1", "meter"}), found.addresses);
  EXPECT_EQ(1, slow->asked);
  EXPECT_EQ(tagAnswer::kDone, resolver.Ask("meter", kPatience, found)) << "asked anew";
  EXPECT_EQ(2, slow->asked);
}

TEST_F(Resolver, AnotherHostIsAnotherQuestion) {
  ZRResolver resolver(Slowly());
  EXPECT_EQ(tagAnswer::kPending, resolver.Ask("meter", 0, found));
  EXPECT_EQ(tagAnswer::kPending, resolver.Ask("broker", 0, found));
  slow->Answer();
  ASSERT_EQ(tagAnswer::kDone, resolver.Ask("broker", kPatience, found));
  EXPECT_EQ("broker", found.addresses.back());
}

TEST_F(Resolver, LeavesAnOpenQuestionBehind) {
  {
    ZRResolver resolver(Slowly());
    EXPECT_EQ(tagAnswer::kPending, resolver.Ask("meter", 1, found));
  }
  EXPECT_EQ(0, slow->ended) << "nobody has waited for it";
}

TEST_F(Resolver, AsksNoMoreThanSoManyQuestionsAtOnce) {
  std::vector<std::unique_ptr<ZRResolver>> resolvers;
  for (int i = 0; i < ZRResolver::kMostOpen; ++i) {
    resolvers.push_back(std::make_unique<ZRResolver>(Slowly()));
    while (resolvers.back()->Ask("meter", 0, found) == tagAnswer::kFailed)
      ZRPlatform::Get().Sleep(0);  // a question of an earlier test is just ending
  }
  ZRResolver one(Slowly());
  EXPECT_EQ(tagAnswer::kFailed, one.Ask("meter", 0, found));
  EXPECT_EQ("too many names are being looked up", found.reason);
  slow->Answer();
  for (const auto& resolver : resolvers)
    EXPECT_EQ(tagAnswer::kDone, resolver->Ask("meter", kPatience, found));
  EXPECT_EQ(tagAnswer::kDone, one.Ask("meter", kPatience, found)) << found.reason;
}

}  // namespace
