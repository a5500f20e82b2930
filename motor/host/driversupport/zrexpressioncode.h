// What an expression becomes: instructions for a machine with one accumulator and a stack.
//
// A program is one block of memory that is read forward: first the operands (constants, live
// values, texts) as words of 8 bytes in the order of their use, then the instructions as bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

class ZRLiveValue;

// What is done with values.
enum class ZROperation : std::uint8_t {
  kAdd,
  kSubtract,
  kMultiply,
  kDivide,
  kMinimum,
  kMaximum,
  kCompare,
  kCompareZero,
  kCompareAny,  // two numbers or two texts
  kNegate,
  kAbsolute,
  kAvailable,
  kAge,
  kSign,
  kFloor,
  kCeiling,
  kTruncate,
  kRound,
  kSquareRoot,
  kExponential,
  kLogarithm,
  kLogarithm10,
  kRemainder,
  kPower,
  kRoundTo,
  kBit,
  kBetween,
};

// Where the operands of an instruction are.
enum class ZROperands : std::uint8_t {
  kStack,             // the left one, if there are two; the right one is the accumulator
  kVariable,          // the right one; the left one is the accumulator
  kConstant,          // the right one; the left one is the accumulator
  kVariables,         // both
  kVariableConstant,  // both
  kPushVariables,     // both; the accumulator is pushed first
  kConstants,         // two right ones; the left one is the accumulator
  kThreeVariables,    // all
  kFourVariables,     // all
  kText,              // the length in bytes, then UTF-8 filled up to whole words
};

// The instructions: name, and where the operands are. Those of a family stand together, in the
// order of ZROperands.
//
//   ...Stack to ...PushVariables   on two numbers
//   Compare...                     followed by a test: the accumulator becomes 1 or 0
//   CompareDifference              the stack less the accumulator, with a constant
//   CompareQuotient                the accumulator by a constant, with another one
//   CompareMagnitude               the accumulator without its sign, with a constant
//   And..., Or...                  the accumulator, which is 1 or 0, and a comparison
//   ...Leave                       leaves by one outcome of the test: an offset follows too
//   ...End                         ends the program with the outcome of the test
#define ZR_FAMILY(X, name)                     \
  X(name##Stack, kStack)                       \
  X(name##Variable, kVariable)                 \
  X(name##Constant, kConstant)                 \
  X(name##Variables, kVariables)               \
  X(name##VariableConstant, kVariableConstant) \
  X(name##PushVariables, kPushVariables)
#define ZR_TESTS(X, suffix)                             \
  X(CompareStack##suffix, kStack)                       \
  X(CompareVariable##suffix, kVariable)                 \
  X(CompareConstant##suffix, kConstant)                 \
  X(CompareVariables##suffix, kVariables)               \
  X(CompareVariableConstant##suffix, kVariableConstant) \
  X(CompareDifference##suffix, kConstant)               \
  X(CompareQuotient##suffix, kConstants)                \
  X(CompareMagnitude##suffix, kConstant)                \
  X(AndVariables##suffix, kVariables)                   \
  X(AndVariableConstant##suffix, kVariableConstant)     \
  X(OrVariables##suffix, kVariables)                    \
  X(OrVariableConstant##suffix, kVariableConstant)      \
  X(CompareZero##suffix, kStack)
#define ZR_QUICK_INSTRUCTIONS(X) \
  X(End, kStack)                 \
  X(EndAny, kStack)              \
  X(Push, kStack)                \
  X(LoadVariable, kVariable)     \
  X(LoadConstant, kConstant)     \
  X(Jump, kStack)                \
  X(Negate, kStack)              \
  X(Absolute, kStack)            \
  X(Available, kVariable)        \
  X(AddThree, kThreeVariables)   \
  X(AddFour, kFourVariables)     \
  ZR_FAMILY(X, Add)              \
  ZR_FAMILY(X, Subtract)         \
  ZR_FAMILY(X, Multiply)         \
  ZR_FAMILY(X, Divide)           \
  ZR_FAMILY(X, Minimum)          \
  ZR_FAMILY(X, Maximum)          \
  ZR_TESTS(X, )                  \
  ZR_TESTS(X, Leave)             \
  ZR_TESTS(X, End)
#define ZR_RARE_INSTRUCTIONS(X) \
  X(LoadAnyVariable, kVariable) \
  X(LoadText, kText)            \
  X(EqualAny, kStack)           \
  X(DifferentAny, kStack)       \
  X(Age, kVariable)             \
  X(Sign, kStack)               \
  X(Floor, kStack)              \
  X(Ceiling, kStack)            \
  X(Truncate, kStack)           \
  X(Round, kStack)              \
  X(SquareRoot, kStack)         \
  X(Exponential, kStack)        \
  X(Logarithm, kStack)          \
  X(Logarithm10, kStack)        \
  X(Remainder, kStack)          \
  X(Power, kStack)              \
  X(RoundTo, kStack)            \
  X(Bit, kStack)                \
  X(Between, kStack)

enum class ZRInstruction : std::uint8_t {
#define ZR_NAME(name, operands) k##name,
  ZR_QUICK_INSTRUCTIONS(ZR_NAME) ZR_RARE_INSTRUCTIONS(ZR_NAME)
#undef ZR_NAME
};

// The second byte of the comparisons.
struct ZRTest {
  // The relations of the left operand to the right one that make it true.
  static constexpr unsigned kLess = 1;
  static constexpr unsigned kEqual = 2;
  static constexpr unsigned kGreater = 4;
  static constexpr unsigned kRelations = 7;

  // Of those that may leave: by which outcome, and whether that ends the program.
  static constexpr unsigned kLeaveIfTrue = 8;  // otherwise: if it is false
  static constexpr unsigned kLeaveToEnd = 16;  // and not to the place that the offset tells
};

// The form of a comparison that leaves, or that ends the program.
constexpr ZRInstruction ZRLeaving(ZRInstruction test) {
  return static_cast<ZRInstruction>(static_cast<unsigned>(test) +
                                    static_cast<unsigned>(ZRInstruction::kCompareStackLeave) -
                                    static_cast<unsigned>(ZRInstruction::kCompareStack));
}
constexpr ZRInstruction ZREnding(ZRInstruction test) {
  return static_cast<ZRInstruction>(static_cast<unsigned>(test) +
                                    static_cast<unsigned>(ZRInstruction::kCompareStackEnd) -
                                    static_cast<unsigned>(ZRInstruction::kCompareStack));
}

// How far to go from behind the offset, in instruction bytes and in operand words. Stands behind
// the tests that leave, and behind kJump.
struct ZRJumpOffset {
  std::uint16_t bytes;
  std::uint16_t words;
};
static_assert(sizeof(ZRJumpOffset) == 4);

union ZRExpressionWord {
  double number;
  ZRLiveValue* variable;
  std::uint64_t length;
  char bytes[8];
};
static_assert(sizeof(ZRExpressionWord) == 8);

// Owns   the block, and a reference to each live value in it, given back at the end.
class ZRExpressionCode {
 public:
  ZRExpressionCode() = default;
  // Takes over a block of `operands` words of operands and, from there on, `instructionBytes`
  // bytes of instructions.
  ZRExpressionCode(std::unique_ptr<ZRExpressionWord[]> block, std::uint16_t operands,
                   std::uint16_t instructionBytes);
  ~ZRExpressionCode();
  ZRExpressionCode(ZRExpressionCode&& other) noexcept = default;
  ZRExpressionCode& operator=(ZRExpressionCode&& other) noexcept;

  [[nodiscard]] const ZRExpressionWord* Operands() const { return words.get(); }
  [[nodiscard]] const std::uint8_t* Instructions() const {
    return reinterpret_cast<const std::uint8_t*>(words.get() + operandWords);
  }
  // Bytes on the heap.
  [[nodiscard]] std::size_t MemoryUsed() const;

 private:
  void ReleaseVariables();

  std::unique_ptr<ZRExpressionWord[]> words;
  std::uint16_t operandWords = 0;
  std::uint16_t bytesOfInstructions = 0;
};
