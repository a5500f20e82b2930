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

struct tagReference {
  const wchar_t* name;
  const wchar_t *filter, *argument, *driver, *variable;
};

TEST_F(DriverVariableNames, ReferenceMayHaveAFilterInFront) {
  constexpr tagReference kRows[] = {
      {L"P.RUN", L"", L"", L"P", L"RUN"},
      {L"Meter.phase.1", L"", L"", L"Meter", L"phase.1"},
      {L"[avg]P.RUN", L"avg", L"", L"P", L"RUN"},
      {L"[avg:60]P.RUN", L"avg", L"60", L"P", L"RUN"},
      {L"[:60]P.RUN", L"", L"60", L"P", L"RUN"},
      {L"[a:b:c]P.RUN", L"a", L"b:c", L"P", L"RUN"},
      {L"[]P.RUN", L"", L"", L"P", L"RUN"},
      {L"[avgP.RUN", L"", L"", L"[avgP", L"RUN"},  // nothing closes it
      {L"P.R]UN", L"", L"", L"P", L"R]UN"},
  };
  for (const tagReference& row : kRows) {
    ZRWString filter(L"before");
    ZRWString argument(L"before");
    EXPECT_TRUE(SplitFilterDriverVariable(row.name, filter, argument, driver, variable, false));
    EXPECT_TRUE(filter == row.filter && argument == row.argument && driver == row.driver &&
                variable == row.variable);
  }
  for (const wchar_t* bad : {L"", L"P", L"[avg]", L"[avg]P", L"[avg].", L"["}) {
    ZRWString filter(L"before");
    ZRWString argument(L"before");
    EXPECT_FALSE(SplitFilterDriverVariable(bad, filter, argument, driver, variable, false));
    EXPECT_TRUE(filter.IsEmpty() && argument.IsEmpty() && driver.IsEmpty() && variable.IsEmpty());
  }
}

}  // namespace
