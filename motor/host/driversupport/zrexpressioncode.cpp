#include "host/driversupport/zrexpressioncode.h"

#include <utility>

#include "host/driversupport/zrlivevalue.h"

namespace {

// Bytes of the instruction at `at`, all included.
std::size_t InstructionLength(const std::uint8_t* at) {
  switch (ZROperationOf(at[0])) {
    case ZROperation::kJump:
      return 1 + sizeof(ZRJumpOffset);
    case ZROperation::kCompare:
    case ZROperation::kCompareZero:
    case ZROperation::kCompareAny:
      return ZRTest::HasOffset(at[1]) ? 2 + sizeof(ZRJumpOffset) : 2;
    default:
      return 1;
  }
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
  for (; at != end; at += InstructionLength(at)) {
    switch (ZROperandsOf(*at)) {
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
