#include "zrevents/history/zrtwins.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/chance.h"

namespace {

std::vector<std::uint64_t> Different(std::size_t count, std::uint64_t seed) {
  Chance chance(seed);
  std::vector<std::uint64_t> numbers;
  for (std::size_t i = 0; i < count; ++i)
    numbers.push_back(seed % 2 == 0 ? chance.Next() : i);  // Next gives none twice
  return numbers;
}

TEST(Twins, AreNotAmongDifferentNumbers) {
  EXPECT_FALSE(MayHaveTwins({}));
  for (const std::size_t count : {1u, 2u, 511u, 512u, 513u, 1024u, 20'000u, 300'000u}) {
    for (std::uint64_t seed = 1; seed <= 4; ++seed)
      EXPECT_FALSE(MayHaveTwins(Different(count, seed))) << count << " of " << seed;
  }
}

TEST(Twins, AreFoundWhereverTheyAre) {
  Chance chance(1);
  for (const std::size_t others : {1u, 2u, 99u, 511u, 4999u, 29'999u}) {
    const std::size_t count = others + 1;
    for (std::uint64_t seed = 1; seed <= 40; ++seed) {
      std::vector<std::uint64_t> numbers = Different(count, seed);
      const std::size_t one = chance.Below(count);
      const std::size_t other = (one + 1 + chance.Below(others)) % count;
      numbers[one] = numbers[other];
      ASSERT_TRUE(MayHaveTwins(numbers)) << one << " and " << other << " of " << count;
    }
  }
}

TEST(Twins, ZeroCanBeOne) {
  EXPECT_TRUE(MayHaveTwins(std::vector<std::uint64_t>{0, 7, 0}));
  EXPECT_FALSE(MayHaveTwins(std::vector<std::uint64_t>{0, 7, 1}));
}

// Numbers that all have the same upper bits where it matters cost no more than others.
TEST(Twins, MayBeThereIfTheNumbersAreMadeToBeHardToTell) {
  constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15u;
  std::uint64_t inverse = kSpread;
  for (int i = 0; i < 5; ++i)
    inverse *= 2 - kSpread * inverse;
  ASSERT_EQ(kSpread * inverse, 1u);
  std::vector<std::uint64_t> numbers;
  for (std::uint64_t i = 0; i < 300'000; ++i)
    numbers.push_back(i * inverse);
  EXPECT_TRUE(MayHaveTwins(numbers));
}

}  // namespace
