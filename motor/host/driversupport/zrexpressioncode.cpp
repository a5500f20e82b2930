#include "host/driversupport/zrexpressioncode.h"

#include <string_view>
#include <utility>

#include "host/driversupport/zrlivevalue.h"

namespace {

ZROperands OperandsOf(ZRInstruction instruction) {
  static constexpr ZROperands kOperands[] = {
#define ZR_OPERANDS(name, operands) ZROperands::operands,
      ZR_QUICK_INSTRUCTIONS(ZR_OPERANDS) ZR_RARE_INSTRUCTIONS(ZR_OPERANDS)
#undef ZR_OPERANDS
  };
  return kOperands[static_cast<std::size_t>(instruction)];
}

// A letter for each word of operands: v for a variable, c for a constant.
std::string_view WordsOf(ZROperands operands) {
  switch (operands) {
    case ZROperands::kVariable:
      return "v";
    case ZROperands::kConstant:
      return "c";
    case ZROperands::kVariables:
    case ZROperands::kPushVariables:
      return "vv";
    case ZROperands::kVariableConstant:
      return "vc";
    case ZROperands::kConstants:
      return "cc";
    case ZROperands::kThreeVariables:
      return "vvv";
    case ZROperands::kFourVariables:
      return "vvvv";
    case ZROperands::kStack:
    case ZROperands::kText:
      break;
  }
  return {};
}

// Bytes of an instruction, all included.
std::size_t LengthOf(ZRInstruction instruction) {
  if (instruction == ZRInstruction::kJump) return 1 + sizeof(ZRJumpOffset);
  if (instruction < ZRInstruction::kCompareStack) return 1;
  if (instruction > ZRInstruction::kCompareZeroEnd) return 1;
  const bool leaves = instruction >= ZRInstruction::kCompareStackLeave &&
                      instruction <= ZRInstruction::kCompareZeroLeave;
  return leaves ? 2 + sizeof(ZRJumpOffset) : 2;
}

}  // namespace

ZRExpressionCode::ZRExpressionCode(std::unique_ptr<ZRExpressionWord[]> block,
                                   std::uint16_t operands, std::uint16_t instructionBytes)
    : words(std::move(block)), operandWords(operands), bytesOfInstructions(instructionBytes) {}

ZRExpressionCode::~ZRExpressionCode() {
  ReleaseVariables();
}

ZRExpressionCode& ZRExpressionCode::operator=(ZRExpressionCode&& other) noexcept {
  ReleaseVariables();
  words = std::move(other.words);
  operandWords = other.operandWords;
  bytesOfInstructions = other.bytesOfInstructions;
  return *this;
}

std::size_t ZRExpressionCode::MemoryUsed() const {
  return words == nullptr ? 0 : operandWords * sizeof(ZRExpressionWord) + bytesOfInstructions;
}

void ZRExpressionCode::ReleaseVariables() {
  if (words == nullptr) return;
  ZRLiveValues& values = ZRLiveValues::Get();
  const ZRExpressionWord* word = words.get();
  const std::uint8_t* at = Instructions();
  const std::uint8_t* const end = at + bytesOfInstructions;
  while (at != end) {
    const auto instruction = static_cast<ZRInstruction>(*at);
    at += LengthOf(instruction);
    if (OperandsOf(instruction) == ZROperands::kText) word += 1 + (word->length + 7) / 8;
    for (const char kind : WordsOf(OperandsOf(instruction))) {
      if (kind == 'v') values.Release(word->variable);
      ++word;
    }
  }
}
