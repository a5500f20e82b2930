#include "tessaly/zrtoldcauses.h"

#include <gtest/gtest.h>

#include "host/platform/zrvirtualtime.h"

namespace {

class ToldCauses : public ::testing::Test {
 protected:
  ZRVirtualTime time;
  ZRToldCauses told;
};

TEST_F(ToldCauses, AreNewsOnce) {
  EXPECT_TRUE(told.IsNews("a", "x"));
  EXPECT_FALSE(told.IsNews("a", "x"));
  EXPECT_TRUE(told.IsNews("b", "x"));
  EXPECT_TRUE(told.IsNews("a", "y"));
  EXPECT_FALSE(told.IsNews("a", "y"));
}

TEST_F(ToldCauses, AreNewsAgainAfterAnHour) {
  EXPECT_TRUE(told.IsNews("a", "x"));
  time.Advance(ZRToldCauses::kMemory - 1);
  EXPECT_FALSE(told.IsNews("a", "x"));
  time.Advance(1);
  EXPECT_TRUE(told.IsNews("a", "x"));
}

TEST_F(ToldCauses, OfTooManySubjectsAreNoNews) {
  for (std::size_t i = 0; i < ZRToldCauses::kMostSubjects; ++i)
    EXPECT_TRUE(told.IsNews(std::to_string(i), "x"));
  EXPECT_FALSE(told.IsNews("one more", "x"));
  EXPECT_TRUE(told.IsNews("0", "y"));
  time.Advance(ZRToldCauses::kMemory);
  EXPECT_TRUE(told.IsNews("one more", "x"));
}

}  // namespace
