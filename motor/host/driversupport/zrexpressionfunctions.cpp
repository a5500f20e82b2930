#include "host/driversupport/zrexpressionfunctions.h"

#include <cmath>
#include <cstdint>

#include "host/driversupport/zrevaluator.h"

namespace {

constexpr double kLargestWhole = 9007199254740992.0;  // up to it every whole number is exact
constexpr int kMostDecimals = 15;

int Finite(double computed, double& result) {
  if (!std::isfinite(computed)) return ZREvaluator::kOutOfRange;
  result = computed;
  return ZREvaluator::kSuccess;
}

int Good(double computed, double& result) {
  result = computed;
  return ZREvaluator::kSuccess;
}

bool IsWhole(double value) {
  return std::trunc(value) == value;
}

int Remainder(double left, double right, double& result) {
  if (right == 0.0) return ZREvaluator::kDivisionByZero;
  return Good(std::fmod(left, right), result);
}

int Power(double base, double exponent, double& result) {
  if (base == 0.0 && exponent < 0.0) return ZREvaluator::kDivisionByZero;
  return Finite(std::pow(base, exponent), result);
}

// Numbers so large that they have no such decimals stay as they are.
int RoundTo(double value, double decimals, double& result) {
  if (!IsWhole(decimals) || std::fabs(decimals) > kMostDecimals) return ZREvaluator::kOutOfRange;
  const double scale = std::pow(10.0, std::fabs(decimals));
  if (decimals < 0) return Finite(std::round(value / scale) * scale, result);
  const double scaled = value * scale;
  if (!(std::fabs(scaled) < kLargestWhole)) return Good(value, result);
  return Good(std::round(scaled) / scale, result);
}

int Bit(double value, double number, double& result) {
  if (!IsWhole(value) || std::fabs(value) > kLargestWhole) return ZREvaluator::kOutOfRange;
  if (!IsWhole(number) || number < 0 || number > 63) return ZREvaluator::kOutOfRange;
  const auto bits = static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
  return Good(static_cast<double>((bits >> static_cast<unsigned>(number)) & 1u), result);
}

double Sign(double value) {
  if (value == 0.0) return 0.0;
  return value < 0.0 ? -1.0 : 1.0;
}

int ApplyToOne(ZRInstruction instruction, double value, double& result) {
  switch (instruction) {
    case ZRInstruction::kSign:
      return Good(Sign(value), result);
    case ZRInstruction::kFloor:
      return Good(std::floor(value), result);
    case ZRInstruction::kCeiling:
      return Good(std::ceil(value), result);
    case ZRInstruction::kTruncate:
      return Good(std::trunc(value), result);
    case ZRInstruction::kRound:
      return Good(std::round(value), result);
    case ZRInstruction::kSquareRoot:
      return Finite(std::sqrt(value), result);
    case ZRInstruction::kExponential:
      return Finite(std::exp(value), result);
    case ZRInstruction::kLogarithm:
      return Finite(std::log(value), result);
    case ZRInstruction::kLogarithm10:
      return Finite(std::log10(value), result);
    default:
      return ZREvaluator::kNotAnalyzed;
  }
}

}  // namespace

int ZRExpressionFunctions::Apply(ZRInstruction instruction, const double* first, double last,
                                 double& result) {
  switch (instruction) {
    case ZRInstruction::kRemainder:
      return Remainder(first[0], last, result);
    case ZRInstruction::kPower:
      return Power(first[0], last, result);
    case ZRInstruction::kRoundTo:
      return RoundTo(first[0], last, result);
    case ZRInstruction::kBit:
      return Bit(first[0], last, result);
    case ZRInstruction::kBetween:
      return Good(first[1] <= first[0] && first[0] <= last ? 1.0 : 0.0, result);
    default:
      return ApplyToOne(instruction, last, result);
  }
}
