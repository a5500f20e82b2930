#include "host/driversupport/zrexpressionmachine.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "host/driversupport/zrevaluator.h"
#include "host/driversupport/zrexpressioncompiler.h"
#include "host/driversupport/zrexpressionfunctions.h"
#include "host/driversupport/zrlivevalue.h"
#include "host/platform/zrplatform.h"

namespace {

using tagOperation = ZROperation;
using tagOperands = ZROperands;

constexpr std::uint8_t Code(tagOperation operation, tagOperands operands = tagOperands::kStack) {
  return ZRInstruction(operation, operands);
}

// A text in the accumulator or on the stack: a NaN that tells its place among the operands.
constexpr std::uint64_t kTextMark = 0xFFFC'0000'0000'0000;
constexpr std::uint64_t kConstantMark = 0x0001'0000;  // a text of the program, not a variable's

double TextAt(std::size_t place) {
  return std::bit_cast<double>(kTextMark | place);
}
double ConstantTextAt(std::size_t place) {
  return std::bit_cast<double>(kTextMark | kConstantMark | place);
}
bool IsText(double value) {
  return value != value;
}
bool IsFinite(double value) {
  return std::fabs(value) <= std::numeric_limits<double>::max();
}

// Why a variable gives no number.
[[gnu::cold, gnu::noinline]] int WhyNoNumber(const ZRLiveValue& variable) {
  if (variable.HoldsText()) return ZREvaluator::kWrongType;
  return variable.Quality() == ZRQuality::kUnknown ? ZREvaluator::kUnknown
                                                   : ZREvaluator::kUnavailable;
}

// Seconds since the last good value.
int Age(const ZRLiveValue& variable, double& result) {
  if (variable.Quality() == ZRQuality::kUnknown) return ZREvaluator::kUnknown;
  const std::int64_t last = variable.LastGood();
  if (last == 0) return ZREvaluator::kUnavailable;
  const std::int64_t gone = ZRPlatform::Get().UtcMilliseconds() - last;
  result = std::max(0.0, static_cast<double>(gone) / 1000.0);
  return ZREvaluator::kSuccess;
}

// Equal or not: two numbers or two texts. The unit bit of `test` that holds.
int RelationOfAny(const ZRExpressionWord* operands, double left, double right, unsigned& relation) {
  if (IsText(left) != IsText(right)) return ZREvaluator::kWrongType;
  if (!IsText(left)) {
    relation = left == right ? ZRTest::kEqual : ZRTest::kLess;
    return ZREvaluator::kSuccess;
  }
  char buffers[2][ZRLiveValue::kMaximumText];
  std::string_view leftText;
  std::string_view rightText;
  if (!ZRExpressionMachine::Text(operands, left, buffers[0], leftText) ||
      !ZRExpressionMachine::Text(operands, right, buffers[1], rightText)) {
    return ZREvaluator::kUnavailable;
  }
  relation = leftText == rightText ? ZRTest::kEqual : ZRTest::kLess;
  return ZREvaluator::kSuccess;
}

// Loads a variable or a text of the program, whichever it is.
int LoadAny(const ZRExpressionWord* operands, std::size_t place, double& value) {
  const ZRLiveValue& variable = *operands[place].variable;
  if (variable.Number(value)) return ZREvaluator::kSuccess;
  if (!variable.HoldsText()) return WhyNoNumber(variable);
  value = TextAt(place);
  return ZREvaluator::kSuccess;
}

}  // namespace

bool ZRExpressionMachine::Text(const ZRExpressionWord* operands, double result, char* buffer,
                               std::string_view& utf8) {
  const auto mark = std::bit_cast<std::uint64_t>(result);
  const ZRExpressionWord* const word = operands + (mark & 0xFFFF);
  if ((mark & kConstantMark) != 0) {
    utf8 = std::string_view(word[1].bytes, word->length);
    return true;
  }
  std::size_t length = 0;
  if (!word->variable->Text(buffer, length)) return false;
  utf8 = std::string_view(buffer, length);
  return true;
}

// The next operand is a variable: its number as `name`, or the end.
#define ZR_NUMBER(name)                                     \
  const double name = operand->variable->NumberOrNan();     \
  if (name != name) return WhyNoNumber(*operand->variable); \
  ++operand

// An operation on `left` and `right`, for every place where they can be.
#define ZR_ON_TWO(operation, statement)                                 \
  case Code(tagOperation::operation, tagOperands::kStack): {            \
    const double left = *--top;                                         \
    const double right = value;                                         \
    statement;                                                          \
  }                                                                     \
  case Code(tagOperation::operation, tagOperands::kVariable): {         \
    const double left = value;                                          \
    ZR_NUMBER(right);                                                   \
    statement;                                                          \
  }                                                                     \
  case Code(tagOperation::operation, tagOperands::kConstant): {         \
    const double left = value;                                          \
    const double right = (operand++)->number;                           \
    statement;                                                          \
  }                                                                     \
  case Code(tagOperation::operation, tagOperands::kVariables): {        \
    ZR_NUMBER(left);                                                    \
    ZR_NUMBER(right);                                                   \
    statement;                                                          \
  }                                                                     \
  case Code(tagOperation::operation, tagOperands::kVariableConstant): { \
    ZR_NUMBER(left);                                                    \
    const double right = (operand++)->number;                           \
    statement;                                                          \
  }

#define ZR_FINITE(result)                                \
  value = result;                                        \
  if (!IsFinite(value)) return ZREvaluator::kOutOfRange; \
  continue

#define ZR_COMPARE                                                                         \
  relation = (left < right ? ZRTest::kLess : 0u) | (left == right ? ZRTest::kEqual : 0u) | \
             (left > right ? ZRTest::kGreater : 0u);                                       \
  break

// The cases end by `continue`, those of the comparisons by `break`: what follows the switch is
// the test that they have in common.
// NOLINTNEXTLINE(readability-function-size, readability-function-cognitive-complexity)
int ZRExpressionMachine::Run(const ZRExpressionCode& code, double& result) {
  const ZRExpressionWord* const operands = code.Operands();
  const ZRExpressionWord* operand = operands;
  const std::uint8_t* at = code.Instructions();
  double stack[ZRExpressionCompiler::kMaximumStack];
  double* top = stack;
  double value = 0.0;
  for (;;) {
    unsigned relation = 0;
    const std::uint8_t instruction = *at++;
    switch (instruction) {
      case Code(tagOperation::kEnd):
        result = value;
        return ZREvaluator::kSuccess;
      case Code(tagOperation::kPush):
        *top++ = value;
        continue;
      case Code(tagOperation::kLoad, tagOperands::kVariable): {
        ZR_NUMBER(number);
        value = number;
        continue;
      }
      case Code(tagOperation::kLoad, tagOperands::kConstant):
        value = (operand++)->number;
        continue;

        ZR_ON_TWO(kAdd, ZR_FINITE(left + right))
        ZR_ON_TWO(kSubtract, ZR_FINITE(left - right))
        ZR_ON_TWO(kMultiply, ZR_FINITE(left * right))
        ZR_ON_TWO(kDivide, if (right == 0.0) return ZREvaluator::kDivisionByZero;
                  ZR_FINITE(left / right))
        ZR_ON_TWO(kMinimum, value = right < left ? right : left; continue)
        ZR_ON_TWO(kMaximum, value = left < right ? right : left; continue)
        ZR_ON_TWO(kCompare, ZR_COMPARE)

      case Code(tagOperation::kCompareZero):
        relation = value == 0.0 ? ZRTest::kEqual : ZRTest::kLess;
        break;
      case Code(tagOperation::kNegate):
        value = -value;
        continue;
      case Code(tagOperation::kAbsolute):
        value = std::fabs(value);
        continue;
      case Code(tagOperation::kAvailable, tagOperands::kVariable):
        value = (operand++)->variable->Quality() == ZRQuality::kGood ? 1.0 : 0.0;
        continue;

      case Code(tagOperation::kJump): {
        ZRJumpOffset offset;
        std::memcpy(&offset, at, sizeof(offset));
        at += sizeof(offset) + offset.bytes;
        operand += offset.words;
        continue;
      }
      case Code(tagOperation::kLoadAny, tagOperands::kVariable): {
        double any = 0.0;
        const int error = LoadAny(operands, static_cast<std::size_t>(operand - operands), any);
        if (error != ZREvaluator::kSuccess) return error;
        value = any;
        ++operand;
        continue;
      }
      case Code(tagOperation::kLoadAny, tagOperands::kText):
        value = ConstantTextAt(static_cast<std::size_t>(operand - operands));
        operand += 1 + (operand->length + 7) / 8;
        continue;
      case Code(tagOperation::kCompareAny): {
        const int error = RelationOfAny(operands, *--top, value, relation);
        if (error != ZREvaluator::kSuccess) return error;
        break;
      }
      case Code(tagOperation::kAge, tagOperands::kVariable): {
        double seconds = 0.0;
        const int error = Age(*(operand++)->variable, seconds);
        if (error != ZREvaluator::kSuccess) return error;
        value = seconds;
        continue;
      }
      default: {
        double outcome = 0.0;
        top -= ZRExpressionFunctions::FromStack(ZROperationOf(instruction));
        const int error =
            ZRExpressionFunctions::Apply(ZROperationOf(instruction), top, value, outcome);
        if (error != ZREvaluator::kSuccess) return error;
        value = outcome;
        continue;
      }
    }

    const unsigned test = *at++;
    const unsigned isTrue = (test & relation) != 0 ? 1 : 0;
    value = isTrue;
    if ((test & (ZRTest::kLeaveIfFalse << isTrue)) == 0) {
      if ((test & ZRTest::kLeave) != 0) at += sizeof(ZRJumpOffset);
      continue;
    }
    if ((test & ZRTest::kLeaveToEnd) != 0) {
      result = value;
      return ZREvaluator::kSuccess;
    }
    ZRJumpOffset offset;
    std::memcpy(&offset, at, sizeof(offset));
    at += sizeof(offset) + offset.bytes;
    operand += offset.words;
  }
}
