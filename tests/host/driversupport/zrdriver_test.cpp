#include "host/driversupport/zrdriver.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "host/driversupport/zrdrivervariable.h"
#include "host/platform/zrvirtualtime.h"

namespace {

// A driver with two variables, that tells when it ends.
class CMeter : public ZRDriver {
 public:
  CMeter(const wchar_t* id, const wchar_t* name, std::vector<std::string>* ends = nullptr)
      : ZRDriver(ZRWString(id), ZRWString(name)), endsSeen(ends) {
    power = AddVariable(ZRWString(L"P"));
    state = AddVariable(ZRWString(L"state"));
  }
  ~CMeter() override {
    if (endsSeen == nullptr) return;
    const std::wstring_view called = Name().View();
    endsSeen->emplace_back(called.begin(), called.end());
  }
  using ZRDriver::AddVariable;
  using ZRDriver::Variable;
  using ZRDriver::VariableNumber;

  std::int64_t power = -1;
  std::int64_t state = -1;

 private:
  std::vector<std::string>* endsSeen;
};

class Driver : public ::testing::Test {
 protected:
  ~Driver() override { ZRDriver::UnregisterAll(); }

  static CMeter* Add(const wchar_t* id, const wchar_t* name,
                     std::vector<std::string>* ends = nullptr) {
    auto made = std::make_unique<CMeter>(id, name, ends);
    CMeter* const meter = made.get();
    EXPECT_EQ(meter, ZRDriver::Register(std::move(made)));
    return meter;
  }

  ZRVirtualTime time{5000};
};

TEST_F(Driver, IsFoundByItsExactId) {
  CMeter* const first = Add(L"id-1", L"Main");
  CMeter* const second = Add(L"ID-1", L"Spare");
  EXPECT_EQ(first, ZRDriver::LockDriver(L"id-1", nullptr));
  EXPECT_EQ(second, ZRDriver::LockDriver(L"ID-1", nullptr));
  EXPECT_EQ(nullptr, ZRDriver::LockDriver(L"Main", nullptr));
  EXPECT_EQ(nullptr, ZRDriver::LockDriver(nullptr, nullptr));
}

TEST_F(Driver, ListKeepsTheOrderOfRegister) {
  EXPECT_EQ(ZRDriver::DriversBegin(), ZRDriver::DriversEnd());
  const std::vector<ZRDriver*> expected = {Add(L"2", L"b"), Add(L"1", L"a"), Add(L"3", L"c")};
  std::vector<ZRDriver*> seen;
  for (auto it = ZRDriver::DriversBegin(); it != ZRDriver::DriversEnd(); it++)
    seen.push_back(*it);
  EXPECT_EQ(expected, seen);
}

TEST_F(Driver, LastRegisteredEndsFirst) {
  std::vector<std::string> ends;
  Add(L"1", L"a", &ends);
  Add(L"2", L"b", &ends);
  ZRDriver::UnregisterAll();
  EXPECT_EQ((std::vector<std::string>{"b", "a"}), ends);
  EXPECT_EQ(ZRDriver::DriversBegin(), ZRDriver::DriversEnd());
}

TEST_F(Driver, VariablesAreNumberedInOrderAndPublished) {
  CMeter* const meter = Add(L"1", L"Main");
  EXPECT_EQ(0, meter->power);
  EXPECT_EQ(1, meter->state);
  EXPECT_EQ(1, meter->VariableNumber(ZRWString(L"state")));
  EXPECT_EQ(-1, meter->VariableNumber(ZRWString(L"STATE")));
  ZRLiveValue* const found = ZRLiveValues::Get().Find(ZRWString(L"Main.P"));
  ASSERT_EQ(&meter->Variable(0), found);
  EXPECT_EQ(ZRQuality::kUnavailable, found->Quality());
  ZRLiveValues::Get().Release(found);
}

TEST_F(Driver, ANameAddedAgainKeepsItsNumber) {
  CMeter* const meter = Add(L"1", L"Main");
  EXPECT_EQ(meter->power, meter->AddVariable(ZRWString(L"P")));
  EXPECT_EQ(2, meter->AddVariable(ZRWString(L"Q")));
}

TEST_F(Driver, VariablesEndWithTheDriver) {
  Add(L"1", L"Main");
  ZRLiveValue* const value = ZRLiveValues::Get().Reference(ZRWString(L"Main.P"));
  value->SetNumber(1.0, 1);
  ZRDriver::UnregisterAll();
  EXPECT_EQ(ZRQuality::kUnknown, value->Quality());
  EXPECT_EQ(nullptr, ZRLiveValues::Get().Find(ZRWString(L"Main.P")));
  ZRLiveValues::Get().Release(value);
}

TEST_F(Driver, WritesAVariableByItsNumberAsOfNow) {
  CMeter* const meter = Add(L"1", L"Main");
  time.Advance(250);
  meter->SetVariableValue(meter->state, 3.5);
  double number = 0.0;
  ASSERT_TRUE(meter->Variable(meter->state).Number(number));
  EXPECT_EQ(3.5, number);
  EXPECT_EQ(5250, meter->Variable(meter->state).LastGood());
}

TEST_F(Driver, AnUnknownNumberIsPassedOver) {
  CMeter* const meter = Add(L"1", L"Main");
  meter->SetVariableValue(-1, 1.0);
  meter->SetVariableValue(2, 1.0);
  EXPECT_EQ(ZRQuality::kUnavailable, meter->Variable(0).Quality());
  EXPECT_EQ(ZRQuality::kUnavailable, meter->Variable(1).Quality());
}

TEST_F(Driver, ForcesAVariableByItsName) {
  CMeter* const meter = Add(L"1", L"Main");
  EXPECT_TRUE(meter->ForceValue(ZRWString(L"P"), 8.0, ZRWString(L"test")));
  double number = 0.0;
  ASSERT_TRUE(meter->Variable(meter->power).Number(number));
  EXPECT_EQ(8.0, number);
  EXPECT_FALSE(meter->ForceValue(ZRWString(L"Main.P"), 9.0, ZRWString(L"test")));
}

TEST_F(Driver, VariableIsFoundByItsFullName) {
  Add(L"1", L"Main");
  ZRDriverVariable variable;
  variable.Setup(ZRWString(L"Main.X"));
  EXPECT_FALSE(variable.Lock(false));
  variable.Setup(ZRWString(L"Main.P"));
  EXPECT_TRUE(variable.Lock(false));
  ZRValue value;
  EXPECT_FALSE(variable.Value(value));
  value.SetNumeric(6.0);
  variable.SetValue(value);
  ZRValue seen;
  ASSERT_TRUE(variable.Value(seen));
  EXPECT_EQ(6.0, seen.Numeric());
}

TEST_F(Driver, VariableTakesTexts) {
  Add(L"1", L"Main");
  ZRDriverVariable variable;
  variable.Setup(ZRWString(L"Main.state"));
  ASSERT_TRUE(variable.Lock(false));
  ZRValue value;
  value.SetString(ZRWString(L"mañana"));
  variable.SetValue(value);
  ZRValue seen;
  ASSERT_TRUE(variable.Value(seen));
  EXPECT_TRUE(seen.String() == L"mañana");
  variable.SetValue(ZRValue());
  EXPECT_FALSE(variable.Value(seen));
}

TEST_F(Driver, AReferenceAloneIsNoVariable) {
  ZRLiveValue* const value = ZRLiveValues::Get().Reference(ZRWString(L"Main.P"));
  ZRDriverVariable variable;
  variable.Setup(ZRWString(L"Main.P"));
  EXPECT_FALSE(variable.Lock(false));
  ZRValue seen;
  EXPECT_FALSE(variable.Value(seen));
  variable.SetValue(seen);
  ZRLiveValues::Get().Release(value);
}

}  // namespace
