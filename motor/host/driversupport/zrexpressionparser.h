// The form of an expression: its grammar and its types.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "host/driversupport/zrexpressioncode.h"
#include "host/driversupport/zrexpressionerror.h"
#include "host/driversupport/zrexpressionlexer.h"

// What the form alone tells of a value.
enum class ZRExpressionType : std::uint8_t {
  kNumber,
  kLogical,  // a number that is 1 or 0
  kText,
  kAny,  // a number or a text: known when it is evaluated
};

// Which outcome of a test skips what follows it: false in "and", true in "or".
enum class ZRLeaveIf : std::uint8_t { kNever, kFalse, kTrue };

// A step of the expression in the order of evaluation: the operands first, then what is done with
// them.
struct ZRExpressionNode {
  enum class tagKind : std::uint8_t {
    kNumber,
    kText,       // `content`, its escapes as written
    kReference,  // `content`; a number is needed unless the type is kAny
    kAsk,        // available() or age() of the reference `content`
    kOperation,  // on its one, two or three operands
    kNext,       // behind an operand of and/or that isn't the last one
    kChainEnd,   // behind the last one
    kThen,       // behind the condition of if()
    kElse,       // behind its second argument
    kIfEnd,      // behind its third argument
  };

  tagKind kind = tagKind::kNumber;
  ZRExpressionType type = ZRExpressionType::kNumber;
  ZROperation operation = ZROperation::kAdd;
  std::uint8_t test = 0;                  // comparisons: the relations that make it true
  ZRLeaveIf leaveIf = ZRLeaveIf::kNever;  // kNext, kChainEnd, kThen
  bool isFirst = false;                   // of the kNext of a chain
  std::uint16_t position = 0;             // in the text, for blame
  std::uint16_t length = 0;               // of the content
  std::uint16_t begin = 0;                // of the content, in the text
  std::uint16_t thenValue = 0;            // kIfEnd: the node that gives the second argument's value
  double number = 0.0;
};

// One text, parsed once.
//
// Promise   bounded work and stack for any text.
class ZRExpressionParser {
 public:
  static constexpr std::size_t kMaximumLength = 4096;  // units
  static constexpr int kMaximumDepth = 64;  // of parentheses, functions and prefixes in each other

  ZRExpressionParser(std::wstring_view toParse, bool mayRefer);

  // True if the text is an expression: its nodes, and the type of the whole.
  [[nodiscard]] bool Parse();
  [[nodiscard]] const std::vector<ZRExpressionNode>& Nodes() const { return nodes; }
  [[nodiscard]] ZRExpressionType Type() const { return nodes.back().type; }

  // False otherwise, for this reason at this unit.
  [[nodiscard]] ZRExpressionReason Reason() const { return reason; }
  [[nodiscard]] std::size_t Position() const { return position; }

 private:
  using tagNode = ZRExpressionNode;
  struct tagFunction;
  class CDepth;

  // Each of these reads a part of the text; its value is then that of the last node.
  bool ParseOperators(int level);
  bool ParseNot();
  bool ParseChain(ZRTokenKind kind);
  bool ParseComparison();
  bool ParseArithmetic(int level);
  bool ParseUnary();
  bool ParsePower();
  bool ParsePrimary();
  bool ParseParentheses();
  bool ParseReference();
  bool ParseWord();
  bool ParseIf();
  bool ParseAsk(ZROperation operation);
  bool ParseFunction(const tagFunction& function);
  bool ParseArgument();

  // Makes the value of that node a number, or a truth.
  bool NeedNumber(std::size_t node);
  bool NeedTruth();

  void Add(tagNode::tagKind kind, std::size_t at);
  void AddOperation(ZROperation operation, std::size_t at);
  bool AddArithmetic(ZROperation operation, std::size_t left, std::size_t at);
  bool FoldConstants(ZROperation operation);
  [[nodiscard]] ZRExpressionType CommonType(std::size_t a, std::size_t b) const;
  [[nodiscard]] std::size_t Last() const { return nodes.size() - 1; }

  void Advance() { token = lexer.Next(); }
  bool Expect(ZRTokenKind kind, ZRExpressionReason otherwise);
  bool Fail(ZRExpressionReason why, std::size_t at);
  bool FailAtToken(ZRExpressionReason why);

  const std::wstring_view text;
  const bool references;
  ZRExpressionLexer lexer;
  ZRToken token;
  std::vector<tagNode> nodes;
  int depth = 0;
  ZRExpressionReason reason = ZRExpressionReason::kNone;
  std::size_t position = 0;
};
