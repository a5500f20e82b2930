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
  return node.kind == tagKind::kOperation && node.operation >= ZROperation::kAdd &&
         node.operation <= ZROperation::kCompare;
}

bool IsNumberOperand(const ZRExpressionNode& node) {
  return node.kind == tagKind::kNumber ||
         (node.kind == tagKind::kReference && node.type != ZRExpressionType::kAny);
}

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
      CompileNext(node);
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

void ZRExpressionCompiler::CompileLoad(const tagNode& node) {
  StartValue();
  const bool mayBeText = node.type == ZRExpressionType::kAny;
  const std::size_t at = bytes.size();
  switch (node.kind) {
    case tagKind::kNumber:
      EmitInstruction(ZROperation::kLoad, ZROperands::kConstant);
      EmitNumber(node.number);
      break;
    case tagKind::kText:
      EmitInstruction(ZROperation::kLoadAny, ZROperands::kText);
      EmitText(node);
      break;
    case tagKind::kAsk:
      EmitInstruction(node.operation, ZROperands::kVariable);
      EmitVariable(node);
      break;
    default:
      EmitInstruction(mayBeText ? ZROperation::kLoadAny : ZROperation::kLoad,
                      ZROperands::kVariable);
      EmitVariable(node);
      if (!mayBeText) lastLoad = at;
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
    EmitInstruction(node.operation);
    if (node.operation == ZROperation::kCompareAny) EmitTest(node.test);
  }
}

void ZRExpressionCompiler::CompileArithmetic(std::size_t index) {
  const tagNode& node = nodes[index];
  const tagNode& right = nodes[index - 1];
  const ZROperands operands = IsNumberOperand(right) ? TakeRightOperand(right) : ZROperands::kStack;
  EmitInstruction(node.operation, operands);
  if (node.operation == ZROperation::kCompare) EmitTest(node.test);
}

// Where the operands of the operation are whose right one is that leaf: together with the left
// one, if that has just been loaded.
ZROperands ZRExpressionCompiler::TakeRightOperand(const tagNode& right) {
  const bool joins = lastLoad != kNone;
  if (joins) bytes.pop_back();
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
  EmitInstruction(ZROperation::kCompareZero);
  EmitTest(node.test);
}

void ZRExpressionCompiler::CompileNext(const tagNode& node) {
  if (node.isFirst) opened.push_back(handedOn == kNone ? leaves.size() : handedOn);
  LeaveIf(node.test);
}

void ZRExpressionCompiler::CompileThen(const tagNode& node) {
  opened.push_back(handedOn == kNone ? leaves.size() : handedOn);
  LeaveIf(node.test);
}

void ZRExpressionCompiler::CompileElse() {
  EmitInstruction(ZROperation::kJump);
  const tagLeave jump{bytes.size() - 1, words.size(), 0};
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
  if (lastTest != kNone) {
    bytes[lastTest] =
        static_cast<std::uint8_t>(bytes[lastTest] | ZRTest::kLeave | ZRTest::kLeaveToEnd);
  } else {
    EmitInstruction(ZROperation::kEnd);
  }
  for (const tagLeave& leave : leaves) {
    if (leave.condition == 0) {
      bytes[leave.at] = ZRInstruction(ZROperation::kEnd, ZROperands::kStack);
    } else {
      bytes[leave.at] = static_cast<std::uint8_t>(bytes[leave.at] | ZRTest::kLeaveToEnd);
    }
  }
}

// A value is about to be loaded: one that is still needed makes room.
void ZRExpressionCompiler::StartValue() {
  if (holdsValue) EmitInstruction(ZROperation::kPush);
  holdsValue = true;
}

// Leaves if the accumulator is false, or true. What was handed on and has the same outcome leaves
// together with it; what has the other one goes on behind it.
void ZRExpressionCompiler::LeaveIf(unsigned condition) {
  if (lastTest == kNone) {
    EmitInstruction(ZROperation::kCompareZero);
    EmitTest(ZRTest::kLess | ZRTest::kGreater);
  }
  const std::size_t test = lastTest;
  bytes[test] = static_cast<std::uint8_t>(bytes[test] | condition);
  bytes.resize(bytes.size() + sizeof(ZRJumpOffset));
  lastTest = kNone;
  if (handedOn != kNone) {
    std::size_t kept = handedOn;
    for (std::size_t i = handedOn; i < leaves.size(); ++i) {
      if (leaves[i].condition == condition) {
        leaves[kept++] = leaves[i];
      } else {
        Bind(leaves[i]);
      }
    }
    leaves.resize(kept);
    handedOn = kNone;
  }
  leaves.push_back({test, words.size(), condition});
  holdsValue = false;
}

void ZRExpressionCompiler::BindFrom(std::size_t first) {
  for (std::size_t i = first; i < leaves.size(); ++i)
    Bind(leaves[i]);
  leaves.resize(first);
}

// The leave comes out here; so nothing that follows joins what is in front.
void ZRExpressionCompiler::Bind(const tagLeave& leave) {
  const std::size_t behind = leave.at + 1 + sizeof(ZRJumpOffset);
  const ZRJumpOffset offset{static_cast<std::uint16_t>(bytes.size() - behind),
                            static_cast<std::uint16_t>(words.size() - leave.words)};
  std::memcpy(bytes.data() + leave.at + 1, &offset, sizeof(offset));
  lastLoad = kNone;
  lastTest = kNone;
}

void ZRExpressionCompiler::EmitInstruction(ZROperation operation, ZROperands operands) {
  bytes.push_back(ZRInstruction(operation, operands));
  lastLoad = kNone;
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
