#include "zrevents/zrdriverpath.h"

#include <gtest/gtest.h>

namespace {

const std::list<ZRWString> kDrivers = {L"a", L"North"};

TEST(DriverPath, LeadsThroughADriverThatHasAPointBehindIt) {
  EXPECT_TRUE(LeadsThrough(L"a.b", kDrivers));
  EXPECT_TRUE(LeadsThrough(L"x.a.b", kDrivers));
  EXPECT_TRUE(LeadsThrough(L"x.y.North.b", kDrivers));
}

TEST(DriverPath, TheLastPieceIsNeverCompared) {
  EXPECT_FALSE(LeadsThrough(L"a", kDrivers));
  EXPECT_FALSE(LeadsThrough(L"b.a", kDrivers));
  EXPECT_TRUE(LeadsThrough(L"b.a.", kDrivers));
}

TEST(DriverPath, PiecesAreComparedAsAWholeAndExactly) {
  EXPECT_FALSE(LeadsThrough(L"aa.b", kDrivers));
  EXPECT_FALSE(LeadsThrough(L"A.b", kDrivers));
  EXPECT_FALSE(LeadsThrough(L"north.b", kDrivers));
  EXPECT_FALSE(LeadsThrough(L"Nort.h.b", kDrivers));
}

TEST(DriverPath, AnEmptyPathAndNoDriversLeadThroughNone) {
  EXPECT_FALSE(LeadsThrough(L"", kDrivers));
  EXPECT_FALSE(LeadsThrough(L"a.b", {}));
  EXPECT_FALSE(LeadsThrough(L"..", kDrivers));
}

}  // namespace
