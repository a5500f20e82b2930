// Expressions over live values; the language is written up in docs/expressions.md.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <variant>

#include "host/base/zrvalue.h"
#include "host/driversupport/zrexpressioncode.h"
#include "host/driversupport/zrexpressionerror.h"
#include "host/tools/zrbasicstring.h"

// One expression.
//
// Threads   one at a time: an object keeps state between calls.
// Promise   Evaluate allocates nothing (but the value object of its second form), takes no lock
//           and reads no locale.
class ZREvaluator {
 public:
  // Results of AnalizeExpression.
  static constexpr int kInvalid = -1;
  static constexpr int kNumericOrText = 0;
  static constexpr int kLogical = 1;  // a comparison or a logical operation at the top

  // Results of Evaluate; 0 is success.
  enum tagError : int {
    kSuccess = 0,
    kNotAnalyzed = 1,  // no valid expression
    kUnknown = 2,      // a variable that no driver has
    kUnavailable = 3,  // a variable without a value at present
    kDivisionByZero = 4,
    kWrongType = 5,   // a text where a number is needed, or the reverse
    kOutOfRange = 6,  // overflow, or an argument outside of a function's domain
  };

  // Values of `valueType`.
  static constexpr int kTypeNumber = 0;
  static constexpr int kTypeLogical = 1;  // the value is 1.0 or 0.0
  static constexpr int kTypeText = 2;     // the value is 0.0

  ZREvaluator();
  explicit ZREvaluator(const ZRWString& expression);
  ~ZREvaluator();
  ZREvaluator(const ZREvaluator&) = delete;
  ZREvaluator& operator=(const ZREvaluator&) = delete;

  // Flags as a list closed by -1. The flag 2 lets the expression read live variables; without it
  // a reference makes the expression invalid. They count from the next analysis of a text on.
  void SetFlags(int flag, ...);

  // Gives the text. What was analysed before is dropped.
  void Set(const ZRWString& expression);

  // Classifies the text, from its form alone, and makes it ready. The class, or kInvalid and then
  // the place and the reason can be asked for. A text is analysed once: calls that follow give
  // the same answer.
  int AnalizeExpression();
  [[nodiscard]] std::size_t ErrorPosition() const;  // index of the unit to blame, from 0
  [[nodiscard]] ZRString ErrorReason() const;       // empty unless the text is invalid

  // Evaluate a text that was set; analysed first if it hasn't been. `value` and `valueType` are
  // written on success only.
  [[nodiscard]] int Evaluate(double& value, int& valueType);
  // The same, giving a new value object to the caller.
  [[nodiscard]] int Evaluate(ZRVSValue** value, int& valueType);

  // Asks the processor to bring near what Evaluate reads: for whoever evaluates many in a row.
  void Prefetch() const {
    if (const auto* const program = std::get_if<ZRExpressionCode>(&content))
      __builtin_prefetch(program->Operands());
  }

  // Bytes that this object holds on the heap. A constant, such as a delay, holds none.
  [[nodiscard]] std::size_t MemoryUsed() const;

 private:
  using tagText = std::unique_ptr<ZRWString>;
  static constexpr int kNotYet = -2;  // as a class: not analysed
  static constexpr int kReferencesFlag = 2;

  void Accept(ZRExpressionCode&& program, bool isConstant);
  [[nodiscard]] int Run(double& value, int& valueType, double* text);

  // Nothing, or a text that wasn't analysed, or what it became.
  std::variant<std::monostate, tagText, double, ZRExpressionCode> content;
  int classOfText = kNotYet;
  std::uint16_t errorPosition = 0;
  ZRExpressionReason errorReason = ZRExpressionReason::kNone;
  bool mayRefer = false;
};
