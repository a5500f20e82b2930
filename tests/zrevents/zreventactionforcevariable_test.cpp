#include "zrevents/actions/zreventactionforcevariable.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "host/tools/zrstringtable.h"
#include "support/actiontest.h"

namespace {

using Strings = std::vector<std::string>;

class ForceVariable : public ActionTest {
 protected:
  ForceVariable() {
    driver->Set("N", 1.0);        // a number, 0
    driver->SetText("T", "old");  // a text, 1
    driver->Set("X", 2.5);        // what expressions read, 2
  }

  static std::string Xml(const std::string& variable, const std::string& value) {
    return "<force><variable>" + variable + "</variable><value>" + value + "</value></force>";
  }
  [[nodiscard]] bool Loads(const std::string& variable, const std::string& value) {
    action = std::make_unique<ZREventActionForceVariable>(nullptr);
    return action->LoadXml(Node(Xml(variable, value)));
  }
  // What the driver is told by an execution.
  Strings Executed(int moment = 0) {
    driver->forced.clear();
    EXPECT_TRUE(action->Execute(moment));
    return driver->forced;
  }

  std::unique_ptr<ZREventActionForceVariable> action;
};

// --- what is loaded ---

TEST_F(ForceVariable, ReferenceLosesItsEndsWhateverTheyAre) {
  EXPECT_TRUE(Loads("[P.N]", "1"));
  EXPECT_TRUE(Loads("(P.N)", "1"));
  EXPECT_TRUE(Loads("xP.Ny", "1"));
  for (const char* wrong : {"", "[", "[]", "P.N", "[P.N", "[[P.N]]", "[P.NONE]", "[NONE.N]", "[P.]",
                            "[P.n]", "[.N]", " [P.N] "})
    EXPECT_FALSE(Loads(wrong, "1")) << wrong;
}

TEST_F(ForceVariable, ReferenceWithAFilterIsRefused) {
  for (const char* filtered : {"[[avg]P.N]", "[[avg:60]P.N]", "[[:60]P.N]"})
    EXPECT_FALSE(Loads(filtered, "1")) << filtered;
}

TEST_F(ForceVariable, OfAnotherTagIsNotLoaded) {
  action = std::make_unique<ZREventActionForceVariable>(nullptr);
  EXPECT_FALSE(action->LoadXml(Node("<Force><variable>[P.N]</variable><value>1</value></Force>")));
  EXPECT_EQ(Executed(), Strings{});
}

TEST_F(ForceVariable, VariableThatAcceptsNoValueIsRefused) {
  EXPECT_TRUE(Loads("[P.N]", "1"));
  driver->infos[0].flags = 0xF7;
  EXPECT_FALSE(Loads("[P.N]", "1"));
  driver->infos[0].flags = 0x8;
  EXPECT_TRUE(Loads("[P.N]", "1"));
}

TEST_F(ForceVariable, WrongExpressionIsRefusedUnlessTheVariableIsAText) {
  for (const char* wrong : {"", "hello", "1 +", "\"open"}) {
    EXPECT_FALSE(Loads("[P.N]", wrong)) << wrong;
    EXPECT_TRUE(Loads("[P.T]", wrong)) << wrong;
  }
}

// --- kinds ---

TEST_F(ForceVariable, KindGoesByTypeAndLabels) {
  struct tagRow {
    std::uint32_t type;
    std::vector<ZRString> labels;
    int kind;
  };
  const tagRow rows[] = {{0, {}, 0},
                         {0x2000, {}, 2},
                         {0xFFFF, {}, 2},
                         {0x1FFF, {}, 0},
                         {0x2000, {"OFF", "ON"}, 2},
                         {0, {"OFF", "ON"}, 1},
                         {0, {"ON", "OFF"}, 1},
                         {0, {"ON", "ON"}, 1},
                         {0, {"O&#78;", "OFF"}, 1},
                         {0, {"OFF", "on"}, 0},
                         {0, {"OFF", "ON "}, 0},
                         {0, {"OFF"}, 0},
                         {0, {"OFF", "ON", "ON"}, 0}};
  for (const tagRow& row : rows) {
    tagSVariableValueInfo info;
    info.type = row.type;
    info.labels = row.labels;
    EXPECT_EQ(row.kind, ZREventActionForceVariable::KindOf(info, L"OFF", L"ON"))
        << row.type << " " << row.labels.size();
  }
}

TEST_F(ForceVariable, TwoStatesChangeNothing) {
  driver->infos[0] = {0x8, 0, {"OFF", "ON"}};
  EXPECT_FALSE(Loads("[P.N]", "hello"));
  ASSERT_TRUE(Loads("[P.N]", "[P.X]"));
  EXPECT_EQ(Executed(), Strings{"0 P.N 2.5"});
}

// --- what is forced ---

TEST_F(ForceVariable, ResultIsForcedAsItIsUnlessItIsLogical) {
  const auto forced = [](double value, int type) {
    return ZREventActionForceVariable::ValueToForce(ZRVSValue(value), type);
  };
  for (const double value : {2.5, -2.5, 0.0, 1.0}) {
    EXPECT_EQ(forced(value, 0).Numeric(), value);
    EXPECT_EQ(forced(value, 7).Numeric(), value);
    EXPECT_EQ(forced(value, 1).Numeric(), value == 0.0 ? 0.0 : 1.0) << value;
  }
  const ZRValue text = ZREventActionForceVariable::ValueToForce(ZRVSValue(ZRWString(L"on")), 1);
  EXPECT_EQ(Narrow(text.String()), "on");
}

TEST_F(ForceVariable, ExpressionIsEvaluatedAtEachExecution) {
  ASSERT_TRUE(Loads("[P.N]", "[P.X] * 2"));
  EXPECT_EQ(Executed(), Strings{"0 P.N 5"});
  driver->Set("X", 7);
  EXPECT_EQ(Executed(), Strings{"0 P.N 14"});
}

TEST_F(ForceVariable, LogicalExpressionForcesZeroOrOne) {
  ASSERT_TRUE(Loads("[P.N]", "[P.X] &gt; 2"));
  EXPECT_EQ(Executed(), Strings{"0 P.N 1"});
  driver->Set("X", 2);
  EXPECT_EQ(Executed(), Strings{"0 P.N 0"});
}

TEST_F(ForceVariable, TextOfAnExpressionIsForcedToo) {
  ASSERT_TRUE(Loads("[P.N]", "\"on\""));
  EXPECT_EQ(Executed(), Strings{"0 P.N 'on'"});
  ASSERT_TRUE(Loads("[P.T]", "[P.X]"));
  EXPECT_EQ(Executed(), Strings{"1 P.T 2.5"});
}

TEST_F(ForceVariable, MomentHasNoInfluence) {
  ASSERT_TRUE(Loads("[P.N]", "3"));
  for (const int moment : {0, 1, 2, 3, -1, 99})
    EXPECT_EQ(Executed(moment), Strings{"0 P.N 3"});
}

TEST_F(ForceVariable, WithoutAValueNothingIsForced) {
  ASSERT_TRUE(Loads("[P.N]", "[P.X] / [P.ZERO]"));
  EXPECT_EQ(Executed(), Strings{});
  driver->Set("ZERO", 0);
  EXPECT_EQ(Executed(), Strings{});
  driver->Set("ZERO", 2);
  EXPECT_EQ(Executed(), Strings{"0 P.N 1.25"}) << "and the next execution tries again";
}

TEST_F(ForceVariable, TextThatIsNoExpressionIsForcedAsItStands) {
  ASSERT_TRUE(Loads("[P.T]", "hello &lt;you&gt; %n"));
  EXPECT_EQ(Executed(), Strings{"1 P.T 'hello <you> %n'"});
  EXPECT_EQ(Executed(), Strings{"1 P.T 'hello <you> %n'"});
  ASSERT_TRUE(Loads("[P.T]", ""));
  EXPECT_EQ(Executed(), Strings{"1 P.T ''"});
}

TEST_F(ForceVariable, TextGetsTheExpressionItselfWhenThatHasNoValue) {
  ASSERT_TRUE(Loads("[P.T]", "[P.X] + 1"));
  EXPECT_EQ(Executed(), Strings{"1 P.T 3.5"});
  driver->Unset("X");
  EXPECT_EQ(Executed(), Strings{"1 P.T '[P.X] + 1'"});
}

TEST_F(ForceVariable, DriverThatIsNotOnlineIsLeftAlone) {
  ASSERT_TRUE(Loads("[P.T]", "hello"));
  driver->online = false;
  EXPECT_EQ(Executed(), Strings{});
  EXPECT_EQ(time.yields, 0);
  driver->online = true;
  EXPECT_EQ(Executed(), Strings{"1 P.T 'hello'"});
}

TEST_F(ForceVariable, EveryOtherExecutionGivesUpTheProcessorOnce) {
  ASSERT_TRUE(Loads("[P.N]", "[P.X]"));
  Executed();
  EXPECT_EQ(time.yields, 1);
  driver->Unset("X");
  EXPECT_EQ(Executed(), Strings{});
  EXPECT_EQ(time.yields, 2) << "also without a value";
}

TEST_F(ForceVariable, ClientIsToldNothing) {
  ASSERT_TRUE(Loads("[P.N]", "1"));
  EXPECT_EQ(Told(*action), "-");
}

// --- life ---

static_assert(!std::is_copy_assignable_v<ZREventActionForceVariable>);

TEST_F(ForceVariable, LoadedUnderAnotherTagHasLostItsExpression) {
  ASSERT_TRUE(Loads("[P.N]", "[P.X]"));
  EXPECT_FALSE(action->LoadXml(Node("<beep></beep>")));
  EXPECT_EQ(Executed(), Strings{});
}

TEST_F(ForceVariable, LoadedAgainIsAnotherAction) {
  ASSERT_TRUE(Loads("[P.N]", "1"));
  ASSERT_TRUE(action->LoadXml(Node(Xml("[P.T]", "hello"))));
  EXPECT_EQ(Executed(), Strings{"1 P.T 'hello'"});
  EXPECT_FALSE(action->LoadXml(Node("<beep></beep>")));
}

TEST_F(ForceVariable, CopyDoesTheSameAndOutlivesTheOriginal) {
  ASSERT_TRUE(Loads("[P.N]", "[P.X] * 2"));
  ZREventActionForceVariable copy(*action);
  EXPECT_EQ(Executed(), Strings{"0 P.N 5"});
  action.reset();
  driver->forced.clear();
  EXPECT_TRUE(copy.Execute(0));
  EXPECT_EQ(driver->forced, Strings{"0 P.N 5"});
}

// --- in an event ---

TEST_F(ForceVariable, EventForcesAtEachOfItsMoments) {
  EventXml definition("Pump");
  definition.Condition("[P.RUN] = 1").Notify();
  int value = 0;
  for (const char* moment : {"activate", "while", "deactivate", "acknowledge"})
    definition.Actions("actions", moment, Xml("[P.N]", std::to_string(++value)));
  OwnEvent& pump = Make(definition);
  driver->Set("RUN", 1);
  const auto cycle = [&] {
    driver->forced.clear();
    EXPECT_TRUE(pump.Work(ZRDateTime::LTC()));
    time.Advance(1000);
    return driver->forced;
  };
  EXPECT_EQ(cycle(), Strings{"0 P.N 1"});
  EXPECT_EQ(cycle(), Strings{"0 P.N 2"});
  driver->Set("RUN", 0);
  EXPECT_EQ(cycle(), Strings{"0 P.N 3"});
  driver->forced.clear();
  tagSEventRT* const seen = pump.AddOccurrence();
  EXPECT_TRUE(pump.SetMark(seen, kActivated));
  EXPECT_TRUE(pump.SetMark(seen, kAcknowledged));
  EXPECT_EQ(driver->forced, Strings{"0 P.N 4"});
}

}  // namespace
