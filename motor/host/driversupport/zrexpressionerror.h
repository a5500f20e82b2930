// Why a text is no expression.
#pragma once

#include <cstdint>

enum class ZRExpressionReason : std::uint8_t {
  kNone,
  kEmpty,
  kTooLong,
  kTooDeep,
  kUnexpectedCharacter,
  kBadNumber,
  kNumberOutOfRange,
  kUnendedText,
  kControlCharacter,
  kUnknownEscape,
  kUnendedReference,
  kEmptyReference,
  kReferenceTooLong,
  kReferencesNotAllowed,
  kUnknownWord,
  kOperandExpected,
  kOperatorExpected,
  kOpeningExpected,
  kClosingExpected,
  kReferenceExpected,
  kTooFewArguments,
  kTooManyArguments,
  kChainedComparison,
  kNotInOperand,
  kTextForNumber,
  kTextAgainstNumber,
  kTextOrder,
};

// One short English sentence part, for people who write conditions.
[[nodiscard]] const char* ZRExpressionReasonText(ZRExpressionReason reason);
