// Runs the programs of expressions.
#pragma once

#include <cstdint>
#include <string_view>

#include "host/driversupport/zrexpressioncode.h"
#include "host/driversupport/zrexpressionparser.h"

// Threads   any; a run keeps everything on its stack.
// Promise   no allocation, no lock, no locale, no recursion; a number that comes out is finite.
class ZRExpressionMachine {
 public:
  // What the deepest expression can leave waiting: in each level the left operands of a
  // comparison, a sum, a product and a power, and two arguments.
  static constexpr int kMaximumStack = 7 * (ZRExpressionParser::kMaximumDepth + 1);

  // Runs a program from its start. An error of ZREvaluator, kSuccess included. The results are
  // written on success only: a number and `typeOfNumber`; or, for a text, 0.0 and its type, and in
  // `text`, unless that is null, the NaN that stands for it.
  [[nodiscard]] static int Run(const ZRExpressionCode& code, int typeOfNumber, double& result,
                               int& resultType, double* text) {
    return Execute(code.Instructions(), &result, &resultType, code.Operands(), typeOfNumber, text);
  }

  // The text for which such a NaN of this program stands, in `buffer` if it isn't part of the
  // program (of ZRLiveValue::kMaximumText bytes). False if the variable no longer holds a text.
  [[nodiscard]] static bool Text(const ZRExpressionWord* operands, double result, char* buffer,
                                 std::string_view& utf8);

 private:
  // Where a program stands.
  struct tagState {
    const std::uint8_t* at;
    const ZRExpressionWord* operand;
    const ZRExpressionWord* operands;  // the first one
    double* top;
    double value;
    double* result;
    int* resultType;
    double* text;
    int type;
  };

  // The parameters stand where the caller has most of them already.
  [[nodiscard]] static int Execute(const std::uint8_t* at, double* result, int* resultType,
                                   const ZRExpressionWord* operand, int type, double* text);
  // Executes the rare instruction at `state.at`.
  [[nodiscard, gnu::cold]] static int ExecuteRare(tagState& state);
};
