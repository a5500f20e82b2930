#include "host/driversupport/zrexpressionmachine.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "host/driversupport/zrevaluator.h"
#include "host/driversupport/zrexpressionfunctions.h"
#include "host/driversupport/zrlivevalue.h"
#include "host/platform/zrplatform.h"

namespace {

using tagInstruction = ZRInstruction;

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

// Whether two numbers or two texts are the same.
int AreEqual(const ZRExpressionWord* operands, double left, double right, bool& result) {
  if (IsText(left) != IsText(right)) return ZREvaluator::kWrongType;
  if (!IsText(left)) {
    result = left == right;
    return ZREvaluator::kSuccess;
  }
  char buffers[2][ZRLiveValue::kMaximumText];
  std::string_view leftText;
  std::string_view rightText;
  if (!ZRExpressionMachine::Text(operands, left, buffers[0], leftText) ||
      !ZRExpressionMachine::Text(operands, right, buffers[1], rightText)) {
    return ZREvaluator::kUnavailable;
  }
  result = leftText == rightText;
  return ZREvaluator::kSuccess;
}

// Loads a variable's number or text, whichever it has.
int LoadAny(const ZRExpressionWord* operands, std::size_t place, double& value) {
  const ZRLiveValue& variable = *operands[place].variable;
  if (variable.Number(value)) return ZREvaluator::kSuccess;
  if (!variable.HoldsText()) return WhyNoNumber(variable);
  value = TextAt(place);
  return ZREvaluator::kSuccess;
}

// The quick instructions are executed without a call, each jumping right to the next one: the
// processor then foresees every jump from the instruction before it. For that the compiler's
// labels are taken as values.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"

// NOLINTBEGIN(bugprone-macro-parentheses): the arguments are statements and names
#define ZR_NEXT goto* kLabels[*at++]

// The next operand is a variable: its number as `name`, or the end of the program.
#define ZR_VARIABLE(name)                                   \
  const double name = operand->variable->NumberOrNan();     \
  if (name != name) return WhyNoNumber(*operand->variable); \
  ++operand

// `statement` on `left` and `right`, for each place where they can be.
#define ZR_ON_TWO(name, suffix, statement)    \
  name##Stack##suffix : {                     \
    const double left = *--top;               \
    const double right = value;               \
    statement;                                \
  }                                           \
  name##Variable##suffix : {                  \
    const double left = value;                \
    ZR_VARIABLE(right);                       \
    statement;                                \
  }                                           \
  name##Constant##suffix : {                  \
    const double left = value;                \
    const double right = (operand++)->number; \
    statement;                                \
  }                                           \
  name##Variables##suffix : {                 \
    ZR_VARIABLE(left);                        \
    ZR_VARIABLE(right);                       \
    statement;                                \
  }                                           \
  name##VariableConstant##suffix : {          \
    ZR_VARIABLE(left);                        \
    const double right = (operand++)->number; \
    statement;                                \
  }

#define ZR_FINITE(result)                                \
  value = result;                                        \
  if (!IsFinite(value)) return ZREvaluator::kOutOfRange; \
  ZR_NEXT

// A comparison joined to the accumulator, which is 1 or 0: if that is `deciding`, the variables
// needn't have a number.
#define ZR_JOINED(name, suffix, deciding, join, conclusion)                                    \
  name##Variables##suffix : {                                                                  \
    const double left = operand[0].variable->NumberOrNan();                                    \
    const double right = operand[1].variable->NumberOrNan();                                   \
    if (left != left || right != right) {                                                      \
      if (value != deciding) return WhyNoNumber(*operand[left != left ? 0 : 1].variable);      \
    }                                                                                          \
    operand += 2;                                                                              \
    const unsigned test = *at++;                                                               \
    const unsigned isTrue = static_cast<unsigned>(value != 0.0) join Holds(test, left, right); \
    conclusion;                                                                                \
  }                                                                                            \
  name##VariableConstant##suffix : {                                                           \
    const double left = operand[0].variable->NumberOrNan();                                    \
    const double right = operand[1].number;                                                    \
    if (left != left) {                                                                        \
      if (value != deciding) return WhyNoNumber(*operand[0].variable);                         \
    }                                                                                          \
    operand += 2;                                                                              \
    const unsigned test = *at++;                                                               \
    const unsigned isTrue = static_cast<unsigned>(value != 0.0) join Holds(test, left, right); \
    conclusion;                                                                                \
  }

#define ZR_TESTED(suffix, conclusion)                                     \
  ZR_ON_TWO(Compare, suffix, const unsigned test = *at++;                 \
            const unsigned isTrue = Holds(test, left, right); conclusion) \
  ZR_JOINED(And, suffix, 0.0, &, conclusion)                              \
  ZR_JOINED(Or, suffix, 1.0, |, conclusion)                               \
  CompareZero##suffix : {                                                 \
    const unsigned test = *at++;                                          \
    const unsigned isTrue = Holds(test, value, 0.0);                      \
    conclusion;                                                           \
  }

// The three things that can follow a test.
#define ZR_GO_ON  \
  value = isTrue; \
  ZR_NEXT
#define ZR_LEAVE                                                        \
  value = isTrue;                                                       \
  if (isTrue != (test & ZRTest::kLeaveIfTrue) / ZRTest::kLeaveIfTrue) { \
    at += sizeof(ZRJumpOffset);                                         \
    ZR_NEXT;                                                            \
  }                                                                     \
  if ((test & ZRTest::kLeaveToEnd) == 0) {                              \
    ZR_JUMP;                                                            \
    ZR_NEXT;                                                            \
  }                                                                     \
  result = value;                                                       \
  return ZREvaluator::kSuccess
#define ZR_END     \
  result = isTrue; \
  return ZREvaluator::kSuccess

#define ZR_JUMP                             \
  ZRJumpOffset offset{};                    \
  std::memcpy(&offset, at, sizeof(offset)); \
  at += sizeof(offset) + offset.bytes;      \
  operand += offset.words

// 1 if the relation between the two numbers is one of the test's.
inline unsigned Holds(unsigned test, double left, double right) {
  const unsigned relation = (left >= right ? 1u : 0u) + (left > right ? 1u : 0u);
  return test >> relation & 1u;
}

}  // namespace

// NOLINTNEXTLINE(readability-function-size, readability-function-cognitive-complexity)
int ZRExpressionMachine::ExecuteQuick(const std::uint8_t* at, const ZRExpressionWord* operand,
                                      double* top, double value, double& result, tagState& rare) {
  static const void* const kLabels[] = {
#define ZR_LABEL(name, operands) &&name,
#define ZR_RARE_LABEL(name, operands) &&Rare,
      ZR_QUICK_INSTRUCTIONS(ZR_LABEL) ZR_RARE_INSTRUCTIONS(ZR_RARE_LABEL)
#undef ZR_LABEL
#undef ZR_RARE_LABEL
  };
  ZR_NEXT;

End:
  result = value;
  return ZREvaluator::kSuccess;
Push:
  *top++ = value;
  ZR_NEXT;
LoadVariable : {
  ZR_VARIABLE(number);
  value = number;
  ZR_NEXT;
}
LoadConstant:
  value = (operand++)->number;
  ZR_NEXT;
Jump : {
  ZR_JUMP;
  ZR_NEXT;
}
Negate:
  value = -value;
  ZR_NEXT;
Absolute:
  value = std::fabs(value);
  ZR_NEXT;
Available:
  value = (operand++)->variable->Quality() == ZRQuality::kGood ? 1.0 : 0.0;
  ZR_NEXT;

  ZR_ON_TWO(Add, , ZR_FINITE(left + right))
  ZR_ON_TWO(Subtract, , ZR_FINITE(left - right))
  ZR_ON_TWO(Multiply, , ZR_FINITE(left * right))
  ZR_ON_TWO(Divide, , if (right == 0.0) return ZREvaluator::kDivisionByZero;
            ZR_FINITE(left / right))
  ZR_ON_TWO(Minimum, , value = right < left ? right : left; ZR_NEXT)
  ZR_ON_TWO(Maximum, , value = left < right ? right : left; ZR_NEXT)
  ZR_TESTED(, ZR_GO_ON)
  ZR_TESTED(Leave, ZR_LEAVE)
  ZR_TESTED(End, ZR_END)

Rare:
  rare = {at - 1, operand, top, value};
  return kRare;
}

// NOLINTEND(bugprone-macro-parentheses)
#pragma GCC diagnostic pop

int ZRExpressionMachine::ExecuteRare(tagState& state, const ZRExpressionWord* operands) {
  const auto instruction = static_cast<tagInstruction>(*state.at++);
  const auto place = static_cast<std::size_t>(state.operand - operands);
  switch (instruction) {
    case tagInstruction::kLoadAnyVariable:
      ++state.operand;
      return LoadAny(operands, place, state.value);
    case tagInstruction::kLoadText:
      state.operand += 1 + (state.operand->length + 7) / 8;
      state.value = ConstantTextAt(place);
      return ZREvaluator::kSuccess;
    case tagInstruction::kAge:
      return Age(*(state.operand++)->variable, state.value);
    case tagInstruction::kEqualAny:
    case tagInstruction::kDifferentAny: {
      bool areEqual = false;
      const int error = AreEqual(operands, *--state.top, state.value, areEqual);
      state.value = areEqual == (instruction == tagInstruction::kEqualAny) ? 1.0 : 0.0;
      return error;
    }
    default:
      state.top -= ZRExpressionFunctions::FromStack(instruction);
      return ZRExpressionFunctions::Apply(instruction, state.top, state.value, state.value);
  }
}

int ZRExpressionMachine::GoOn(tagState& state, const ZRExpressionWord* operands, double& result) {
  int outcome = kRare;
  while (outcome == kRare) {
    outcome = ExecuteRare(state, operands);
    if (outcome != ZREvaluator::kSuccess) return outcome;
    outcome = ExecuteQuick(state.at, state.operand, state.top, state.value, result, state);
  }
  return outcome;
}

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
