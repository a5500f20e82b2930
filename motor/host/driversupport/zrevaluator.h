// Expressions over live values; the language is written up in docs/expressions.md.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "host/base/zrvalue.h"
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
    kNotAnalyzed = 1,   // no valid expression
    kUnknown = 2,       // a variable that no driver has
    kUnavailable = 3,   // a variable without a value at present
    kDivisionByZero = 4,
    kWrongType = 5,     // a text where a number is needed, or the reverse
    kOutOfRange = 6,    // overflow, or an argument outside of a function's domain
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

  // Flags as a list closed by -1. The flag 2 lets the expression read live variables; without
  // any flag a reference is an error.
  void SetFlags(int flag, ...);

  // Gives the text. What was analysed before is dropped.
  void Set(const ZRWString& expression);

  // Classifies the text, from its form alone, and makes it ready. The class, or kInvalid and then
  // the place and the reason can be asked for.
  int AnalizeExpression();
  [[nodiscard]] std::size_t ErrorPosition() const;  // index of the unit to blame, from 0
  [[nodiscard]] ZRString ErrorReason() const;

  // Evaluate a text that was set; analysed first if it hasn't been. `value` and `valueType` are
  // written on success only.
  [[nodiscard]] int Evaluate(double& value, int& valueType);
  // The same, giving a new value object to the caller.
  [[nodiscard]] int Evaluate(ZRVSValue** value, int& valueType);

  // Bytes that this object holds on the heap.
  [[nodiscard]] std::size_t MemoryUsed() const;

 private:
  // The driver support room completes the representation.
};
