#include "host/driversupport/zrevaluator.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>

#include "host/driversupport/sitevalues.h"
#include "host/platform/zrvirtualtime.h"

namespace {

constexpr int kInvalid = ZREvaluator::kInvalid;
constexpr int kNumeric = ZREvaluator::kNumericOrText;
constexpr int kLogical = ZREvaluator::kLogical;

class Evaluator : public ::testing::Test {
 protected:
  Evaluator() {
    site["P.run"].SetNumber(1.0, time.UtcMilliseconds());
    site["P.kW"].SetNumber(7.5, time.UtcMilliseconds());
    site["P.mode"].SetText("auto", time.UtcMilliseconds());
    site["P.off"].SetUnavailable();
  }

  // "position: reason" of an invalid text.
  static std::string Complaint(const std::string& expression) {
    ZREvaluator evaluator;
    Give(evaluator, expression);
    if (evaluator.AnalizeExpression() != kInvalid) return "valid";
    return std::to_string(evaluator.ErrorPosition()) + ": " + evaluator.ErrorReason().Text();
  }

  ZRVirtualTime time;
  CSiteValues site;
};

// --- class and validity ---

TEST_F(Evaluator, ClassIsLogicalForComparisonsAndLogicalOperations) {
  for (const char* expression :
       {"1 = 1", "[a] <> [b]", "([a] > 1)", "not [a]", "[a] and [b]", "[a] || 1", "true", "false",
        "available([a])", "between([a], 1, 2)", "if([a], 1 = 1, false)", "\"a\" = [b]"}) {
    EXPECT_EQ(kLogical, ClassOf(expression)) << expression;
  }
}

TEST_F(Evaluator, ClassIsNumericForEverythingElse) {
  for (const char* expression :
       {"0", "2.5", "[a]", "-[a]", "true + 1", "-true", "abs(1 = 1)", "bit([a], 1)", "age([a])",
        "if([a], 1 = 1, 2)", "if([a], 1 = 1, [b])", "\"text\"", "pi", "max(1 = 1)"}) {
    EXPECT_EQ(kNumeric, ClassOf(expression)) << expression;
  }
}

TEST_F(Evaluator, ClassIsTheSameWhenAskedAgain) {
  ZREvaluator evaluator;
  Give(evaluator, "[P.kW] > 5");
  EXPECT_EQ(kLogical, evaluator.AnalizeExpression());
  EXPECT_EQ(kLogical, evaluator.AnalizeExpression());
  evaluator.Set(ZRWString(L"1 +"));
  EXPECT_EQ(kInvalid, evaluator.AnalizeExpression());
  EXPECT_EQ(kInvalid, evaluator.AnalizeExpression());
}

TEST_F(Evaluator, ClassOfAConditionNeedsNoVariable) {
  EXPECT_EQ(kLogical, ClassOf("[nobody.knows] > 5"));
}

TEST_F(Evaluator, SaysWhereAndWhyATextIsInvalid) {
  EXPECT_EQ("0: the expression is empty", Complaint(""));
  EXPECT_EQ("0: the expression is empty", Complaint(" \t\r\n"));
  EXPECT_EQ("3: a value is expected here", Complaint("1 +"));
  EXPECT_EQ("2: an operator is expected here", Complaint("1 2"));
  EXPECT_EQ("2: an operator is expected here", Complaint("5 kW"));
  EXPECT_EQ("4: a closing parenthesis is expected here", Complaint("(1+2"));
  EXPECT_EQ("3: an operator is expected here", Complaint("1+2)"));
  EXPECT_EQ("0: unknown word", Complaint("volts + 1"));
  EXPECT_EQ("4: an opening parenthesis is expected here", Complaint("abs 1"));
  EXPECT_EQ("4: an argument is missing", Complaint("abs()"));
  EXPECT_EQ("5: too many arguments", Complaint("abs(1,2)"));
  EXPECT_EQ("8: an argument is missing", Complaint("pow(2.51)"));
  EXPECT_EQ("5: an argument is missing", Complaint("if(1 )"));
  EXPECT_EQ("9: too many arguments", Complaint("if(1, 2,3,4)"));
  EXPECT_EQ("4: a variable in brackets is expected here", Complaint("age(1)"));
  EXPECT_EQ("0: the reference has no closing bracket", Complaint("[a.b > 5"));
  EXPECT_EQ("4: the reference is empty", Complaint("1 + []"));
  EXPECT_EQ("2: control character", Complaint("[a\n]"));
  EXPECT_EQ("2: control character", Complaint("\"a\n\""));
  EXPECT_EQ("0: the text has no closing quote", Complaint("\"abc"));
  EXPECT_EQ("1: only \\\" and \\\\ can follow a backslash", Complaint("\"\\n\""));
  EXPECT_EQ("2: unexpected character", Complaint("1 # 2"));
  EXPECT_EQ("0: unexpected character", Complaint("."));
  EXPECT_EQ("0: this isn't a number", Complaint("1e"));
  EXPECT_EQ("4: the number is too large or too small", Complaint("1 + 1e999"));
  EXPECT_EQ("3: a value is expected here", Complaint("1 += 2"));
  EXPECT_EQ("1: an operator is expected here", Complaint("0,5"));
}

TEST_F(Evaluator, SeesWrongTypesInTheForm) {
  EXPECT_EQ("4: a text can't be used as a number", Complaint("1 + \"a\""));
  EXPECT_EQ("0: a text can't be used as a number", Complaint("\"a\" and [b]"));
  EXPECT_EQ("1: a text can't be used as a number", Complaint("-\"a\""));
  EXPECT_EQ("8: a text can't be used as a number", Complaint("if([a], \"x\", 5) + 1"));
  EXPECT_EQ("8: a text can't be used as a number", Complaint("if([a], \"x\", [b]) < 1"));
  EXPECT_EQ("4: texts can only be compared with = and <>", Complaint("[a] < \"x\""));
  EXPECT_EQ("2: a text can't be compared with a number", Complaint("1 = \"x\""));
  EXPECT_EQ("12: comparisons can't be chained: join them with 'and', or use between()",
            Complaint("1 < [a.bcd] < 3"));
  EXPECT_EQ("4: put this 'not' in parentheses", Complaint("1 = not 2"));
  EXPECT_EQ("2: put this 'not' in parentheses", Complaint("2^!3"));
}

TEST_F(Evaluator, CountsPositionsInUnits) {
  EXPECT_EQ("9: a value is expected here", Complaint("[\xF0\x9F\x98\x80.\xC3\xA9] > *"));
}

TEST_F(Evaluator, BoundsLengthAndDepth) {
  const std::string longest = std::string(4095, ' ') + "1";
  EXPECT_EQ("valid", Complaint(longest));
  EXPECT_EQ("4096: the expression is too long", Complaint(longest + " "));
  const auto nested = [](int depth) {
    const auto count = static_cast<std::size_t>(depth);
    return std::string(count, '(') + "1" + std::string(count, ')');
  };
  EXPECT_EQ("valid", Complaint(nested(64)));
  EXPECT_EQ("64: nested too deeply", Complaint(nested(65)));
  EXPECT_EQ("valid", Complaint(std::string(64, '-') + "1"));
  EXPECT_EQ("64: nested too deeply", Complaint(std::string(65, '-') + "1"));
  EXPECT_EQ("64: nested too deeply", Complaint(std::string(65, '!') + "1"));
  std::string powers = "1";
  for (int i = 0; i < 65; ++i)
    powers += "^1";
  EXPECT_EQ("129: nested too deeply", Complaint(powers));
  EXPECT_EQ("valid", Complaint("[" + std::string(255, 'a') + "]"));
  EXPECT_EQ("0: the reference is too long", Complaint("[" + std::string(256, 'a') + "]"));
}

TEST_F(Evaluator, LongChainsAreNoDepth) {
  std::string sum = "1";
  std::string both = "[P.run]";
  for (int i = 0; i < 500; ++i) {
    sum += "+1";
    both += "&1";
  }
  EXPECT_EQ("501", ResultOf(sum));
  EXPECT_EQ("true", ResultOf(both));
}

TEST_F(Evaluator, TheDeepestMixOfEverythingCanBeEvaluated) {
  // Each level leaves two arguments, a comparison, a sum and a product waiting.
  std::string deep = "[P.run]";
  double expected = 1.0;
  for (int level = 0; level < 64; ++level) {
    deep = "between(1, 0, 3 = 1 + 2 * " + deep + ")";
    expected = 1.0 <= (1.0 + 2.0 * expected == 3.0 ? 1.0 : 0.0) ? 1.0 : 0.0;
  }
  EXPECT_EQ(1.0, expected);
  EXPECT_EQ("true", ResultOf(deep));
  site["P.run"].SetNumber(2.0, 1);
  EXPECT_EQ("false", ResultOf(deep));
}

// --- flags and the order of calls ---

TEST_F(Evaluator, ReferencesNeedTheirFlag) {
  ZREvaluator evaluator(ZRWString(L"[P.run] = 1"));
  evaluator.SetFlags(-1);
  EXPECT_EQ(kInvalid, evaluator.AnalizeExpression());
  EXPECT_STREQ("variables can't be used here", evaluator.ErrorReason().Text());
  EXPECT_EQ("invalid", ResultOf(evaluator));
  evaluator.SetFlags(7, 2, 9, -1);
  evaluator.Set(ZRWString(L"[P.run] = 1"));
  EXPECT_EQ(kLogical, evaluator.AnalizeExpression());
}

TEST_F(Evaluator, EvaluateAnalysesFirst) {
  ZREvaluator evaluator;
  EXPECT_EQ("invalid", ResultOf(evaluator));
  Give(evaluator, "[P.kW] * 2");
  EXPECT_EQ("15", ResultOf(evaluator));
  Give(evaluator, "[P.kW] *");
  EXPECT_EQ("invalid", ResultOf(evaluator));
}

TEST_F(Evaluator, ANewTextReplacesEverything) {
  ZREvaluator evaluator;
  Give(evaluator, "1 +");
  EXPECT_EQ(kInvalid, evaluator.AnalizeExpression());
  evaluator.Set(ZRWString(L"0"));
  EXPECT_EQ(kNumeric, evaluator.AnalizeExpression());
  EXPECT_EQ(0u, evaluator.ErrorPosition());
  EXPECT_TRUE(evaluator.ErrorReason().IsEmpty());
  EXPECT_EQ("0", ResultOf(evaluator));
}

// --- variables ---

TEST_F(Evaluator, FollowsItsVariables) {
  ZREvaluator evaluator;
  Give(evaluator, "[P.kW] > 5 and [P.run] = 1");
  EXPECT_EQ("true", ResultOf(evaluator));
  site["P.kW"].SetNumber(5.0, 1);
  EXPECT_EQ("false", ResultOf(evaluator));
  site["P.kW"].SetUnavailable();
  EXPECT_EQ("unavailable", ResultOf(evaluator));
  site["P.kW"].SetText("six", 1);
  EXPECT_EQ("wrong type", ResultOf(evaluator));
  site["P.kW"].SetNumber(6.0, 1);
  EXPECT_EQ("true", ResultOf(evaluator));
}

TEST_F(Evaluator, AVariableMayComeAndGo) {
  ZREvaluator evaluator;
  Give(evaluator, "[Q.kW] > 5");
  EXPECT_EQ("unknown", ResultOf(evaluator));
  site["Q.kW"].SetNumber(6.0, 1);
  EXPECT_EQ("true", ResultOf(evaluator));
  site.Remove("Q.kW");
  EXPECT_EQ("unknown", ResultOf(evaluator));
}

TEST_F(Evaluator, GivesItsReferencesBack) {
  const std::size_t before = ZRLiveValues::Get().Size();
  {
    ZREvaluator evaluator;
    Give(evaluator,
         "if([r.1] > 1 and [r.2] < [r.3] or \"long enough for words\" = [r.4], age([r.5]), "
         "[r.6] + 2 * [r.7]) + bit([r.8], 2) + ([r.9] or available([r.10]))");
    EXPECT_EQ(kNumeric, evaluator.AnalizeExpression());
    EXPECT_EQ(before + 10, ZRLiveValues::Get().Size());
    Give(evaluator, "[r.11]");
    EXPECT_EQ(before, ZRLiveValues::Get().Size());
    EXPECT_EQ(kNumeric, evaluator.AnalizeExpression());
    EXPECT_EQ(before + 1, ZRLiveValues::Get().Size());
  }
  EXPECT_EQ(before, ZRLiveValues::Get().Size());
}

TEST_F(Evaluator, AgeGoesByTheUtcClock) {
  EXPECT_EQ("0", ResultOf("age([P.kW])"));
  time.Advance(1500);
  EXPECT_EQ("1.5", ResultOf("age([P.kW])"));
  site["P.kW"].SetUnavailable();
  EXPECT_EQ("1.5", ResultOf("age([P.kW])"));
  time.SetUtc(ZRVirtualTime::kDefaultUtc - 60'000);
  EXPECT_EQ("0", ResultOf("age([P.kW])"));
  EXPECT_EQ("unavailable", ResultOf("age([P.off])"));
  EXPECT_EQ("unknown", ResultOf("age([P.nothing])"));
}

// --- errors ---

TEST_F(Evaluator, TheFirstErrorOfTheOrderOfEvaluationStands) {
  EXPECT_EQ("division by zero", ResultOf("[P.run] / 0 + [P.off]"));
  EXPECT_EQ("unavailable", ResultOf("[P.off] + [P.run] / 0"));
  EXPECT_EQ("out of range", ResultOf("1e308 * 10 * [P.run] + [P.off]"));
  EXPECT_EQ("unavailable", ResultOf("[P.off] + [P.mode]"));
  EXPECT_EQ("wrong type", ResultOf("[P.mode] > [P.off]"));
  EXPECT_EQ("unavailable", ResultOf("[P.off] > [P.mode]"));
}

TEST_F(Evaluator, OverflowIsNeverHidden) {
  EXPECT_EQ("out of range", ResultOf("1 / ([P.kW] * 1e308 * 10)"));
  EXPECT_EQ("out of range", ResultOf("max(1, -([P.kW] * 1e308))"));
  EXPECT_EQ("out of range", ResultOf("[P.kW] * 1e308 > 5"));
  EXPECT_EQ("out of range", ResultOf("5 < [P.kW] * 1e308 and [P.run]"));
  EXPECT_EQ("out of range", ResultOf("1e308 - -1e308"));
  EXPECT_EQ("out of range", ResultOf("if([P.kW] * 1e308 * 10, 1, 2)"));
}

TEST_F(Evaluator, WhatDecidesAloneNeedsNothingElse) {
  EXPECT_EQ("false", ResultOf("available([P.off]) and [P.off] > 5"));
  EXPECT_EQ("true", ResultOf("not available([P.off]) or [P.off] > 5"));
  EXPECT_EQ("false", ResultOf("[P.kW] > 100 and [P.off] > 5"));
  EXPECT_EQ("false", ResultOf("[P.kW] > 100 and [P.off] > [P.kW] and [P.mode] < [P.nothing]"));
  EXPECT_EQ("true", ResultOf("[P.kW] < 100 or [P.off] > 5 or [P.nothing] = 3"));
  EXPECT_EQ("unavailable", ResultOf("[P.kW] < 100 and [P.off] > 5"));
  EXPECT_EQ("unavailable", ResultOf("[P.off] > 5 and [P.kW] > 100"));
  EXPECT_EQ("unknown", ResultOf("[P.kW] > 100 or [P.run] < [P.nothing]"));
  EXPECT_EQ("2", ResultOf("if(available([P.off]), [P.off], 2)"));
}

TEST_F(Evaluator, NestedChainsDecideLikeTheirParts) {
  for (int bits = 0; bits < 8; ++bits) {
    const bool a = (bits & 1) != 0;
    const bool b = (bits & 2) != 0;
    const bool c = (bits & 4) != 0;
    site["b.a"].SetNumber(a, 1);
    site["b.b"].SetNumber(b, 1);
    site["b.c"].SetNumber(c, 1);
    const auto check = [](bool expected, const char* expression) {
      EXPECT_EQ(expected ? "true" : "false", ResultOf(expression)) << expression;
    };
    check((a && b) || c, "[b.a] and [b.b] or [b.c]");
    check(a && (b || c), "[b.a] and ([b.b] or [b.c])");
    check((a || b) && c, "([b.a] or [b.b]) and [b.c]");
    check(a || (b && c), "[b.a] = 1 or [b.b] = 1 and [b.c] = 1");
    check((a && b) || c, "([b.a] = 1 and [b.b] = 1) or [b.c] = 1");
    check(!(a && b) || c, "not ([b.a] = 1 and [b.b] = 1) or [b.c] = 1");
    check(!(a && b), "not ([b.a] = 1 and [b.b] = 1)");
    check(!(a || (b && c)), "!([b.a]=1 or (abs([b.b])=1 and abs([b.c])=1))");
    check((a || (b && c)) && c, "([b.a] or ([b.b] and [b.c])) and [b.c]");
    check((a && b) ? c : !c, "if([b.a] and [b.b], [b.c] = 1, [b.c] = 0)");
    check((a || b) ? (c && a) : (c || b), "if([b.a] or [b.b], [b.c] and [b.a], [b.c] or [b.b])");
  }
}

// --- texts ---

TEST_F(Evaluator, TextsAreComparedUnitByUnit) {
  EXPECT_EQ("true", ResultOf("[P.mode] = \"auto\""));
  EXPECT_EQ("false", ResultOf("[P.mode] = \"Auto\""));
  EXPECT_EQ("true", ResultOf("\"auto\" <> \"autos\""));
  EXPECT_EQ("true", ResultOf("[P.mode] = [P.mode]"));
  EXPECT_EQ("wrong type", ResultOf("[P.mode] = [P.kW]"));
  EXPECT_EQ("wrong type", ResultOf("[P.kW] = \"7.5\""));
  EXPECT_EQ("unavailable", ResultOf("[P.off] = \"auto\""));
}

TEST_F(Evaluator, ATextIsAResult) {
  EXPECT_EQ("\"auto\"", ResultOf("[P.mode]"));
  EXPECT_EQ("\"say \"on\" \\ \xC3\xB1\"", ResultOf("\"say \\\"on\\\" \\\\ \xC3\xB1\""));
  EXPECT_EQ("\"\"", ResultOf("\"\""));
  EXPECT_EQ("\"high\"", ResultOf("if([P.kW] > 5, \"high\", \"low\")"));
  EXPECT_EQ("7.5", ResultOf("if([P.run], [P.kW], [P.mode])"));
}

TEST_F(Evaluator, ATextHasTheValueZero) {
  ZREvaluator evaluator;
  Give(evaluator, "[P.mode]");
  double value = 5.0;
  int type = 5;
  ASSERT_EQ(ZREvaluator::kSuccess, evaluator.Evaluate(value, type));
  EXPECT_EQ(0.0, value);
  EXPECT_EQ(ZREvaluator::kTypeText, type);
  ZRVSValue* object = nullptr;
  ASSERT_EQ(ZREvaluator::kSuccess, evaluator.Evaluate(&object, type));
  const std::unique_ptr<ZRVSValue> owned(object);
  EXPECT_EQ(ZRVSValue::kText, owned->Type() & ZRVSValue::kText);
}

TEST_F(Evaluator, NoValueObjectIsMadeOnAnError) {
  ZREvaluator evaluator;
  Give(evaluator, "[P.off]");
  ZRVSValue* object = nullptr;
  int type = 5;
  EXPECT_EQ(ZREvaluator::kUnavailable, evaluator.Evaluate(&object, type));
  EXPECT_EQ(nullptr, object);
  EXPECT_EQ(5, type);
}

// --- what it costs ---

TEST_F(Evaluator, AConstantHoldsNoMemory) {
  for (const char* expression : {"0", "2.5", "60 * 5", "-1", "sqrt(2)", "true", "1 > 2"}) {
    ZREvaluator evaluator;
    Give(evaluator, expression);
    EXPECT_NE(kInvalid, evaluator.AnalizeExpression());
    EXPECT_EQ(0u, evaluator.MemoryUsed()) << expression;
  }
}

TEST_F(Evaluator, AConstantErrorIsStillAnError) {
  EXPECT_EQ(kNumeric, ClassOf("1 / 0"));
  EXPECT_EQ("division by zero", ResultOf("1 / 0"));
  EXPECT_EQ("out of range", ResultOf("sqrt(-1)"));
}

TEST_F(Evaluator, AnalysedConditionsAreSmall) {
  ZREvaluator evaluator;
  Give(evaluator, "([P.a]+[P.b]+[P.c])/3 > 16 or abs([P.d]-[P.e]) > 5");
  EXPECT_EQ(kLogical, evaluator.AnalizeExpression());
  EXPECT_LE(evaluator.MemoryUsed() + sizeof(evaluator), 160u);
}

}  // namespace
