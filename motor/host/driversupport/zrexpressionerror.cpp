#include "host/driversupport/zrexpressionerror.h"

const char* ZRExpressionReasonText(ZRExpressionReason reason) {
  switch (reason) {
    case ZRExpressionReason::kNone:
      return "";
    case ZRExpressionReason::kEmpty:
      return "the expression is empty";
    case ZRExpressionReason::kTooLong:
      return "the expression is too long";
    case ZRExpressionReason::kTooDeep:
      return "nested too deeply";
    case ZRExpressionReason::kUnexpectedCharacter:
      return "unexpected character";
    case ZRExpressionReason::kBadNumber:
      return "this isn't a number";
    case ZRExpressionReason::kNumberOutOfRange:
      return "the number is too large or too small";
    case ZRExpressionReason::kUnendedText:
      return "the text has no closing quote";
    case ZRExpressionReason::kControlCharacter:
      return "control character";
    case ZRExpressionReason::kUnknownEscape:
      return "only \\\" and \\\\ can follow a backslash";
    case ZRExpressionReason::kUnendedReference:
      return "the reference has no closing bracket";
    case ZRExpressionReason::kEmptyReference:
      return "the reference is empty";
    case ZRExpressionReason::kReferenceTooLong:
      return "the reference is too long";
    case ZRExpressionReason::kReferencesNotAllowed:
      return "variables can't be used here";
    case ZRExpressionReason::kUnknownWord:
      return "unknown word";
    case ZRExpressionReason::kOperandExpected:
      return "a value is expected here";
    case ZRExpressionReason::kOperatorExpected:
      return "an operator is expected here";
    case ZRExpressionReason::kOpeningExpected:
      return "an opening parenthesis is expected here";
    case ZRExpressionReason::kClosingExpected:
      return "a closing parenthesis is expected here";
    case ZRExpressionReason::kReferenceExpected:
      return "a variable in brackets is expected here";
    case ZRExpressionReason::kTooFewArguments:
      return "an argument is missing";
    case ZRExpressionReason::kTooManyArguments:
      return "too many arguments";
    case ZRExpressionReason::kChainedComparison:
      return "comparisons can't be chained: join them with 'and', or use between()";
    case ZRExpressionReason::kNotInOperand:
      return "put this 'not' in parentheses";
    case ZRExpressionReason::kTextForNumber:
      return "a text can't be used as a number";
    case ZRExpressionReason::kTextAgainstNumber:
      return "a text can't be compared with a number";
    case ZRExpressionReason::kTextOrder:
      return "texts can only be compared with = and <>";
  }
  return "";
}
