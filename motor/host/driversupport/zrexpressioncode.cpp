#include "host/driversupport/zrexpressioncode.h"

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
    switch (OperandsOf(instruction)) {
      case ZROperands::kStack:
        break;
      case ZROperands::kVariable:
        values.Release((word++)->variable);
        break;
      case ZROperands::kConstant:
        ++word;
        break;
      case ZROperands::kVariables:
        values.Release((word++)->variable);
        values.Release((word++)->variable);
        break;
      case ZROperands::kVariableConstant:
        values.Release(word->variable);
        word += 2;
        break;
      case ZROperands::kText:
        word += 1 + (word->length + 7) / 8;
        break;
    }
  }
}
