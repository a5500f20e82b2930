#include "host/driversupport/zrexpressioncompiler.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "host/driversupport/zrlivevalue.h"
#include "host/tools/zrtext.h"

namespace {

using tagKind = ZRExpressionNode::tagKind;

bool IsFused(const ZRExpressionNode& node) {
  return node.kind == tagKind::kOperation && node.operation <= ZROperation::kCompare;
}

bool IsNumberOperand(const ZRExpressionNode& node) {
  return node.kind == tagKind::kNumber ||
         (node.kind == tagKind::kReference && node.type != ZRExpressionType::kAny);
}

constexpr ZRInstruction Behind(ZRInstruction instruction, unsigned count) {
  return static_cast<ZRInstruction>(static_cast<unsigned>(instruction) + count);
}

constexpr ZRInstruction FusedInstruction(ZROperation operation, ZROperands operands) {
  return Behind(ZRInstruction::kAddStack,
                6 * static_cast<unsigned>(operation) + static_cast<unsigned>(operands));
}
static_assert(FusedInstruction(ZROperation::kMaximum, ZROperands::kVariableConstant) ==
              ZRInstruction::kMaximumVariableConstant);
static_assert(FusedInstruction(ZROperation::kCompare, ZROperands::kVariables) ==
              ZRInstruction::kCompareVariables);

// A comparison of a variable that is joined to the accumulator.
constexpr ZRInstruction JoinedInstruction(ZRLeaveIf joinedTo, ZROperands operands) {
  const ZRInstruction first =
      joinedTo == ZRLeaveIf::kFalse ? ZRInstruction::kAndVariables : ZRInstruction::kOrVariables;
  return Behind(first, operands == ZROperands::kVariables ? 0 : 1);
}

// The instruction that does what the two do, one right behind the other; kEnd if there is none.
constexpr ZRInstruction Shortened(ZRInstruction first, ZRInstruction second) {
  using tagInstruction = ZRInstruction;
  constexpr struct {
    tagInstruction first;
    tagInstruction second;
    tagInstruction both;
  } kShorter[] = {
      {tagInstruction::kAddVariables, tagInstruction::kAddVariable, tagInstruction::kAddThree},
      {tagInstruction::kAddThree, tagInstruction::kAddVariable, tagInstruction::kAddFour},
      {tagInstruction::kSubtractStack, tagInstruction::kCompareConstant,
       tagInstruction::kCompareDifference},
      {tagInstruction::kDivideConstant, tagInstruction::kCompareConstant,
       tagInstruction::kCompareQuotient},
      {tagInstruction::kAbsolute, tagInstruction::kCompareConstant,
       tagInstruction::kCompareMagnitude},
  };
  for (const auto& shorter : kShorter) {
    if (shorter.first == first && shorter.second == second) return shorter.both;
  }
  return tagInstruction::kEnd;
}

// Of an operation on the stack and the accumulator alone.
constexpr ZRInstruction PlainInstruction(const ZRExpressionNode& node) {
  switch (node.operation) {
    case ZROperation::kNegate:
      return ZRInstruction::kNegate;
    case ZROperation::kAbsolute:
      return ZRInstruction::kAbsolute;
    case ZROperation::kCompareAny:
      return node.test == ZRTest::kEqual ? ZRInstruction::kEqualAny : ZRInstruction::kDifferentAny;
    default:
      return Behind(ZRInstruction::kSign, static_cast<unsigned>(node.operation) -
                                              static_cast<unsigned>(ZROperation::kSign));
  }
}
static_assert(static_cast<unsigned>(ZRInstruction::kBetween) -
                  static_cast<unsigned>(ZRInstruction::kSign) ==
              static_cast<unsigned>(ZROperation::kBetween) -
                  static_cast<unsigned>(ZROperation::kSign));

}  // namespace

ZRExpressionCompiler::ZRExpressionCompiler(std::wstring_view source,
                                           const std::vector<ZRExpressionNode>& toCompile)
    : text(source), nodes(toCompile) {
  words.reserve(nodes.size());
  bytes.reserve(4 * nodes.size());
}

ZRExpressionCode ZRExpressionCompiler::Compile() {
  for (std::size_t i = 0; i < nodes.size(); ++i)
    CompileNode(i);
  CompileEnd();
  return Assemble();
}

void ZRExpressionCompiler::CompileNode(std::size_t index) {
  const tagNode& node = nodes[index];
  switch (node.kind) {
    case tagKind::kNumber:
    case tagKind::kText:
    case tagKind::kReference:
    case tagKind::kAsk:
      if (!IsRightOperand(index)) CompileLoad(node);
      break;
    case tagKind::kOperation:
      CompileOperation(index);
      break;
    case tagKind::kNext:
      CompileNext(index);
      break;
    case tagKind::kChainEnd:
      CompileChainEnd(index);
      break;
    case tagKind::kThen:
      CompileThen(node);
      break;
    case tagKind::kElse:
      CompileElse();
      break;
    case tagKind::kIfEnd:
      CompileIfEnd(index);
      break;
  }
}

// What comes right before an operation in the nodes is its right operand.
bool ZRExpressionCompiler::IsRightOperand(std::size_t index) const {
  return IsNumberOperand(nodes[index]) && index + 1 < nodes.size() && IsFused(nodes[index + 1]);
}

// A comparison of a variable with a variable or a constant, as a whole operand of and/or.
bool ZRExpressionCompiler::IsSimpleComparison(std::size_t index) const {
  if (index + 3 >= nodes.size()) return false;
  const tagNode& left = nodes[index];
  const tagNode& comparison = nodes[index + 2];
  const tagNode& behind = nodes[index + 3];
  return left.kind == tagKind::kReference && IsNumberOperand(left) &&
         IsNumberOperand(nodes[index + 1]) && comparison.kind == tagKind::kOperation &&
         comparison.operation == ZROperation::kCompare &&
         (behind.kind == tagKind::kChainEnd || (behind.kind == tagKind::kNext && !behind.isFirst));
}

void ZRExpressionCompiler::CompileLoad(const tagNode& node) {
  StartValue();
  switch (node.kind) {
    case tagKind::kNumber:
      Emit(ZRInstruction::kLoadConstant);
      EmitNumber(node.number);
      break;
    case tagKind::kText:
      Emit(ZRInstruction::kLoadText);
      EmitText(node);
      break;
    case tagKind::kAsk:
      Emit(node.operation == ZROperation::kAge ? ZRInstruction::kAge : ZRInstruction::kAvailable);
      EmitVariable(node);
      break;
    default:
      Emit(IsNumberOperand(node) ? ZRInstruction::kLoadVariable : ZRInstruction::kLoadAnyVariable);
      if (IsNumberOperand(node)) lastLoad = bytes.size() - 1;
      EmitVariable(node);
      break;
  }
}

void ZRExpressionCompiler::CompileOperation(std::size_t index) {
  const tagNode& node = nodes[index];
  if (IsFused(node)) {
    CompileArithmetic(index);
  } else if (node.operation == ZROperation::kCompareZero) {
    CompileZeroTest(node);
  } else {
    Emit(PlainInstruction(node));
    lastOperation = bytes.size() - 1;
  }
}

void ZRExpressionCompiler::CompileArithmetic(std::size_t index) {
  const tagNode& node = nodes[index];
  const tagNode& right = nodes[index - 1];
  const bool isComparison = node.operation == ZROperation::kCompare;
  const ZROperands operands =
      IsNumberOperand(right) ? TakeRightOperand(right, !isComparison) : ZROperands::kStack;
  if (joinedTo != ZRLeaveIf::kNever) {
    Emit(JoinedInstruction(joinedTo, operands));
    joinedTo = ZRLeaveIf::kNever;
  } else {
    EmitShort(FusedInstruction(node.operation, operands));
  }
  if (isComparison) {
    EmitTest(node.test);
  } else {
    lastOperation = bytes.size() - 1;
  }
}

// Where the operands of the operation are whose right one is that leaf: together with the left
// one, if that has just been loaded, and with what made room for it.
ZROperands ZRExpressionCompiler::TakeRightOperand(const tagNode& right, bool mayPush) {
  const bool joins = lastLoad != kNone;
  if (joins) bytes.pop_back();
  if (joins && mayPush && right.kind == tagKind::kReference && loadPushes) {
    bytes.pop_back();
    EmitVariable(right);
    return ZROperands::kPushVariables;
  }
  if (right.kind == tagKind::kNumber) {
    EmitNumber(right.number);
    return joins ? ZROperands::kVariableConstant : ZROperands::kConstant;
  }
  EmitVariable(right);
  return joins ? ZROperands::kVariables : ZROperands::kVariable;
}

void ZRExpressionCompiler::CompileZeroTest(const tagNode& node) {
  if (lastTest != kNone && node.test == ZRTest::kEqual) {
    bytes[lastTest] = static_cast<std::uint8_t>(bytes[lastTest] ^ ZRTest::kRelations);
    return;
  }
  Emit(ZRInstruction::kCompareZero);
  EmitTest(node.test);
}

// A simple comparison that follows is joined to the outcome so far: it costs less than a leave
// that is foreseen wrongly. Anything else is skipped if the outcome decides.
void ZRExpressionCompiler::CompileNext(std::size_t index) {
  const tagNode& node = nodes[index];
  const std::size_t inner = handedOn;
  if (node.isFirst) Open();
  if (!IsSimpleComparison(index + 1)) {
    LeaveIf(node.leaveIf);
    return;
  }
  if (inner != kNone) BindFrom(inner);
  handedOn = kNone;
  joinedTo = node.leaveIf;
  holdsValue = false;
}

void ZRExpressionCompiler::CompileThen(const tagNode& node) {
  Open();
  LeaveIf(node.leaveIf);
}

void ZRExpressionCompiler::CompileElse() {
  Emit(ZRInstruction::kJump);
  const tagLeave jump{bytes.size() - 1, words.size(), ZRLeaveIf::kNever};
  bytes.resize(bytes.size() + sizeof(ZRJumpOffset));
  BindFrom(opened.back());
  leaves.push_back(jump);
  holdsValue = false;
}

void ZRExpressionCompiler::CompileIfEnd(std::size_t index) {
  const std::size_t first = opened.back();
  opened.pop_back();
  if (index + 1 < nodes.size()) BindFrom(first);
  holdsValue = true;
}

// A chain that is an operand of another one, or a condition, hands its leaves on: they needn't
// stop here.
void ZRExpressionCompiler::CompileChainEnd(std::size_t index) {
  const std::size_t first = opened.back();
  opened.pop_back();
  if (index + 1 == nodes.size()) return;
  switch (nodes[index + 1].kind) {
    case tagKind::kChainEnd:
      return;
    case tagKind::kNext:
    case tagKind::kThen:
      handedOn = first;
      return;
    default:
      BindFrom(first);
      return;
  }
}

// Ends the program; what still waits for its goal ends it where it stands.
void ZRExpressionCompiler::CompileEnd() {
  const ZRExpressionType type = nodes.back().type;
  const bool mayBeText = type == ZRExpressionType::kText || type == ZRExpressionType::kAny;
  const ZRInstruction end = mayBeText ? ZRInstruction::kEndAny : ZRInstruction::kEnd;
  if (lastTest != kNone) {
    ChangeTest(lastTest, ZREnding, 0);
  } else {
    Emit(end);
  }
  for (const tagLeave& leave : leaves) {
    if (leave.outcome == ZRLeaveIf::kNever) {
      bytes[leave.at] = static_cast<std::uint8_t>(end);
    } else {
      bytes[leave.at] = static_cast<std::uint8_t>(bytes[leave.at] | ZRTest::kLeaveToEnd);
    }
  }
}

// A value is about to be loaded: one that is still needed makes room.
void ZRExpressionCompiler::StartValue() {
  loadPushes = holdsValue;
  if (holdsValue) Emit(ZRInstruction::kPush);
  holdsValue = true;
}

// A chain or an if() begins; the leaves that are handed on to it are its first ones.
void ZRExpressionCompiler::Open() {
  opened.push_back(handedOn == kNone ? leaves.size() : handedOn);
}

// Leaves by that outcome of the accumulator. What was handed on and has the same outcome leaves
// together with it; what has the other one goes on behind it.
void ZRExpressionCompiler::LeaveIf(ZRLeaveIf outcome) {
  if (lastTest == kNone) {
    Emit(ZRInstruction::kCompareZero);
    EmitTest(ZRTest::kLess | ZRTest::kGreater);
  }
  const std::size_t test = lastTest;
  ChangeTest(test, ZRLeaving, outcome == ZRLeaveIf::kTrue ? ZRTest::kLeaveIfTrue : 0);
  bytes.resize(bytes.size() + sizeof(ZRJumpOffset));
  ForgetLast();
  if (handedOn != kNone) {
    std::size_t kept = handedOn;
    for (std::size_t i = handedOn; i < leaves.size(); ++i) {
      if (leaves[i].outcome == outcome) {
        leaves[kept++] = leaves[i];
      } else {
        Bind(leaves[i]);
      }
    }
    leaves.resize(kept);
    handedOn = kNone;
  }
  leaves.push_back({test, words.size(), outcome});
  holdsValue = false;
}

// Gives the comparison whose test is at that place another form.
void ZRExpressionCompiler::ChangeTest(std::size_t test, ZRInstruction (*form)(ZRInstruction),
                                      unsigned bits) {
  bytes[test - 1] = static_cast<std::uint8_t>(form(static_cast<ZRInstruction>(bytes[test - 1])));
  bytes[test] = static_cast<std::uint8_t>(bytes[test] | bits);
}

void ZRExpressionCompiler::BindFrom(std::size_t first) {
  for (std::size_t i = first; i < leaves.size(); ++i)
    Bind(leaves[i]);
  leaves.resize(first);
  ForgetLast();
}

// The leave comes out here: nothing that follows may change what is in front.
void ZRExpressionCompiler::Bind(const tagLeave& leave) {
  const std::size_t behind = leave.at + 1 + sizeof(ZRJumpOffset);
  const ZRJumpOffset offset{static_cast<std::uint16_t>(bytes.size() - behind),
                            static_cast<std::uint16_t>(words.size() - leave.words)};
  std::memcpy(bytes.data() + leave.at + 1, &offset, sizeof(offset));
  ForgetLast();
}

void ZRExpressionCompiler::Emit(ZRInstruction instruction) {
  bytes.push_back(static_cast<std::uint8_t>(instruction));
  ForgetLast();
}

// Together with the operation right in front of it, if there is an instruction for both.
void ZRExpressionCompiler::EmitShort(ZRInstruction instruction) {
  if (lastOperation != kNone) {
    const auto last = static_cast<ZRInstruction>(bytes[lastOperation]);
    const ZRInstruction both = Shortened(last, instruction);
    if (both != ZRInstruction::kEnd) {
      bytes.pop_back();
      instruction = both;
    }
  }
  Emit(instruction);
}

// What stands in front is no longer changed.
void ZRExpressionCompiler::ForgetLast() {
  lastLoad = kNone;
  lastOperation = kNone;
  lastTest = kNone;
}

void ZRExpressionCompiler::EmitTest(unsigned test) {
  lastTest = bytes.size();
  bytes.push_back(static_cast<std::uint8_t>(test));
}

void ZRExpressionCompiler::EmitVariable(const tagNode& node) {
  isConstant = false;
  words.emplace_back().variable = ZRLiveValues::Get().Reference(Content(node));
}

void ZRExpressionCompiler::EmitNumber(double number) {
  words.emplace_back().number = number;
}

void ZRExpressionCompiler::EmitText(const tagNode& node) {
  isConstant = false;
  ZRWString plain;
  const std::wstring_view escaped = Content(node);
  for (std::size_t i = 0; i < escaped.size(); ++i) {
    if (escaped[i] == L'\\') ++i;
    plain.Append(escaped[i]);
  }
  const ZRString utf8 = Utf16ToUtf8(plain.View());
  words.emplace_back().length = utf8.Length();
  for (std::size_t at = 0; at < utf8.Length(); at += 8) {
    ZRExpressionWord& word = words.emplace_back();
    word.length = 0;
    std::memcpy(word.bytes, utf8.Text() + at, std::min<std::size_t>(8, utf8.Length() - at));
  }
}

ZRExpressionCode ZRExpressionCompiler::Assemble() const {
  const std::size_t wordsOfBytes = (bytes.size() + 7) / 8;
  auto block = std::make_unique<ZRExpressionWord[]>(words.size() + wordsOfBytes);
  std::memcpy(block.get(), words.data(), words.size() * sizeof(ZRExpressionWord));
  std::memcpy(block.get() + words.size(), bytes.data(), bytes.size());
  return {std::move(block), static_cast<std::uint16_t>(words.size()),
          static_cast<std::uint16_t>(bytes.size())};
}
