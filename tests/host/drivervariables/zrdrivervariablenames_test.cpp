#include "host/drivervariables/zrdrivervariablenames.h"

#include <gtest/gtest.h>

namespace {

class DriverVariableNames : public testing::Test {
 protected:
  bool Split(const wchar_t* fullName) { return SplitDriverVariable(fullName, driver, variable); }
  ZRWString driver{L"before"};
  ZRWString variable{L"before"};
};

TEST_F(DriverVariableNames, JoinPutsAPointBetween) {
  ZRWString fullName;
  JoinDriverVariable(L"R$SYS", L"NEVE", fullName);
  EXPECT_TRUE(fullName == L"R$SYS.NEVE");
}

TEST_F(DriverVariableNames, JoinMayWriteOverOneOfItsParts) {
  ZRWString name(L"P");
  JoinDriverVariable(name, name, name);
  EXPECT_TRUE(name == L"P.P");
}

TEST_F(DriverVariableNames, SplitTakesTheFirstPoint) {
  ASSERT_TRUE(Split(L"Meter.phase.1"));
  EXPECT_TRUE(driver == L"Meter");
  EXPECT_TRUE(variable == L"phase.1");
}

TEST_F(DriverVariableNames, SplitMayWriteOverTheFullName) {
  ZRWString name(L"P.RUN");
  ASSERT_TRUE(SplitDriverVariable(name, name, variable));
  EXPECT_TRUE(name == L"P");
  EXPECT_TRUE(variable == L"RUN");
}

TEST_F(DriverVariableNames, SplitRefusesWhatHasNoTwoPartsAndLeavesTheTargets) {
  for (const wchar_t* bad : {L"", L"P", L".", L".RUN", L"P."}) {
    EXPECT_FALSE(Split(bad));
    EXPECT_TRUE(driver == L"before");
    EXPECT_TRUE(variable == L"before");
  }
}

}  // namespace
