// What an expression becomes: instructions for a machine with one accumulator and a stack.
//
// A program is one block of memory that is read forward: first the operands (constants, live
// values, texts) as words of 8 bytes in the order of their use, then the instructions as bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

class ZRLiveValue;

enum class ZROperation : std::uint8_t {
  kEnd,      // the accumulator is the result
  kPush,     // the accumulator goes to the stack
  kLoad,     // a number (a variable's or a constant)
  kLoadAny,  // a number or a text (a variable's or a constant)
  kJump,     // always
  // Two numbers; every kind of operand.
  kAdd,
  kSubtract,
  kMultiply,
  kDivide,
  kMinimum,
  kMaximum,
  kCompare,
  // One number, or none.
  kCompareZero,
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
  // From the stack.
  kRemainder,
  kPower,
  kRoundTo,
  kBit,
  kBetween,
  kCompareAny,
};

// Where the operands of an instruction are.
enum class ZROperands : std::uint8_t {
  kStack,             // the left one, if there are two; the right one is the accumulator
  kVariable,          // the right one; the left one is the accumulator
  kConstant,          // the right one; the left one is the accumulator
  kVariables,         // both
  kVariableConstant,  // both
  kText,              // the length in bytes, then UTF-8 filled up to whole words
};

// An instruction's first byte.
constexpr std::uint8_t ZRInstruction(ZROperation operation, ZROperands operands) {
  return static_cast<std::uint8_t>(static_cast<unsigned>(operation) << 3u |
                                   static_cast<unsigned>(operands));
}
constexpr ZROperation ZROperationOf(std::uint8_t instruction) {
  return static_cast<ZROperation>(instruction >> 3u);
}
constexpr ZROperands ZROperandsOf(std::uint8_t instruction) {
  return static_cast<ZROperands>(instruction & 7u);
}

// The second byte of the comparisons: which relation makes them true, and whether the program
// goes on behind them. Where it may leave by one outcome only, an offset follows.
struct ZRTest {
  static constexpr unsigned kLess = 1;
  static constexpr unsigned kEqual = 2;
  static constexpr unsigned kGreater = 4;
  static constexpr unsigned kRelations = 7;

  static constexpr unsigned kLeaveIfFalse = 8;
  static constexpr unsigned kLeaveIfTrue = 16;
  static constexpr unsigned kLeave = kLeaveIfFalse | kLeaveIfTrue;
  static constexpr unsigned kLeaveToEnd = 32;  // and not to the place that the offset tells

  static constexpr bool HasOffset(unsigned test) {
    return (test & kLeave) == kLeaveIfFalse || (test & kLeave) == kLeaveIfTrue;
  }
};

// How far to go from behind the offset, in instruction bytes and in operand words; also behind
// kJump.
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
