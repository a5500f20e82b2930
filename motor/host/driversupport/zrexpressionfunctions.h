// The less frequent instructions of expressions.
#pragma once

#include "host/driversupport/zrexpressioncode.h"

class ZRExpressionFunctions {
 public:
  // How many numbers the instruction takes from the stack, besides the accumulator.
  [[nodiscard]] static int FromStack(ZRInstruction instruction) {
    if (instruction < ZRInstruction::kRemainder) return 0;
    return instruction == ZRInstruction::kBetween ? 2 : 1;
  }

  // The instruction, kSign or one behind it, on those numbers, the first one first, and on the
  // last one. An error of ZREvaluator; the result, a finite number, is written on success only.
  [[nodiscard]] static int Apply(ZRInstruction instruction, const double* first, double last,
                                 double& result);
};
