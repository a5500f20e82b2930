#include "host/driversupport/zrtessalyflags.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

TEST(TessalyFlags, HaveFourGroups) {
  const std::pair<int, const char*> groups[] = {
      {1, "100"}, {2, "1000"}, {3, "10000"}, {4, "11000"}};
  for (const auto& [number, bits] : groups)
    EXPECT_EQ(tagVariableFlags(bits), ZRTessalyFlags::get().getFlags(number)) << number;
}

TEST(TessalyFlags, OtherGroupsHaveNone) {
  for (const int number : {0, -1, 5, INT_MAX, INT_MIN})
    EXPECT_TRUE(ZRTessalyFlags::get().getFlags(number).none()) << number;
}

}  // namespace
