#include "host/platform/zrlargememory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <new>
#include <utility>
#include <vector>

namespace {

TEST(LargeMemory, IsZeroToItsEndAndCanBeFilled) {
  for (const std::size_t size : {std::size_t{1}, ZRLargeMemory::kLarge - 1, ZRLargeMemory::kLarge,
                                 ZRLargeMemory::kLarge * 3 + 5}) {
    const ZRLargeMemory memory(size);
    EXPECT_EQ(memory.Size(), size);
    auto* const bytes = static_cast<unsigned char*>(memory.Data());
    EXPECT_TRUE(std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; }));
    std::fill(bytes, bytes + size, static_cast<unsigned char>(7));
    EXPECT_EQ(bytes[size - 1], 7);
  }
}

TEST(LargeMemory, WaitsForTheNextOneWhoDoesNotNeedZeros) {
  constexpr std::size_t kSize = ZRLargeMemory::kLarge * 22;
  void* const data = ZRLargeMemory::Take(kSize);
  std::fill_n(static_cast<unsigned char*>(data), kSize, static_cast<unsigned char>(7));
  ZRLargeMemory::Give(data, kSize);
  const ZRLargeMemory zero(kSize);
  EXPECT_NE(zero.Data(), data);
  EXPECT_EQ(static_cast<unsigned char*>(zero.Data())[kSize - 1], 0);
  const ZRLargeMemory any = ZRLargeMemory::Any(kSize);
  EXPECT_EQ(any.Data(), data);
  EXPECT_EQ(any.Size(), kSize);
}

TEST(LargeMemory, WaitsNoLongerWhenOthersNeedTheRoom) {
  constexpr std::size_t kSize = ZRLargeMemory::kMostKept / 2;
  void* const data = ZRLargeMemory::Take(kSize);
  *static_cast<unsigned char*>(data) = 7;
  ZRLargeMemory::Give(data, kSize);
  { const ZRLargeMemory other(kSize + ZRLargeMemory::kLarge * 2); }
  const ZRLargeMemory any = ZRLargeMemory::Any(kSize);
  EXPECT_EQ(*static_cast<unsigned char*>(any.Data()), 0);
}

TEST(LargeMemory, OfNoBytesIsNothing) {
  const ZRLargeMemory none;
  EXPECT_EQ(none.Data(), nullptr);
  EXPECT_EQ(ZRLargeMemory(0).Data(), nullptr);
}

TEST(LargeMemory, MovesWithItsOwner) {
  ZRLargeMemory first(10);
  void* const data = first.Data();
  ZRLargeMemory second(std::move(first));
  EXPECT_EQ(second.Data(), data);
  EXPECT_EQ(first.Data(), nullptr);  // NOLINT(bugprone-use-after-move)
  ZRLargeMemory third(ZRLargeMemory::kLarge);
  third = std::move(second);
  EXPECT_EQ(third.Data(), data);
  EXPECT_EQ(third.Size(), 10U);
}

TEST(LargeMemory, MoreThanThereCanBeIsBadAlloc) {
  EXPECT_THROW((void)ZRLargeMemory::Take(std::numeric_limits<std::size_t>::max() / 4),
               std::bad_alloc);
  EXPECT_THROW((void)ZRLargeMemory::Take(std::numeric_limits<std::size_t>::max()), std::bad_alloc);
}

TEST(LargeMemory, ServesContainers) {
  std::vector<int, ZRLargeAllocator<int>> numbers;
  for (int i = 0; i < 1'000'000; ++i)
    numbers.push_back(i);
  EXPECT_EQ(numbers[999'999], 999'999);
}

}  // namespace
