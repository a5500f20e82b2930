// The less frequent operations of expressions.
#pragma once

#include "host/driversupport/zrexpressioncode.h"

class ZRExpressionFunctions {
 public:
  // How many numbers the operation takes from the stack, besides the accumulator.
  [[nodiscard]] static int FromStack(ZROperation operation) {
    if (operation < ZROperation::kRemainder) return 0;
    return operation == ZROperation::kBetween ? 2 : 1;
  }

  // The operation on those numbers, the first one first, and on the last one. An error of
  // ZREvaluator; the result, a finite number, is written on success only.
  [[nodiscard]] static int Apply(ZROperation operation, const double* first, double last,
                                 double& result);
};
