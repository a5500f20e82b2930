#include "host/remote/zrloginthrottle.h"

#include <gtest/gtest.h>

namespace {

constexpr int kTolerated = 5;
constexpr std::size_t kMost = 8;
constexpr const char* kAddress = "10.0.0.7";

class LoginThrottle : public testing::Test {
 protected:
  std::uint32_t Wrong(const std::string& user, const std::string& address = kAddress) {
    return throttle.CountWrong(user, address, now);
  }
  void HoldUp(const std::string& user) {
    for (int wrong = 0; wrong <= kTolerated; ++wrong)
      (void)Wrong(user);
  }
  std::uint32_t HeldUp(const std::string& user, const std::string& address = kAddress) {
    return throttle.HeldUp(user, address, now);
  }

  std::uint64_t now = 5000;
  ZRLoginThrottle throttle{kTolerated, kMost};
};

TEST_F(LoginThrottle, ToleratesSomeWrongPasswords) {
  for (int wrong = 0; wrong < kTolerated; ++wrong) {
    EXPECT_EQ(0u, Wrong("ana"));
    EXPECT_EQ(0u, HeldUp("ana"));
  }
  EXPECT_EQ(60u, Wrong("ana"));
  EXPECT_EQ(60u, HeldUp("ana"));
}

TEST_F(LoginThrottle, HoldsUpUntilTheMinuteOfTheFirstHasPassed) {
  (void)Wrong("ana");
  now += 20'500;
  HoldUp("ana");
  EXPECT_EQ(40u, HeldUp("ana"));
  now += 39'499;
  EXPECT_EQ(1u, HeldUp("ana"));
  now += 1;
  EXPECT_EQ(0u, HeldUp("ana"));
}

TEST_F(LoginThrottle, BeginsANewMinuteAfterwards) {
  HoldUp("ana");
  now += ZRLoginThrottle::kMinute;
  for (int wrong = 0; wrong < kTolerated; ++wrong)
    EXPECT_EQ(0u, Wrong("ana"));
  EXPECT_EQ(60u, Wrong("ana"));
}

TEST_F(LoginThrottle, DoesNotCountWhatIsOlderThanAMinute) {
  for (int wrong = 0; wrong < kTolerated; ++wrong)
    (void)Wrong("ana");
  now += ZRLoginThrottle::kMinute;
  EXPECT_EQ(0u, Wrong("ana"));
}

TEST_F(LoginThrottle, CountsByUserAndAddress) {
  HoldUp("ana");
  EXPECT_EQ(0u, HeldUp("leo"));
  EXPECT_EQ(0u, HeldUp("ana", "10.0.0.8"));
  EXPECT_EQ(0u, Wrong("ana", "10.0.0.8"));
  EXPECT_EQ(60u, HeldUp("ana"));
}

TEST_F(LoginThrottle, RemembersNoMoreThanItMay) {
  for (int number = 0; number < 100; ++number) {
    (void)Wrong(std::to_string(number));
    EXPECT_LE(throttle.Size(), kMost);
  }
  EXPECT_EQ(kMost, throttle.Size());
}

TEST_F(LoginThrottle, ForgetsWhatHasPassed) {
  HoldUp("ana");
  (void)Wrong("leo");
  EXPECT_EQ(2u, throttle.Size());
  now += ZRLoginThrottle::kMinute;
  (void)Wrong("eva");
  EXPECT_EQ(1u, throttle.Size());
}

TEST_F(LoginThrottle, ForgetsNobodyWhoIsHeldUpForStrangers) {
  HoldUp("ana");
  for (int number = 0; number < 100; ++number)
    (void)Wrong(std::to_string(number));
  EXPECT_EQ(60u, HeldUp("ana"));
}

TEST_F(LoginThrottle, ForgetsTheFirstIfAllAreHeldUp) {
  for (std::size_t number = 0; number <= kMost; ++number)
    HoldUp(std::to_string(number));
  EXPECT_EQ(0u, HeldUp("0"));
  EXPECT_EQ(60u, HeldUp("1"));
  EXPECT_EQ(60u, HeldUp(std::to_string(kMost)));
  EXPECT_EQ(kMost, throttle.Size());
}

TEST_F(LoginThrottle, IsNotFooledByAnAddressOfAnyLength) {
  const std::string address(1000, 'x');
  for (int wrong = 0; wrong <= kTolerated; ++wrong)
    (void)Wrong("ana", address + std::to_string(wrong));
  EXPECT_EQ(60u, HeldUp("ana", address));
}

}  // namespace
