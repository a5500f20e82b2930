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

  // Runs a program from its start. An error of ZREvaluator, kSuccess included; the result is
  // written on success only: a number, or a NaN that stands for a text.
  [[nodiscard, gnu::always_inline]] static inline int Run(const ZRExpressionCode& code,
                                                          double& result) {
    double stack[kMaximumStack];
    tagState rare;  // NOLINT(cppcoreguidelines-pro-type-member-init): written before it is read
    const int outcome =
        ExecuteQuick(code.Instructions(), code.Operands(), stack, 0.0, result, rare);
    return outcome == kRare ? GoOn(rare, code.Operands(), result) : outcome;
  }

  // The text for which such a NaN of this program stands, in `buffer` if it isn't part of the
  // program (of ZRLiveValue::kMaximumText bytes). False if the variable no longer holds a text.
  [[nodiscard]] static bool Text(const ZRExpressionWord* operands, double result, char* buffer,
                                 std::string_view& utf8);

 private:
  static constexpr int kRare = -1;

  // Where a program stands.
  struct tagState {
    const std::uint8_t* at;
    const ZRExpressionWord* operand;
    double* top;
    double value;
  };

  // Runs a program from there on. kSuccess with the result, an error, or kRare with the place of
  // a rare instruction.
  [[nodiscard]] static int ExecuteQuick(const std::uint8_t* at, const ZRExpressionWord* operand,
                                        double* top, double value, double& result, tagState& rare);
  // Executes the rare instruction at `state.at`.
  [[nodiscard]] static int ExecuteRare(tagState& state, const ZRExpressionWord* operands);
  // Goes on from a rare instruction to the end.
  [[nodiscard]] static int GoOn(tagState& state, const ZRExpressionWord* operands, double& result);
};
