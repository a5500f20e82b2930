#include "host/remote/zrnonces.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace {

using tagUse = ZRNonces::tagUse;

constexpr std::uint64_t kLife = 300'000;
constexpr std::size_t kMost = 4;

class Nonces : public testing::Test {
 protected:
  tagUse Use(const std::string& nonce, std::uint32_t count) {
    return nonces.Use(nonce, count, now);
  }
  bool Takes(const std::string& nonce, std::uint32_t count) {
    return Use(nonce, count) == tagUse::kTaken;
  }

  std::uint64_t now = 1000;
  ZRNonces nonces{kLife, kMost};
};

TEST_F(Nonces, AreNeverTheSame) {
  std::set<std::string> seen;
  for (int number = 0; number < 1000; ++number)
    EXPECT_TRUE(seen.insert(nonces.Issue(now)).second);
  ZRNonces others(kLife, kMost);
  EXPECT_TRUE(seen.insert(others.Issue(now)).second);
}

TEST_F(Nonces, TakeEachCountOnce) {
  const std::string nonce = nonces.Issue(now);
  EXPECT_EQ(tagUse::kTaken, Use(nonce, 1));
  EXPECT_EQ(tagUse::kRepeated, Use(nonce, 1));
  EXPECT_EQ(tagUse::kTaken, Use(nonce, 2));
  EXPECT_EQ(tagUse::kRepeated, Use(nonce, 1));
  EXPECT_EQ(tagUse::kRepeated, Use(nonce, 2));
}

TEST_F(Nonces, CountFromOne) {
  const std::string nonce = nonces.Issue(now);
  EXPECT_EQ(tagUse::kRepeated, Use(nonce, 0));
  EXPECT_EQ(tagUse::kTaken, Use(nonce, 1));
}

TEST_F(Nonces, TakeCountsInAnyOrderWithinAWindow) {
  const std::string nonce = nonces.Issue(now);
  EXPECT_TRUE(Takes(nonce, 100));
  EXPECT_FALSE(Takes(nonce, 36));  // 64 behind
  for (std::uint32_t count = 37; count < 100; ++count) {
    EXPECT_TRUE(Takes(nonce, count)) << count;
    EXPECT_FALSE(Takes(nonce, count)) << count;
  }
  EXPECT_FALSE(Takes(nonce, 100));
  EXPECT_TRUE(Takes(nonce, 163));  // 63 further: only 100 is still within
  EXPECT_FALSE(Takes(nonce, 100));
  EXPECT_TRUE(Takes(nonce, 101));
  EXPECT_TRUE(Takes(nonce, 1000));
  EXPECT_FALSE(Takes(nonce, 163));
  EXPECT_TRUE(Takes(nonce, 999));
}

// What was taken far behind says nothing of the counts that take its place in the window.
TEST_F(Nonces, TakeEveryCountBehindALeap) {
  const std::string nonce = nonces.Issue(now);
  for (std::uint32_t count = 1; count <= 64; ++count)
    EXPECT_TRUE(Takes(nonce, count)) << count;
  EXPECT_TRUE(Takes(nonce, 1000));
  for (std::uint32_t count = 937; count < 1000; ++count)
    EXPECT_TRUE(Takes(nonce, count)) << count;
}

TEST_F(Nonces, TakeCountsUpToTheLast) {
  const std::string nonce = nonces.Issue(now);
  EXPECT_TRUE(Takes(nonce, 0xFFFFFFFF));
  EXPECT_FALSE(Takes(nonce, 0xFFFFFFFF));
  EXPECT_TRUE(Takes(nonce, 0xFFFFFFFE));
  EXPECT_FALSE(Takes(nonce, 1));
}

TEST_F(Nonces, LiveForAWhile) {
  const std::string nonce = nonces.Issue(now);
  now += kLife - 1;
  EXPECT_EQ(tagUse::kTaken, Use(nonce, 1));
  now += 1;
  EXPECT_EQ(tagUse::kOld, Use(nonce, 2));
}

TEST_F(Nonces, AreForgottenWhenTheyHaveLived) {
  EXPECT_TRUE(Takes(nonces.Issue(now), 1));
  EXPECT_TRUE(Takes(nonces.Issue(now), 1));
  EXPECT_EQ(2u, nonces.Size());
  now += kLife;
  EXPECT_TRUE(Takes(nonces.Issue(now), 1));
  EXPECT_EQ(1u, nonces.Size());
}

TEST_F(Nonces, OfNobodyElseAreTaken) {
  ZRNonces others(kLife, kMost);
  EXPECT_EQ(tagUse::kOld, Use(others.Issue(now), 1));
  EXPECT_EQ(tagUse::kOld, Use("", 1));
  EXPECT_EQ(tagUse::kOld, Use(std::string(64, '0'), 1));
  EXPECT_EQ(0u, nonces.Size());
}

TEST_F(Nonces, AreSealed) {
  const std::string nonce = nonces.Issue(now);
  for (std::size_t at = 0; at < nonce.size(); ++at) {
    std::string other = nonce;
    other[at] = other[at] == '0' ? '1' : '0';
    EXPECT_EQ(tagUse::kOld, Use(other, 1)) << at;
  }
  EXPECT_EQ(tagUse::kOld, Use(nonce + "0", 1));
  EXPECT_EQ(tagUse::kTaken, Use(nonce, 1));
}

TEST_F(Nonces, CostNothingUntilTheyAreUsed) {
  const std::string inUse = nonces.Issue(now);
  EXPECT_TRUE(Takes(inUse, 1));
  for (int number = 0; number < 1000; ++number)
    (void)nonces.Issue(now);
  EXPECT_EQ(1u, nonces.Size());
  EXPECT_TRUE(Takes(inUse, 2));
}

TEST_F(Nonces, AreForgottenFromTheOldestIfThereAreTooMany) {
  std::vector<std::string> issued;
  for (std::size_t number = 0; number < kMost + 2; ++number)
    issued.push_back(nonces.Issue(now));
  for (std::size_t number = 1; number < issued.size(); ++number)
    EXPECT_TRUE(Takes(issued[number], 1));
  EXPECT_EQ(kMost, nonces.Size());
  EXPECT_EQ(tagUse::kOld, Use(issued[1], 1)) << "a request that was answered would be once more";
  EXPECT_EQ(tagUse::kOld, Use(issued[1], 2));
  EXPECT_EQ(tagUse::kOld, Use(issued[0], 1)) << "older ones than a forgotten one go with it";
  EXPECT_TRUE(Takes(issued[2], 2));
}

// Of a full table, one that is older than all in it is taken once and not remembered.
TEST_F(Nonces, AreTakenOnceEvenIfThereIsNoRoomForThem) {
  const std::string old = nonces.Issue(now);
  for (std::size_t number = 0; number < kMost; ++number)
    EXPECT_TRUE(Takes(nonces.Issue(now), 1));
  EXPECT_EQ(tagUse::kTaken, Use(old, 1));
  EXPECT_EQ(tagUse::kOld, Use(old, 1));
  EXPECT_EQ(kMost, nonces.Size());
}

}  // namespace
