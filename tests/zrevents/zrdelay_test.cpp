#include "zrevents/zrdelay.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace {

constexpr std::int32_t kLongest = 2147483647;

TEST(Delay, IsInMillisecondsTruncatedTowardZero) {
  EXPECT_EQ(DelayMilliseconds(0.0), 0);
  EXPECT_EQ(DelayMilliseconds(2.5), 2500);
  EXPECT_EQ(DelayMilliseconds(0.0019), 1);
  EXPECT_EQ(DelayMilliseconds(0.0009), 0);
  EXPECT_EQ(DelayMilliseconds(1.9999), 1999);
}

TEST(Delay, IsNoneForANegativeValue) {
  EXPECT_EQ(DelayMilliseconds(-3.0), 0);
  EXPECT_EQ(DelayMilliseconds(-0.0001), 0);
  EXPECT_EQ(DelayMilliseconds(-0.0), 0);
  EXPECT_EQ(DelayMilliseconds(-std::numeric_limits<double>::infinity()), 0);
  EXPECT_EQ(DelayMilliseconds(-1e300), 0);
}

TEST(Delay, IsNoneForWhatIsNoNumber) {
  EXPECT_EQ(DelayMilliseconds(std::nan("")), 0);
  EXPECT_EQ(DelayMilliseconds(-std::nan("")), 0);
}

TEST(Delay, IsClampedToTheLongest) {
  EXPECT_EQ(DelayMilliseconds(2147483.646), kLongest - 1);
  EXPECT_EQ(DelayMilliseconds(2147483.647), kLongest);
  EXPECT_EQ(DelayMilliseconds(2147483.648), kLongest);
  EXPECT_EQ(DelayMilliseconds(4294967.296), kLongest);  // would be 0 in 32 bits
  EXPECT_EQ(DelayMilliseconds(std::numeric_limits<double>::max()), kLongest);
  EXPECT_EQ(DelayMilliseconds(std::numeric_limits<double>::infinity()), kLongest);
}

TEST(Delay, HasElapsedAtItsLastMillisecondAndNotBefore) {
  EXPECT_FALSE(HasElapsed(3499, 1000, 2500));
  EXPECT_TRUE(HasElapsed(3500, 1000, 2500));
  EXPECT_TRUE(HasElapsed(3501, 1000, 2500));
}

TEST(Delay, IsMeasuredAcrossTheWrapOfTheTicks) {
  constexpr std::uint32_t kBeforeWrap = 0xFFFFFF00u;
  EXPECT_FALSE(HasElapsed(0xFFFFFFFFu, kBeforeWrap, 1000));
  EXPECT_FALSE(HasElapsed(743, kBeforeWrap, 1000));
  EXPECT_TRUE(HasElapsed(744, kBeforeWrap, 1000));
}

// A signed comparison would call this a negative span.
TEST(Delay, IsComparedWithoutSign) {
  EXPECT_TRUE(HasElapsed(0x80000001u, 1, kLongest));
  EXPECT_TRUE(HasElapsed(0xF0000000u, 1, 1000));
  EXPECT_FALSE(HasElapsed(0x7FFFFFFFu, 1, kLongest));
  EXPECT_TRUE(HasElapsed(0x80000000u, 1, kLongest));
}

}  // namespace
