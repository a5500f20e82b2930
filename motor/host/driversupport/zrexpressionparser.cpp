#include "host/driversupport/zrexpressionparser.h"

#include <cmath>
#include <limits>

namespace {

// How strongly operators bind.
constexpr int kOrLevel = 1;
constexpr int kAndLevel = 2;
constexpr int kNotLevel = 3;
constexpr int kComparisonLevel = 4;
constexpr int kSumLevel = 5;
constexpr int kProductLevel = 6;

// 0 for what joins no two operands.
constexpr int LevelOf(ZRTokenKind kind) {
  switch (kind) {
    case ZRTokenKind::kOr:
      return kOrLevel;
    case ZRTokenKind::kAnd:
      return kAndLevel;
    case ZRTokenKind::kComparison:
      return kComparisonLevel;
    case ZRTokenKind::kPlus:
    case ZRTokenKind::kMinus:
      return kSumLevel;
    case ZRTokenKind::kTimes:
    case ZRTokenKind::kOver:
    case ZRTokenKind::kPercent:
      return kProductLevel;
    default:
      return 0;
  }
}

constexpr ZROperation ArithmeticOf(ZRTokenKind kind) {
  switch (kind) {
    case ZRTokenKind::kPlus:
      return ZROperation::kAdd;
    case ZRTokenKind::kMinus:
      return ZROperation::kSubtract;
    case ZRTokenKind::kTimes:
      return ZROperation::kMultiply;
    case ZRTokenKind::kOver:
      return ZROperation::kDivide;
    default:
      return ZROperation::kRemainder;
  }
}

constexpr bool IsText(ZRExpressionType type) {
  return type == ZRExpressionType::kText;
}
constexpr bool MayBeText(ZRExpressionType type) {
  return type == ZRExpressionType::kText || type == ZRExpressionType::kAny;
}

}  // namespace

// How a function of numbers is called. `folded` takes its operands two by two.
struct ZRExpressionParser::tagFunction {
  const char* name = "";
  ZROperation operation = ZROperation::kAbsolute;
  int least = 1;
  int most = 1;
  bool folded = false;
  ZRExpressionType type = ZRExpressionType::kNumber;
};

// Counts what stands in each other, for as long as it lives.
class ZRExpressionParser::CDepth {
 public:
  explicit CDepth(int& toCount) : count(toCount) { ++count; }
  ~CDepth() { --count; }
  CDepth(const CDepth&) = delete;
  CDepth& operator=(const CDepth&) = delete;

  [[nodiscard]] bool IsTooDeep() const { return count > kMaximumDepth; }

 private:
  int& count;
};

ZRExpressionParser::ZRExpressionParser(std::wstring_view toParse, bool mayRefer)
    : text(toParse), references(mayRefer), lexer(toParse) {}

bool ZRExpressionParser::Parse() {
  if (text.size() > kMaximumLength) return Fail(ZRExpressionReason::kTooLong, kMaximumLength);
  nodes.reserve(32);
  Advance();
  if (token.kind == ZRTokenKind::kEnd) return Fail(ZRExpressionReason::kEmpty, 0);
  if (!ParseOperators(kOrLevel)) return false;
  return token.kind == ZRTokenKind::kEnd || FailAtToken(ZRExpressionReason::kOperatorExpected);
}

// An operand and all that follows it and binds at least as strongly as `level`.
bool ZRExpressionParser::ParseOperators(int level) {
  if (token.kind == ZRTokenKind::kNot) {
    if (level > kNotLevel) return FailAtToken(ZRExpressionReason::kNotInOperand);
    if (!ParseNot()) return false;
  } else if (!ParseUnary()) {
    return false;
  }
  for (;;) {
    const int found = LevelOf(token.kind);
    if (found == 0 || found < level) return true;
    bool good = false;
    if (found == kOrLevel || found == kAndLevel) {
      good = ParseChain(token.kind);
    } else if (found == kComparisonLevel) {
      good = ParseComparison();
    } else {
      good = ParseArithmetic(found);
    }
    if (!good) return false;
  }
}

bool ZRExpressionParser::ParseNot() {
  const CDepth counted(depth);
  if (counted.IsTooDeep()) return FailAtToken(ZRExpressionReason::kTooDeep);
  const std::size_t at = token.position;
  Advance();
  if (!ParseOperators(kNotLevel) || !NeedTruth()) return false;
  AddOperation(ZROperation::kCompareZero, at);
  nodes.back().test = ZRTest::kEqual;
  nodes.back().type = ZRExpressionType::kLogical;
  return true;
}

// a and b and c, with one end for all of them.
bool ZRExpressionParser::ParseChain(ZRTokenKind kind) {
  const ZRLeaveIf decides = kind == ZRTokenKind::kAnd ? ZRLeaveIf::kFalse : ZRLeaveIf::kTrue;
  const std::size_t at = token.position;
  if (!NeedTruth()) return false;
  for (bool isFirst = true; token.kind == kind; isFirst = false) {
    Add(tagNode::tagKind::kNext, token.position);
    nodes.back().leaveIf = decides;
    nodes.back().isFirst = isFirst;
    Advance();
    if (!ParseOperators(LevelOf(kind) + 1) || !NeedTruth()) return false;
  }
  Add(tagNode::tagKind::kChainEnd, at);
  nodes.back().leaveIf = decides;
  nodes.back().type = ZRExpressionType::kLogical;
  return true;
}

bool ZRExpressionParser::ParseComparison() {
  const ZRToken sign = token;
  const std::size_t left = Last();
  Advance();
  if (!ParseOperators(kComparisonLevel + 1)) return false;
  const std::size_t right = Last();
  if (token.kind == ZRTokenKind::kComparison) {
    return FailAtToken(ZRExpressionReason::kChainedComparison);
  }
  const bool isEquality =
      sign.relations == ZRTest::kEqual || sign.relations == (ZRTest::kLess | ZRTest::kGreater);
  const bool hasText = IsText(nodes[left].type) || IsText(nodes[right].type);
  if (hasText && !isEquality) return Fail(ZRExpressionReason::kTextOrder, sign.position);
  const bool bothMayBeText = MayBeText(nodes[left].type) && MayBeText(nodes[right].type);
  if (hasText && !bothMayBeText) {
    return Fail(ZRExpressionReason::kTextAgainstNumber, sign.position);
  }
  if (isEquality && bothMayBeText) {
    AddOperation(ZROperation::kCompareAny, sign.position);
  } else {
    if (!NeedNumber(left) || !NeedNumber(right)) return false;
    AddOperation(ZROperation::kCompare, sign.position);
  }
  nodes.back().test = static_cast<std::uint8_t>(sign.relations);
  nodes.back().type = ZRExpressionType::kLogical;
  return true;
}

bool ZRExpressionParser::ParseArithmetic(int level) {
  const std::size_t left = Last();
  const ZROperation operation = ArithmeticOf(token.kind);
  const std::size_t at = token.position;
  Advance();
  return ParseOperators(level + 1) && AddArithmetic(operation, left, at);
}

bool ZRExpressionParser::ParseUnary() {
  if (token.kind != ZRTokenKind::kMinus) return ParsePower();
  const CDepth counted(depth);
  if (counted.IsTooDeep()) return FailAtToken(ZRExpressionReason::kTooDeep);
  const std::size_t at = token.position;
  Advance();
  if (!ParseUnary() || !NeedNumber(Last())) return false;
  if (nodes.back().kind == tagNode::tagKind::kNumber) {
    nodes.back().number = -nodes.back().number;
    nodes.back().type = ZRExpressionType::kNumber;
  } else {
    AddOperation(ZROperation::kNegate, at);
  }
  return true;
}

// a ^ b ^ c is a ^ (b ^ c), and a ^ -b needs no parentheses.
bool ZRExpressionParser::ParsePower() {
  if (!ParsePrimary()) return false;
  if (token.kind != ZRTokenKind::kCaret) return true;
  const CDepth counted(depth);
  if (counted.IsTooDeep()) return FailAtToken(ZRExpressionReason::kTooDeep);
  const std::size_t left = Last();
  const std::size_t at = token.position;
  Advance();
  return ParseUnary() && AddArithmetic(ZROperation::kPower, left, at);
}

bool ZRExpressionParser::ParsePrimary() {
  switch (token.kind) {
    case ZRTokenKind::kNumber:
      Add(tagNode::tagKind::kNumber, token.position);
      nodes.back().number = token.number;
      Advance();
      return true;
    case ZRTokenKind::kText:
      Add(tagNode::tagKind::kText, token.position);
      nodes.back().begin = static_cast<std::uint16_t>(token.position + 1);
      nodes.back().length = static_cast<std::uint16_t>(token.content.size());
      nodes.back().type = ZRExpressionType::kText;
      Advance();
      return true;
    case ZRTokenKind::kReference:
      return ParseReference();
    case ZRTokenKind::kWord:
      return ParseWord();
    case ZRTokenKind::kOpening:
      return ParseParentheses();
    case ZRTokenKind::kNot:
      return FailAtToken(ZRExpressionReason::kNotInOperand);
    default:
      return FailAtToken(ZRExpressionReason::kOperandExpected);
  }
}

bool ZRExpressionParser::ParseParentheses() {
  const CDepth counted(depth);
  if (counted.IsTooDeep()) return FailAtToken(ZRExpressionReason::kTooDeep);
  Advance();
  return ParseOperators(kOrLevel) &&
         Expect(ZRTokenKind::kClosing, ZRExpressionReason::kClosingExpected);
}

bool ZRExpressionParser::ParseReference() {
  if (!references) return FailAtToken(ZRExpressionReason::kReferencesNotAllowed);
  Add(tagNode::tagKind::kReference, token.position);
  nodes.back().begin = static_cast<std::uint16_t>(token.position + 1);
  nodes.back().length = static_cast<std::uint16_t>(token.content.size());
  nodes.back().type = ZRExpressionType::kAny;
  Advance();
  return true;
}

bool ZRExpressionParser::ParseWord() {
  using tagType = ZRExpressionType;
  struct tagConstant {
    const char* name;
    double number;
    ZRExpressionType type;
  };
  static constexpr tagConstant kConstants[] = {
      {"true", 1.0, tagType::kLogical},
      {"false", 0.0, tagType::kLogical},
      {"pi", 3.14159265358979323846, tagType::kNumber},
  };
  static constexpr tagFunction kFunctions[] = {
      {"abs", ZROperation::kAbsolute, 1, 1},
      {"min", ZROperation::kMinimum, 1, std::numeric_limits<int>::max(), true},
      {"max", ZROperation::kMaximum, 1, std::numeric_limits<int>::max(), true},
      {"round", ZROperation::kRound, 1, 2},
      {"floor", ZROperation::kFloor, 1, 1},
      {"ceil", ZROperation::kCeiling, 1, 1},
      {"trunc", ZROperation::kTruncate, 1, 1},
      {"sqrt", ZROperation::kSquareRoot, 1, 1},
      {"exp", ZROperation::kExponential, 1, 1},
      {"ln", ZROperation::kLogarithm, 1, 1},
      {"log10", ZROperation::kLogarithm10, 1, 1},
      {"pow", ZROperation::kPower, 2, 2},
      {"sign", ZROperation::kSign, 1, 1},
      {"bit", ZROperation::kBit, 2, 2},
      {"between", ZROperation::kBetween, 3, 3, false, tagType::kLogical},
  };
  for (const tagConstant& constant : kConstants) {
    if (!ZRIsWord(token.content, constant.name)) continue;
    Add(tagNode::tagKind::kNumber, token.position);
    nodes.back().number = constant.number;
    nodes.back().type = constant.type;
    Advance();
    return true;
  }
  if (ZRIsWord(token.content, "if")) return ParseIf();
  if (ZRIsWord(token.content, "available")) return ParseAsk(ZROperation::kAvailable);
  if (ZRIsWord(token.content, "age")) return ParseAsk(ZROperation::kAge);
  for (const tagFunction& function : kFunctions) {
    if (ZRIsWord(token.content, function.name)) return ParseFunction(function);
  }
  return FailAtToken(ZRExpressionReason::kUnknownWord);
}

bool ZRExpressionParser::ParseIf() {
  const CDepth counted(depth);
  if (counted.IsTooDeep()) return FailAtToken(ZRExpressionReason::kTooDeep);
  const std::size_t at = token.position;
  Advance();
  if (!Expect(ZRTokenKind::kOpening, ZRExpressionReason::kOpeningExpected)) return false;
  if (!ParseOperators(kOrLevel) || !NeedTruth()) return false;
  if (!Expect(ZRTokenKind::kComma, ZRExpressionReason::kTooFewArguments)) return false;
  Add(tagNode::tagKind::kThen, at);
  nodes.back().leaveIf = ZRLeaveIf::kFalse;
  if (!ParseOperators(kOrLevel)) return false;
  if (!Expect(ZRTokenKind::kComma, ZRExpressionReason::kTooFewArguments)) return false;
  const std::size_t thenValue = Last();
  Add(tagNode::tagKind::kElse, at);
  if (!ParseOperators(kOrLevel)) return false;
  if (token.kind == ZRTokenKind::kComma) {
    return FailAtToken(ZRExpressionReason::kTooManyArguments);
  }
  if (!Expect(ZRTokenKind::kClosing, ZRExpressionReason::kClosingExpected)) return false;
  const ZRExpressionType type = CommonType(thenValue, Last());
  Add(tagNode::tagKind::kIfEnd, at);
  nodes.back().thenValue = static_cast<std::uint16_t>(thenValue);
  nodes.back().type = type;
  return true;
}

bool ZRExpressionParser::ParseAsk(ZROperation operation) {
  Advance();
  if (!Expect(ZRTokenKind::kOpening, ZRExpressionReason::kOpeningExpected)) return false;
  if (token.kind != ZRTokenKind::kReference) {
    return FailAtToken(ZRExpressionReason::kReferenceExpected);
  }
  if (!ParseReference()) return false;
  nodes.back().kind = tagNode::tagKind::kAsk;
  nodes.back().operation = operation;
  nodes.back().type =
      operation == ZROperation::kAvailable ? ZRExpressionType::kLogical : ZRExpressionType::kNumber;
  return Expect(ZRTokenKind::kClosing, ZRExpressionReason::kClosingExpected);
}

bool ZRExpressionParser::ParseFunction(const tagFunction& function) {
  const CDepth counted(depth);
  if (counted.IsTooDeep()) return FailAtToken(ZRExpressionReason::kTooDeep);
  const std::size_t at = token.position;
  Advance();
  if (!Expect(ZRTokenKind::kOpening, ZRExpressionReason::kOpeningExpected)) return false;
  if (token.kind == ZRTokenKind::kClosing) {
    return FailAtToken(ZRExpressionReason::kTooFewArguments);
  }
  int count = 1;
  if (!ParseArgument()) return false;
  for (; token.kind == ZRTokenKind::kComma; ++count) {
    if (count == function.most) return FailAtToken(ZRExpressionReason::kTooManyArguments);
    Advance();
    if (!ParseArgument()) return false;
    if (function.folded) AddOperation(function.operation, at);
  }
  if (count < function.least) return FailAtToken(ZRExpressionReason::kTooFewArguments);
  if (!Expect(ZRTokenKind::kClosing, ZRExpressionReason::kClosingExpected)) return false;
  if (function.operation == ZROperation::kRound && count == 2) {
    AddOperation(ZROperation::kRoundTo, at);
  } else if (!function.folded) {
    AddOperation(function.operation, at);
  }
  nodes.back().type = function.type;
  return true;
}

bool ZRExpressionParser::ParseArgument() {
  return ParseOperators(kOrLevel) && NeedNumber(Last());
}

bool ZRExpressionParser::NeedNumber(std::size_t node) {
  tagNode& needed = nodes[node];
  if (IsText(needed.type)) return Fail(ZRExpressionReason::kTextForNumber, needed.position);
  if (needed.type != ZRExpressionType::kAny) return true;
  needed.type = ZRExpressionType::kNumber;
  if (needed.kind != tagNode::tagKind::kIfEnd) return true;
  // The values of both branches; an if() in an if() is as deep as its parentheses.
  return NeedNumber(needed.thenValue) && NeedNumber(node - 1);
}

bool ZRExpressionParser::NeedTruth() {
  if (!NeedNumber(Last())) return false;
  if (nodes.back().type == ZRExpressionType::kLogical) return true;
  AddOperation(ZROperation::kCompareZero, nodes.back().position);
  nodes.back().test = ZRTest::kLess | ZRTest::kGreater;
  nodes.back().type = ZRExpressionType::kLogical;
  return true;
}

void ZRExpressionParser::Add(tagNode::tagKind kind, std::size_t at) {
  tagNode& node = nodes.emplace_back();
  node.kind = kind;
  node.position = static_cast<std::uint16_t>(at);
}

void ZRExpressionParser::AddOperation(ZROperation operation, std::size_t at) {
  Add(tagNode::tagKind::kOperation, at);
  nodes.back().operation = operation;
}

bool ZRExpressionParser::AddArithmetic(ZROperation operation, std::size_t left, std::size_t at) {
  if (!NeedNumber(left) || !NeedNumber(Last())) return false;
  if (!FoldConstants(operation)) AddOperation(operation, at);
  return true;
}

// Two numbers side by side are computed at once, if that can't fail.
bool ZRExpressionParser::FoldConstants(ZROperation operation) {
  tagNode& right = nodes[nodes.size() - 1];
  tagNode& left = nodes[nodes.size() - 2];
  if (right.kind != tagNode::tagKind::kNumber || left.kind != tagNode::tagKind::kNumber) {
    return false;
  }
  double result = std::numeric_limits<double>::infinity();
  if (operation == ZROperation::kAdd) result = left.number + right.number;
  if (operation == ZROperation::kSubtract) result = left.number - right.number;
  if (operation == ZROperation::kMultiply) result = left.number * right.number;
  if (operation == ZROperation::kDivide && right.number != 0.0) result = left.number / right.number;
  if (!std::isfinite(result)) return false;
  left.number = result;
  left.type = ZRExpressionType::kNumber;
  nodes.pop_back();
  return true;
}

ZRExpressionType ZRExpressionParser::CommonType(std::size_t a, std::size_t b) const {
  const ZRExpressionType first = nodes[a].type;
  const ZRExpressionType second = nodes[b].type;
  if (first == second) return first;
  if (MayBeText(first) || MayBeText(second)) return ZRExpressionType::kAny;
  return ZRExpressionType::kNumber;
}

bool ZRExpressionParser::Expect(ZRTokenKind kind, ZRExpressionReason otherwise) {
  if (token.kind != kind) return FailAtToken(otherwise);
  Advance();
  return true;
}

bool ZRExpressionParser::Fail(ZRExpressionReason why, std::size_t at) {
  reason = why;
  position = at;
  return false;
}

bool ZRExpressionParser::FailAtToken(ZRExpressionReason why) {
  return Fail(token.kind == ZRTokenKind::kError ? token.reason : why, token.position);
}
