#include "host/remote/zrrequestprogress.h"

#include <gtest/gtest.h>

#include "host/platform/zrthread.h"
#include "host/platform/zrvirtualtime.h"

namespace {

class RequestProgress : public testing::Test {
 protected:
  ZRVirtualTime time;
  ZRRequestProgress progress;
};

TEST_F(RequestProgress, LetsNoRouteBeginOnceShut) {
  EXPECT_TRUE(progress.BeginRoute());
  progress.EndRoute();
  progress.Shut();
  EXPECT_TRUE(progress.IsShut());
  EXPECT_FALSE(progress.BeginRoute());
  progress.Open();
  EXPECT_FALSE(progress.IsShut());
  EXPECT_TRUE(progress.BeginRoute());
}

TEST_F(RequestProgress, IsQuietWithNothingToDo) {
  const std::uint32_t start = time.TickCount();
  progress.WaitUntilQuiet(1000);
  EXPECT_EQ(start, time.TickCount());
}

TEST_F(RequestProgress, WaitsForRoutesWithoutLimit) {
  progress.BeginRequest();
  ASSERT_TRUE(progress.BeginRoute());
  ZRThread worker;
  ASSERT_TRUE(worker.Start([&] {
    time.Sleep(50'000);
    progress.EndRoute();
    progress.EndRequest();
  }));
  const std::uint32_t start = time.TickCount();
  progress.WaitUntilQuiet(1000);
  EXPECT_EQ(50'000u, time.TickCount() - start);
}

TEST_F(RequestProgress, WaitsForClientsForItsTimeOnly) {
  progress.BeginRequest();
  progress.BeginRequest();
  ZRThread worker;
  ASSERT_TRUE(worker.Start([&] {
    time.Sleep(300);
    progress.EndRequest();
  }));
  const std::uint32_t start = time.TickCount();
  progress.WaitUntilQuiet(1000);
  EXPECT_EQ(1000u, time.TickCount() - start);
  progress.EndRequest();
  progress.WaitUntilQuiet(1000);
  EXPECT_EQ(1000u, time.TickCount() - start);
}

}  // namespace
