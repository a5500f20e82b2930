// The programs of expressions: what is common in conditions is one instruction, and gives the same
// values and errors as its parts.
#include "host/driversupport/zrexpressioncompiler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "host/driversupport/sitevalues.h"

namespace {

using tagI = ZRInstruction;
using tagProgram = std::vector<ZRInstruction>;

std::size_t LengthOf(ZRInstruction instruction) {
  if (instruction == tagI::kJump) return 1 + sizeof(ZRJumpOffset);
  if (instruction < tagI::kCompareStack || instruction > tagI::kCompareZeroEnd) return 1;
  const bool leaves =
      instruction >= tagI::kCompareStackLeave && instruction <= tagI::kCompareZeroLeave;
  return leaves ? 2 + sizeof(ZRJumpOffset) : 2;
}

tagProgram ProgramOf(const std::string& expression) {
  const std::wstring text(expression.begin(), expression.end());
  ZRExpressionParser parser(text, true);
  EXPECT_TRUE(parser.Parse()) << expression;
  ZRExpressionCompiler compiler(text, parser.Nodes());
  const ZRExpressionCode code = compiler.Compile();
  const auto* const start = reinterpret_cast<const std::uint8_t*>(code.Operands());
  const std::uint8_t* const end = start + code.MemoryUsed();
  tagProgram program;
  for (const std::uint8_t* at = code.Instructions(); at < end; at += LengthOf(program.back()))
    program.push_back(static_cast<ZRInstruction>(*at));
  return program;
}

class ExpressionProgram : public ::testing::Test {
 protected:
  ExpressionProgram() {
    SetNumbers(0.1, 0.7, 1e-17, 3.3);
    site["p.none"].SetUnavailable();
    site["p.text"].SetText("auto", 1);
    site["p.huge"].SetNumber(1e308, 1);
    site["p.low"].SetNumber(-1e308, 1);
    site["p.zero"].SetNumber(0.0, 1);
  }
  void SetNumbers(double first, double second, double third, double fourth) {
    a = first;
    b = second;
    c = third;
    d = fourth;
    site["p.a"].SetNumber(a, 1);
    site["p.b"].SetNumber(b, 1);
    site["p.c"].SetNumber(c, 1);
    site["p.d"].SetNumber(d, 1);
  }

  static double NumberOf(const std::string& expression) {
    ZREvaluator evaluator;
    Give(evaluator, expression);
    double value = 0.0;
    int type = 0;
    EXPECT_EQ(ZREvaluator::kSuccess, evaluator.Evaluate(value, type)) << expression;
    return value;
  }

  CSiteValues site;
  double a = 0.0;
  double b = 0.0;
  double c = 0.0;
  double d = 0.0;
};

// --- sums ---

TEST_F(ExpressionProgram, TheSumOfThreeOrFourVariablesIsOneInstruction) {
  EXPECT_EQ((tagProgram{tagI::kAddThree, tagI::kEnd}), ProgramOf("[p.a]+[p.b]+[p.c]"));
  EXPECT_EQ((tagProgram{tagI::kAddFour, tagI::kEnd}), ProgramOf("[p.a]+[p.b]+[p.c]+[p.d]"));
  EXPECT_EQ((tagProgram{tagI::kAddFour, tagI::kAddVariable, tagI::kEnd}),
            ProgramOf("[p.a]+[p.b]+[p.c]+[p.d]+[p.a]"));
  EXPECT_EQ((tagProgram{tagI::kAddVariables, tagI::kSubtractVariable, tagI::kEnd}),
            ProgramOf("[p.a]+[p.b]-[p.c]"));
  EXPECT_EQ((tagProgram{tagI::kAddVariableConstant, tagI::kAddVariable, tagI::kEnd}),
            ProgramOf("[p.a]+1+[p.c]"));
}

TEST_F(ExpressionProgram, SumsAreAddedFromLeftToRight) {
  SetNumbers(0.1, 0.2, 0.3, 0.0);
  ASSERT_NE(a + b + c, a + (b + c));
  EXPECT_EQ(a + b + c, NumberOf("[p.a]+[p.b]+[p.c]"));
  SetNumbers(1e16, 1.0, -1e16, 1.0);
  ASSERT_NE(a + b + c + d, (a + b) + (c + d));
  EXPECT_EQ(a + b + c + d, NumberOf("[p.a]+[p.b]+[p.c]+[p.d]"));
  EXPECT_EQ(a + b + c + d + b, NumberOf("[p.a]+[p.b]+[p.c]+[p.d]+[p.b]"));
  SetNumbers(-0.0, -0.0, -0.0, -0.0);
  EXPECT_TRUE(std::signbit(NumberOf("[p.a]+[p.b]+[p.c]")));
  EXPECT_TRUE(std::signbit(NumberOf("[p.a]+[p.b]+[p.c]+[p.d]")));
}

TEST_F(ExpressionProgram, TheFirstErrorOfASumStands) {
  EXPECT_EQ("unavailable", ResultOf("[p.none]+[p.text]+[p.gone]"));
  EXPECT_EQ("wrong type", ResultOf("[p.a]+[p.text]+[p.none]"));
  EXPECT_EQ("unknown", ResultOf("[p.a]+[p.b]+[p.gone]"));
  EXPECT_EQ("unavailable", ResultOf("[p.a]+[p.none]+[p.text]+[p.gone]"));
  EXPECT_EQ("unknown", ResultOf("[p.a]+[p.b]+[p.gone]+[p.none]"));
  EXPECT_EQ("wrong type", ResultOf("[p.a]+[p.b]+[p.c]+[p.text]"));
}

TEST_F(ExpressionProgram, AnOverflowInASumComesBeforeWhatFollows) {
  EXPECT_EQ("out of range", ResultOf("[p.huge]+[p.huge]+[p.a]"));
  EXPECT_EQ("out of range", ResultOf("[p.huge]+[p.huge]+[p.low]"));
  EXPECT_EQ("out of range", ResultOf("[p.huge]+[p.huge]+[p.none]"));
  EXPECT_EQ("unavailable", ResultOf("[p.huge]+[p.none]+[p.huge]"));
  EXPECT_EQ("out of range", ResultOf("[p.low]+[p.a]+[p.low]+[p.text]"));
  EXPECT_EQ("out of range", ResultOf("[p.a]+[p.b]+[p.huge]+[p.huge]"));
  EXPECT_EQ("1e+308", ResultOf("[p.huge]+[p.low]+[p.huge]+[p.zero]"));
}

// --- an operation and the comparison of its result with a constant ---

TEST_F(ExpressionProgram, AnOperationIsComparedInOneInstruction) {
  EXPECT_EQ((tagProgram{tagI::kAddThree, tagI::kCompareQuotientEnd}),
            ProgramOf("([p.a]+[p.b]+[p.c])/3 > 16"));
  EXPECT_EQ((tagProgram{tagI::kSubtractVariables, tagI::kCompareMagnitudeEnd}),
            ProgramOf("abs([p.a]-[p.b]) > 5"));
  EXPECT_EQ((tagProgram{tagI::kMultiplyVariables, tagI::kMultiplyPushVariables,
                        tagI::kCompareDifferenceEnd}),
            ProgramOf("[p.a]*[p.b] - [p.c]*[p.d] > 5"));
  EXPECT_EQ((tagProgram{tagI::kDivideVariableConstant, tagI::kCompareConstantEnd}),
            ProgramOf("[p.a]/3 > 5"));
  EXPECT_EQ((tagProgram{tagI::kLoadVariable, tagI::kAbsolute, tagI::kCompareVariableEnd}),
            ProgramOf("abs([p.a]) > [p.b]"));
}

TEST_F(ExpressionProgram, AComparedOperationLeavesAndGoesOnLikeAComparison) {
  EXPECT_EQ((tagProgram{tagI::kAddThree, tagI::kCompareQuotientLeave, tagI::kSubtractVariables,
                        tagI::kCompareMagnitudeEnd}),
            ProgramOf("([p.a]+[p.b]+[p.c])/3 > 16 or abs([p.d]-[p.a]) > 5"));
  EXPECT_EQ(
      (tagProgram{tagI::kLoadVariable, tagI::kCompareMagnitude, tagI::kAddConstant, tagI::kEnd}),
      ProgramOf("(abs([p.a]) > 5) + 2"));
  EXPECT_EQ(
      (tagProgram{tagI::kAddVariables, tagI::kCompareQuotient, tagI::kAndVariableConstantEnd}),
      ProgramOf("([p.a]+[p.b])/2 > 5 and [p.c] < 3"));
}

// An operand of an operation may also be the end of a jump: nothing is shortened across it.
TEST_F(ExpressionProgram, NothingIsShortenedAcrossTheEndOfAJump) {
  const tagProgram program = ProgramOf("if([p.a] > 1, [p.b], abs([p.c])) > 5");
  ASSERT_GE(program.size(), 2u);
  EXPECT_EQ(tagI::kAbsolute, program[program.size() - 2]);
  EXPECT_EQ(tagI::kCompareConstantEnd, program.back());
  SetNumbers(2.0, -9.0, -9.0, 0.0);
  EXPECT_EQ("false", ResultOf("if([p.a] > 1, [p.b], abs([p.c])) > 5"));
  EXPECT_EQ("true", ResultOf("if([p.a] > 2, [p.b], abs([p.c])) > 5"));
}

TEST_F(ExpressionProgram, AComparedOperationHasTheOutcomeOfItsParts) {
  for (const char* relation : {" = ", " <> ", " < ", " <= ", " > ", " >= "}) {
    const auto check = [&](const std::string& operation, const char* constant) {
      const std::string parts = "if(" + operation + " + 0" + relation + constant + ", 1, 2)";
      const std::string whole = "if(" + operation + relation + constant + ", 1, 2)";
      EXPECT_EQ(ResultOf(parts), ResultOf(whole)) << whole;
      EXPECT_EQ(ResultOf(parts) == "1" ? "true" : "false",
                ResultOf(operation + relation + constant));
    };
    for (const double third : {-3.0, 0.0, 0.9, 1.0, 2.5}) {
      SetNumbers(0.1, 0.2, third, 0.5);
      check("([p.a]+[p.b]+[p.c])/3", "0.1");
      check("([p.a]+[p.b]+[p.c])/-3", "0.9");
      check("abs([p.c]-[p.d])", "0.5");
      check("([p.c]*[p.d] - max([p.a],[p.b]))", "0.25");
    }
  }
}

TEST_F(ExpressionProgram, AQuotientIsDividedAndNotMultiplied) {
  SetNumbers(5.0, 0.0, 0.0, 0.0);
  // The other side of the division's rounding: 5 / 49 isn't 5 * (1 / 49).
  ASSERT_NE(5.0 / 49.0, 5.0 * (1.0 / 49.0));
  EXPECT_EQ("true", ResultOf("([p.a]+[p.b]+[p.c])/49 = 5/49"));
}

TEST_F(ExpressionProgram, AComparedOperationKeepsItsErrors) {
  EXPECT_EQ("division by zero", ResultOf("([p.a]+[p.b]+[p.c])/0 > 5"));
  EXPECT_EQ("division by zero", ResultOf("([p.zero]+[p.zero])/0 > 5"));
  EXPECT_EQ("out of range", ResultOf("([p.huge]+[p.a])/0.1 > 5"));
  EXPECT_EQ("unavailable", ResultOf("([p.a]+[p.none]+[p.text])/0 > 5"));
  EXPECT_EQ("out of range", ResultOf("[p.huge]*1 - [p.low]*1 > 5"));
  EXPECT_EQ("out of range", ResultOf("[p.a]*[p.huge]*[p.huge] - [p.none]*[p.a] > 5"));
  EXPECT_EQ("unavailable", ResultOf("[p.a]*[p.b] - [p.none]*[p.text] > 5"));
  EXPECT_EQ("wrong type", ResultOf("abs([p.text]-[p.none]) > 5"));
  EXPECT_EQ("out of range", ResultOf("abs([p.low]-[p.huge]) > 5"));
}

// --- a value that makes room for an operation on two variables ---

TEST_F(ExpressionProgram, AnOperationOnTwoVariablesMakesRoomItself) {
  const struct {
    const char* operation;
    ZRInstruction instruction;
    double value;
  } kOperations[] = {
      {"([p.c]+[p.d])", tagI::kAddPushVariables, c + d},
      {"([p.c]-[p.d])", tagI::kSubtractPushVariables, c - d},
      {"([p.c]*[p.d])", tagI::kMultiplyPushVariables, c * d},
      {"([p.c]/[p.d])", tagI::kDividePushVariables, c / d},
      {"min([p.c],[p.d])", tagI::kMinimumPushVariables, c},
      {"max([p.c],[p.d])", tagI::kMaximumPushVariables, d},
  };
  for (const auto& [operation, instruction, value] : kOperations) {
    const std::string whole = std::string("[p.a]*[p.b] - ") + operation;
    EXPECT_EQ((tagProgram{tagI::kMultiplyVariables, instruction, tagI::kSubtractStack, tagI::kEnd}),
              ProgramOf(whole));
    EXPECT_EQ(a * b - value, NumberOf(whole)) << whole;
  }
}

TEST_F(ExpressionProgram, AnOperationThatMakesRoomKeepsItsErrors) {
  for (const char* const form : {"(X+Y)", "(X-Y)", "(X*Y)", "(X/Y)", "min(X,Y)", "max(X,Y)"}) {
    const auto resultOf = [form](const char* left, const char* right) {
      std::string operation = form;
      operation.replace(operation.find('Y'), 1, right);
      operation.replace(operation.find('X'), 1, left);
      return ResultOf("[p.a]*[p.b] - " + operation);
    };
    EXPECT_EQ("unavailable", resultOf("[p.none]", "[p.text]")) << form;
    EXPECT_EQ("wrong type", resultOf("[p.text]", "[p.none]")) << form;
    EXPECT_EQ("unknown", resultOf("[p.a]", "[p.gone]")) << form;
    EXPECT_EQ("unavailable", resultOf("[p.none]", "[p.zero]")) << form;
  }
  EXPECT_EQ("out of range", ResultOf("[p.a]*[p.b] - ([p.huge]+[p.huge])"));
  EXPECT_EQ("out of range", ResultOf("[p.a]*[p.b] - ([p.huge]-[p.low])"));
  EXPECT_EQ("out of range", ResultOf("[p.a]*[p.b] - ([p.huge]*[p.huge])"));
  EXPECT_EQ("division by zero", ResultOf("[p.a]*[p.b] - ([p.a]/[p.zero])"));
  EXPECT_EQ("division by zero", ResultOf("[p.a]*[p.b] - ([p.zero]/[p.zero])"));
  EXPECT_EQ("out of range", ResultOf("[p.a]*[p.b] - ([p.huge]/[p.a])"));
}

TEST_F(ExpressionProgram, OnlyWhatMayBeATextIsAskedForIt) {
  EXPECT_EQ((tagProgram{tagI::kLoadAnyVariable, tagI::kEndAny}), ProgramOf("[p.a]"));
  EXPECT_EQ(tagI::kEndAny, ProgramOf("if([p.a] > 1, \"on\", [p.b])").back());
  EXPECT_EQ((tagProgram{tagI::kLoadVariable, tagI::kNegate, tagI::kEnd}), ProgramOf("-[p.a]"));
}

TEST_F(ExpressionProgram, EveryReferenceOfTheShorterProgramsIsGivenBack) {
  const std::size_t before = ZRLiveValues::Get().Size();
  {
    ZREvaluator evaluator;
    Give(evaluator,
         "([q.1]+[q.2]+[q.3])/3 > 5 and [q.4]*[q.5] - [q.6]*[q.7] > 5 and "
         "[q.8]+[q.9]+[q.10]+[q.11] > 5");
    EXPECT_EQ(ZREvaluator::kLogical, evaluator.AnalizeExpression());
    EXPECT_EQ(before + 11, ZRLiveValues::Get().Size());
  }
  EXPECT_EQ(before, ZRLiveValues::Get().Size());
}

}  // namespace
