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

ZRValue Number(double value) {
  ZRValue number;
  number.SetNumeric(value);
  return number;
}
ZRValue Text(const wchar_t* value) {
  ZRValue text;
  text.SetString(value);
  return text;
}

TEST_F(Driver, ForcesAVariableByItsNumber) {
  CMeter* const meter = Add(L"1", L"Main");
  EXPECT_TRUE(meter->ForceValue(meter->power, Number(8.0), L"test"));
  double number = 0.0;
  ASSERT_TRUE(meter->Variable(meter->power).Number(number));
  EXPECT_EQ(8.0, number);
  EXPECT_TRUE(meter->ForceValue(meter->power, Text(L"mañana"), L"test"));
  EXPECT_TRUE(meter->Variable(meter->power).HoldsText());
  EXPECT_FALSE(meter->ForceValue(meter->power, ZRValue(), L"test")) << "no value";
  for (const std::int64_t unknown : {-1, 2})
    EXPECT_FALSE(meter->ForceValue(unknown, Number(9.0), L"test"));
}

TEST_F(Driver, DescribesAVariableByItsNumber) {
  CMeter* const meter = Add(L"1", L"Main");
  tagSVariableValueInfo info{0xF0, 7, {"from before"}};
  ASSERT_TRUE(meter->ValueInfo(meter->power, info));
  EXPECT_EQ(0x8, info.flags);
  EXPECT_EQ(0u, info.type);
  EXPECT_TRUE(info.labels.empty());
  ASSERT_TRUE(meter->ForceValue(meter->power, Text(L"on"), L"test"));
  ASSERT_TRUE(meter->ValueInfo(meter->power, info));
  EXPECT_EQ(0x2000u, info.type);
  EXPECT_FALSE(meter->ValueInfo(2, info));
  EXPECT_EQ(0x2000u, info.type) << "as it was";
}

TEST_F(Driver, IsFoundByTheFullNameOfAVariable) {
  Add(L"1", L"Other");
  CMeter* const meter = Add(L"Main", L"2");  // its id isn't its name
  CMeter* const main = Add(L"3", L"Main");
  std::int64_t number = 77;
  for (const wchar_t* nobody : {L"Main.X", L"Nobody.P", L"P", L"", L"Main"})
    EXPECT_EQ(nullptr, ZRDriver::FindVariable(nobody, number));
  EXPECT_EQ(77, number);
  EXPECT_EQ(main, ZRDriver::FindVariable(L"Main.state", number));
  EXPECT_EQ(main->state, number);
  EXPECT_EQ(meter, ZRDriver::FindVariable(L"2.P", number));
}

// Of two drivers of one name each gives the variables that the one before it doesn't have.
TEST_F(Driver, IsFoundAmongThoseOfTheSameName) {
  CMeter* const first = Add(L"1", L"Main");
  CMeter* const second = Add(L"2", L"Main");
  const std::int64_t added = second->AddVariable(L"Q");
  std::int64_t number = -1;
  EXPECT_EQ(second, ZRDriver::FindVariable(L"Main.Q", number));
  EXPECT_EQ(added, number);
  EXPECT_EQ(first, ZRDriver::FindVariable(L"Main.P", number));
}

TEST_F(Driver, VariableIsBoundToItsDriver) {
  CMeter* const meter = Add(L"1", L"Main");
  ZRDriverVariable variable;
  EXPECT_FALSE(variable.IsValid());
  variable.Setup(L"Main.state");
  EXPECT_TRUE(variable.IsValid());
  EXPECT_EQ(meter, variable.Driver());
  EXPECT_EQ(meter->state, variable.Id());
  EXPECT_TRUE(variable.Name() == L"Main.state");
  tagSVariableValueInfo info;
  EXPECT_TRUE(variable.ValueInfo(info));
  EXPECT_EQ(0x8, info.flags);
  const ZRDriverVariable copy(variable);
  EXPECT_EQ(meter, copy.Driver());
  EXPECT_EQ(meter->state, copy.Id());
  EXPECT_TRUE(copy.Name() == L"Main.state");
  variable.Setup(L"Main.X");
  EXPECT_FALSE(variable.IsValid());
  EXPECT_FALSE(variable.IsReady());
  EXPECT_FALSE(variable.ValueInfo(info));
  EXPECT_EQ(nullptr, variable.Driver());
  EXPECT_EQ(-1, variable.Id());
}

TEST_F(Driver, VariableIsReadyWhileItsDriverIsOnline) {
  class COnAndOff final : public ZRDriver {
   public:
    COnAndOff() : ZRDriver(L"1", L"Main") { AddVariable(L"P"); }
    [[nodiscard]] bool IsOnline() const override { return online; }
    bool online = false;
  };
  auto* const driver = static_cast<COnAndOff*>(ZRDriver::Register(std::make_unique<COnAndOff>()));
  ZRDriverVariable variable;
  variable.Setup(L"Main.P");
  EXPECT_FALSE(variable.IsReady());
  EXPECT_TRUE(variable.IsValid());
  driver->online = true;
  EXPECT_TRUE(variable.IsReady());
}

TEST_F(Driver, CopyOfAVariableHoldsNothing) {
  CMeter* const meter = Add(L"1", L"Main");
  ZRDriverVariable variable;
  variable.Setup(L"Main.P");
  ASSERT_TRUE(variable.Lock(false));
  ZRDriverVariable copy(variable);
  copy.SetValue(Number(1.0));
  EXPECT_EQ(ZRQuality::kUnavailable, meter->Variable(meter->power).Quality());
  ASSERT_TRUE(copy.Lock(false));
  copy.SetValue(Number(1.0));
  EXPECT_EQ(ZRQuality::kGood, meter->Variable(meter->power).Quality());
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

TEST_F(Driver, TellsOfItsVariablesByTheirNames) {
  CMeter* const meter = Add(L"m", L"Meter");
  meter->Variable(meter->state).SetText("open", 0);
  tagSVariableHandle handle;
  EXPECT_FALSE(meter->FindVariable(L"Meter.P", handle));
  EXPECT_EQ(-1, handle.number);
  const std::pair<const wchar_t*, std::size_t> known[] = {{L"P", zrflag::kNumber},
                                                          {L"state", zrflag::kText}};
  for (const auto& [name, flag] : known) {
    ASSERT_TRUE(meter->FindVariable(name, handle));
    tagSVariableInfo info;
    EXPECT_TRUE(meter->VariableInfo(handle, info, 0));
    EXPECT_EQ(name, info.name);
    EXPECT_EQ(tagVariableFlags().set(flag), info.flags);
    meter->ReleaseVariable(handle, 0);
    info.name = L"as it was";
    EXPECT_FALSE(meter->VariableInfo(handle, info, 0));
    EXPECT_EQ(L"as it was", info.name);
  }
}

TEST_F(Driver, HasTheUuidThatItsIdIs) {
  constexpr const wchar_t* kUuid = L"aaaaaaaa-0000-4000-8000-000000000001";
  EXPECT_EQ(wtouuid(kUuid), Add(kUuid, L"A")->Uuid());
  EXPECT_EQ(uuid::null, Add(L"m", L"Meter")->Uuid());
}

// One driver that isn't in the list.
class CSource final : public ZRDriverSource {
 public:
  ZRDriver* DriverOfId(const ZRWString& id) override { return id == L"m9" ? &meter : nullptr; }
  ZRDriver* DriverOfName(const ZRWString& name) override {
    return name == L"Hall" ? &meter : nullptr;
  }
  ZRDriver* DriverOfVariable(const ZRWString& fullName, std::int64_t& variable) override {
    if (!(fullName == L"Hall.P") && !(fullName == L"Main.P")) return nullptr;
    variable = 77;
    return &meter;
  }
  void Bring(const ZRWString&) override {}

  CMeter meter{L"m9", L"Hall"};
};

TEST_F(Driver, SourceIsAskedBehindTheList) {
  ZRDriver* const main = ZRDriver::Register(std::make_unique<CMeter>(L"m1", L"Main"));
  CSource source;
  std::int64_t number = -1;
  ZRDriver::UseSource(&source);
  EXPECT_EQ(ZRDriver::Source(), &source);
  EXPECT_EQ(ZRDriver::LockDriver(L"m1", nullptr), main);
  EXPECT_EQ(ZRDriver::LockDriver(L"m9", nullptr), nullptr) << "nothing comes through it";
  EXPECT_EQ(ZRDriver::FindVariable(L"Main.P", number), main) << "the list comes first";
  EXPECT_EQ(ZRDriver::FindVariable(L"Hall.P", number), &source.meter);
  EXPECT_EQ(number, 77);
  EXPECT_EQ(ZRDriver::FindVariable(L"Hall.none", number), nullptr);
  EXPECT_EQ(std::distance(ZRDriver::DriversBegin(), ZRDriver::DriversEnd()), 1);
  ZRDriver::UseSource(nullptr);
  EXPECT_EQ(ZRDriver::LockDriver(L"m9", nullptr), nullptr);
}

}  // namespace
