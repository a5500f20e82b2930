#include "host/driversupport/zrexpressionmachine.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

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
// Infinity less itself is none.
bool IsFinite(double value) {
  const double none = value - value;
  return none == none;
}

// Why a variable gives no number.
[[gnu::cold, gnu::noinline]] int WhyNoNumber(const ZRLiveValue& variable) {
  if (variable.HoldsText()) return ZREvaluator::kWrongType;
  return variable.Quality() == ZRQuality::kUnknown ? ZREvaluator::kUnknown
                                                   : ZREvaluator::kUnavailable;
}

// Why an operation on two numbers gives none. A missing one is a variable: the left one is the last
// but one of the operands in front of `behind`, the right one the last.
[[gnu::cold, gnu::noinline]] int WhyNoResult(const ZRExpressionWord* behind, double left,
                                             double right) {
  if (left != left) return WhyNoNumber(*behind[-2].variable);
  if (right != right) return WhyNoNumber(*behind[-1].variable);
  // Only a division fails by a 0.
  return right == 0.0 ? ZREvaluator::kDivisionByZero : ZREvaluator::kOutOfRange;
}

// Why the numbers of the variables from `first` on have no sum.
[[gnu::cold, gnu::noinline]] int WhyNoSum(const ZRExpressionWord* first, double a, double b,
                                          double c, double d) {
  double sum = 0.0;
  for (const double number : {a, b, c, d}) {
    if (number != number) return WhyNoNumber(*first->variable);
    sum += number;
    if (!IsFinite(sum)) break;
    ++first;
  }
  return ZREvaluator::kOutOfRange;
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

// NOLINTBEGIN(bugprone-macro-parentheses, clang-analyzer-core.uninitialized.Assign): the arguments
// are statements and names; a program pops only what it has pushed
#define ZR_NEXT goto* kLabels[*at++]

// The next operand as `name`: a constant, or a variable's number, which may be missing.
#define ZR_CONSTANT(name) const double name = (operand++)->number
#define ZR_VARIABLE(name) const double name = (operand++)->variable->NumberOrNan()

// Ends the program if one of the two numbers is missing.
#define ZR_NEED_BOTH \
  if (std::isunordered(left, right)) return WhyNoResult(operand, left, right)

// `statement` on `left` and `right`, for each place where they can be; in front of it `needed`
// where a number can be missing.
#define ZR_ON_TWO(name, suffix, needed, statement) \
  name##Stack##suffix : {                          \
    const double left = *--top;                    \
    const double right = value;                    \
    statement;                                     \
  }                                                \
  name##Variable##suffix : {                       \
    const double left = value;                     \
    ZR_VARIABLE(right);                            \
    needed;                                        \
    statement;                                     \
  }                                                \
  name##Constant##suffix : {                       \
    const double left = value;                     \
    ZR_CONSTANT(right);                            \
    statement;                                     \
  }                                                \
  name##Variables##suffix : {                      \
    ZR_VARIABLE(left);                             \
    ZR_VARIABLE(right);                            \
    needed;                                        \
    statement;                                     \
  }                                                \
  name##VariableConstant##suffix : {               \
    ZR_VARIABLE(left);                             \
    ZR_CONSTANT(right);                            \
    needed;                                        \
    statement;                                     \
  }
#define ZR_ARITHMETIC(name, needed, statement) \
  ZR_ON_TWO(name, , needed, statement)         \
  name##PushVariables : {                      \
    *top++ = value;                            \
    ZR_VARIABLE(left);                         \
    ZR_VARIABLE(right);                        \
    needed;                                    \
    statement;                                 \
  }

// A missing number and a division by 0 make a result that isn't finite either: one question for
// all.
#define ZR_NEED_FINITE(result) \
  if (!IsFinite(result)) return WhyNoResult(operand, left, right)
#define ZR_FINITE(result) \
  value = result;         \
  ZR_NEED_FINITE(value);  \
  ZR_NEXT

// A comparison joined to the accumulator, which is 1 or 0: if that is `deciding`, the variables
// needn't have a number.
#define ZR_JOINED(name, suffix, deciding, join, conclusion) \
  name##Variables##suffix : {                               \
    ZR_VARIABLE(left);                                      \
    ZR_VARIABLE(right);                                     \
    ZR_JOIN(deciding, join, conclusion);                    \
  }                                                         \
  name##VariableConstant##suffix : {                        \
    ZR_VARIABLE(left);                                      \
    ZR_CONSTANT(right);                                     \
    ZR_JOIN(deciding, join, conclusion);                    \
  }
#define ZR_JOIN(deciding, join, conclusion)                                                  \
  if (std::isunordered(left, right)) {                                                       \
    if (value != deciding) return WhyNoResult(operand, left, right);                         \
  }                                                                                          \
  const unsigned test = *at++;                                                               \
  const unsigned isTrue = static_cast<unsigned>(value != 0.0) join Holds(test, left, right); \
  conclusion

#define ZR_COMPARE(left, right, conclusion)         \
  const unsigned test = *at++;                      \
  const unsigned isTrue = Holds(test, left, right); \
  conclusion
#define ZR_TESTED(suffix, conclusion)                                           \
  ZR_ON_TWO(Compare, suffix, ZR_NEED_BOTH, ZR_COMPARE(left, right, conclusion)) \
  CompareDifference##suffix : {                                                 \
    const double left = *--top;                                                 \
    const double right = value;                                                 \
    const double difference = left - right;                                     \
    ZR_NEED_FINITE(difference);                                                 \
    ZR_CONSTANT(limit);                                                         \
    ZR_COMPARE(difference, limit, conclusion);                                  \
  }                                                                             \
  CompareQuotient##suffix : {                                                   \
    const double left = value;                                                  \
    ZR_CONSTANT(right);                                                         \
    const double quotient = left / right;                                       \
    ZR_NEED_FINITE(quotient);                                                   \
    ZR_CONSTANT(limit);                                                         \
    ZR_COMPARE(quotient, limit, conclusion);                                    \
  }                                                                             \
  CompareMagnitude##suffix : {                                                  \
    ZR_CONSTANT(limit);                                                         \
    ZR_COMPARE(std::fabs(value), limit, conclusion);                            \
  }                                                                             \
  ZR_JOINED(And, suffix, 0.0, &, conclusion)                                    \
  ZR_JOINED(Or, suffix, 1.0, |, conclusion)                                     \
  CompareZero##suffix : {                                                       \
    ZR_COMPARE(value, 0.0, conclusion);                                         \
  }

// Ends the program.
#define ZR_FINISH(number)         \
  *state.result = number;         \
  *state.resultType = state.type; \
  return ZREvaluator::kSuccess

// The three things that can follow a test. What doesn't leave needs the outcome no longer.
#define ZR_GO_ON  \
  value = isTrue; \
  ZR_NEXT
#define ZR_LEAVE                                            \
  if (((isTrue ^ test / ZRTest::kLeaveIfTrue) & 1u) != 0) { \
    at += sizeof(ZRJumpOffset);                             \
    ZR_NEXT;                                                \
  }                                                         \
  value = isTrue;                                           \
  if ((test & ZRTest::kLeaveToEnd) == 0) {                  \
    ZR_JUMP;                                                \
    ZR_NEXT;                                                \
  }                                                         \
  ZR_FINISH(value)
#define ZR_END ZR_FINISH(isTrue)

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
int ZRExpressionMachine::Execute(const std::uint8_t* at, double* result, int* resultType,
                                 const ZRExpressionWord* operand, int type, double* text) {
  static const void* const kLabels[] = {
#define ZR_LABEL(name, operands) &&name,
#define ZR_RARE_LABEL(name, operands) &&Rare,
      ZR_QUICK_INSTRUCTIONS(ZR_LABEL) ZR_RARE_INSTRUCTIONS(ZR_RARE_LABEL)
#undef ZR_LABEL
#undef ZR_RARE_LABEL
  };
  double stack[kMaximumStack];
  double* top = stack;
  double value = 0.0;
  // What a quick instruction doesn't need stays in memory, and leaves it the registers.
  tagState state;  // NOLINT(cppcoreguidelines-pro-type-member-init): the rest is for rare ones
  state.operands = operand;
  state.result = result;
  state.resultType = resultType;
  state.text = text;
  state.type = type;
  ZR_NEXT;

End:
  ZR_FINISH(value);
EndAny:
  if (!IsText(value)) {
    ZR_FINISH(value);
  }
  if (state.text != nullptr) *state.text = value;
  *state.result = 0.0;
  *state.resultType = ZREvaluator::kTypeText;
  return ZREvaluator::kSuccess;
Push:
  *top++ = value;
  ZR_NEXT;
LoadVariable : {
  ZR_VARIABLE(number);
  if (number != number) return WhyNoNumber(*operand[-1].variable);
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
AddThree : {
  ZR_VARIABLE(a);
  ZR_VARIABLE(b);
  ZR_VARIABLE(c);
  value = a + b + c;
  if (!IsFinite(value)) return WhyNoSum(operand - 3, a, b, c, 0.0);
  ZR_NEXT;
}
AddFour : {
  ZR_VARIABLE(a);
  ZR_VARIABLE(b);
  ZR_VARIABLE(c);
  ZR_VARIABLE(d);
  value = a + b + c + d;
  if (!IsFinite(value)) return WhyNoSum(operand - 4, a, b, c, d);
  ZR_NEXT;
}

  ZR_ARITHMETIC(Add, , ZR_FINITE(left + right))
  ZR_ARITHMETIC(Subtract, , ZR_FINITE(left - right))
  ZR_ARITHMETIC(Multiply, , ZR_FINITE(left * right))
  ZR_ARITHMETIC(Divide, , ZR_FINITE(left / right))
  ZR_ARITHMETIC(Minimum, ZR_NEED_BOTH, value = right < left ? right : left; ZR_NEXT)
  ZR_ARITHMETIC(Maximum, ZR_NEED_BOTH, value = left < right ? right : left; ZR_NEXT)
  ZR_TESTED(, ZR_GO_ON)
  ZR_TESTED(Leave, ZR_LEAVE)
  ZR_TESTED(End, ZR_END)

Rare : {
  state.at = at - 1;
  state.operand = operand;
  state.top = top;
  state.value = value;
  const int error = ExecuteRare(state);
  if (error != ZREvaluator::kSuccess) return error;
  at = state.at;
  operand = state.operand;
  top = state.top;
  value = state.value;
  ZR_NEXT;
}
}

// NOLINTEND(bugprone-macro-parentheses, clang-analyzer-core.uninitialized.Assign)
#pragma GCC diagnostic pop

int ZRExpressionMachine::ExecuteRare(tagState& state) {
  const auto instruction = static_cast<tagInstruction>(*state.at++);
  const auto place = static_cast<std::size_t>(state.operand - state.operands);
  switch (instruction) {
    case tagInstruction::kLoadAnyVariable:
      ++state.operand;
      return LoadAny(state.operands, place, state.value);
    case tagInstruction::kLoadText:
      state.operand += 1 + (state.operand->length + 7) / 8;
      state.value = ConstantTextAt(place);
      return ZREvaluator::kSuccess;
    case tagInstruction::kAge:
      return Age(*(state.operand++)->variable, state.value);
    case tagInstruction::kEqualAny:
    case tagInstruction::kDifferentAny: {
      bool areEqual = false;
      // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): what is popped has been pushed
      const int error = AreEqual(state.operands, *--state.top, state.value, areEqual);
      state.value = areEqual == (instruction == tagInstruction::kEqualAny) ? 1.0 : 0.0;
      return error;
    }
    default:
      state.top -= ZRExpressionFunctions::FromStack(instruction);
      return ZRExpressionFunctions::Apply(instruction, state.top, state.value, state.value);
  }
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
