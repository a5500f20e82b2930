#include "host/base/zrvalue.h"

#include <gtest/gtest.h>

namespace {

TEST(Value, IsNothingAtFirst) {
  const ZRValue value;
  EXPECT_FALSE(value.IsNumeric());
  EXPECT_FALSE(value.IsString());
  EXPECT_EQ(0.0, value.Numeric());
  EXPECT_TRUE(value.String().IsEmpty());
}

TEST(Value, HoldsTheNumberAndForgetsTheText) {
  ZRValue value;
  value.SetString(L"text");
  value.SetNumeric(2.5);
  EXPECT_TRUE(value.IsNumeric());
  EXPECT_FALSE(value.IsString());
  EXPECT_EQ(2.5, value.Numeric());
  EXPECT_TRUE(value.String().IsEmpty());
}

TEST(Value, HoldsTheTextAndForgetsTheNumber) {
  ZRValue value;
  value.SetNumeric(2.5);
  value.SetString(L"text");
  EXPECT_FALSE(value.IsNumeric());
  EXPECT_TRUE(value.IsString());
  EXPECT_EQ(0.0, value.Numeric());
  EXPECT_TRUE(value.String() == L"text");
}

TEST(EvaluatorResult, TellsTextFromNumberByItsType) {
  const ZRVSValue number(1.5);
  EXPECT_EQ(0, number.Type() & ZRVSValue::kText);
  EXPECT_EQ(1.5, number.Double());
  EXPECT_TRUE(number.String().IsEmpty());
  const ZRVSValue text(ZRWString(L"on"));
  EXPECT_NE(0, text.Type() & ZRVSValue::kText);
  EXPECT_EQ(0.0, text.Double());
  EXPECT_TRUE(text.String() == L"on");
}

TEST(EvaluatorResult, CopiesItselfIntoAValue) {
  ZRValue value;
  ZRVSValue(ZRWString(L"on")).CopyTo(value);
  EXPECT_TRUE(value.IsString());
  EXPECT_TRUE(value.String() == L"on");
  ZRVSValue(1.5).CopyTo(value);
  EXPECT_TRUE(value.IsNumeric());
  EXPECT_EQ(1.5, value.Numeric());
}

}  // namespace
