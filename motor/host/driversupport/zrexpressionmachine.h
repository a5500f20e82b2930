// Runs the programs of expressions.
#pragma once

#include <cstddef>
#include <string_view>

#include "host/driversupport/zrexpressioncode.h"

// Threads   any; a run keeps everything on its stack.
// Promise   no allocation, no lock, no locale, no recursion; a number that comes out is finite.
class ZRExpressionMachine {
 public:
  // Runs a program from its start. An error of ZREvaluator, kSuccess included; the result is
  // written on success only: a number, or a NaN that stands for a text.
  [[nodiscard]] static int Run(const ZRExpressionCode& code, double& result);

  // The text for which such a NaN of this program stands, in `buffer` if it isn't part of the
  // program (of ZRLiveValue::kMaximumText bytes). False if the variable no longer holds a text.
  [[nodiscard]] static bool Text(const ZRExpressionWord* operands, double result, char* buffer,
                                 std::string_view& utf8);
};
