// From the nodes of an expression to its program.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "host/driversupport/zrexpressioncode.h"
#include "host/driversupport/zrexpressionparser.h"

// One expression, compiled once.
//
// Promise   instructions that follow each other often are one: a comparison of a variable with a
//           constant, with the jump behind it, is a single instruction; so is the sum of four
//           variables.
class ZRExpressionCompiler {
 public:
  ZRExpressionCompiler(std::wstring_view source, const std::vector<ZRExpressionNode>& toCompile);

  // Refers to the live values of the expression; the program gives them back.
  [[nodiscard]] ZRExpressionCode Compile();
  // True if the same result comes out whenever it is evaluated. After Compile.
  [[nodiscard]] bool IsConstant() const { return isConstant; }

 private:
  using tagNode = ZRExpressionNode;
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  // A place in the program from which it may leave to one further on.
  struct tagLeave {
    std::size_t at;     // of its test, or of a kJump; the offset follows
    std::size_t words;  // operands used by then
    ZRLeaveIf outcome;
  };

  void CompileNode(std::size_t index);
  void CompileLoad(const tagNode& node);
  void CompileOperation(std::size_t index);
  void CompileArithmetic(std::size_t index);
  void CompileZeroTest(const tagNode& node);
  void CompileNext(std::size_t index);
  void CompileThen(const tagNode& node);
  void CompileElse();
  void CompileIfEnd(std::size_t index);
  void CompileChainEnd(std::size_t index);
  void CompileEnd();

  [[nodiscard]] bool IsRightOperand(std::size_t index) const;
  [[nodiscard]] bool IsSimpleComparison(std::size_t index) const;
  [[nodiscard]] ZROperands TakeRightOperand(const tagNode& right, bool mayPush);
  void StartValue();
  void Open();
  void LeaveIf(ZRLeaveIf outcome);
  void ChangeTest(std::size_t test, ZRInstruction (*form)(ZRInstruction), unsigned bits);
  void BindFrom(std::size_t first);
  void Bind(const tagLeave& leave);
  void Emit(ZRInstruction instruction);
  void EmitShort(ZRInstruction instruction);
  void ForgetLast();
  void EmitTest(unsigned test);
  void EmitVariable(const tagNode& node);
  void EmitNumber(double number);
  void EmitText(const tagNode& node);
  [[nodiscard]] std::wstring_view Content(const tagNode& node) const {
    return text.substr(node.begin, node.length);
  }
  [[nodiscard]] ZRExpressionCode Assemble() const;

  const std::wstring_view text;
  const std::vector<tagNode>& nodes;
  std::vector<ZRExpressionWord> words;
  std::vector<std::uint8_t> bytes;

  // Leaves whose goal isn't reached yet, those of the innermost chain or if() last; and where the
  // leaves of each open one begin.
  std::vector<tagLeave> leaves;
  std::vector<std::size_t> opened;
  std::size_t handedOn = kNone;  // leaves from here on wait for the next node to bind them

  bool holdsValue = false;            // the accumulator has a value that is needed later
  std::size_t lastLoad = kNone;       // the last instruction, if it loads a variable's number
  std::size_t lastOperation = kNone;  // the last instruction, if it is an operation
  bool loadPushes = false;            // a push stands right in front of the last load
  std::size_t lastTest = kNone;       // the test of the last instruction, if it has one and goes on
  ZRLeaveIf joinedTo = ZRLeaveIf::kNever;  // the next comparison is joined to the accumulator
  bool isConstant = true;
};
