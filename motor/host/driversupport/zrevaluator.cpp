#include "host/driversupport/zrevaluator.h"

#include <cstdarg>
#include <string_view>
#include <utility>

#include "host/driversupport/zrexpressioncompiler.h"
#include "host/driversupport/zrexpressionmachine.h"
#include "host/driversupport/zrexpressionparser.h"
#include "host/driversupport/zrlivevalue.h"
#include "host/tools/zrtext.h"

static_assert(sizeof(ZREvaluator) <= 40, "there is one for each condition and each delay");

ZREvaluator::ZREvaluator() = default;
ZREvaluator::ZREvaluator(const ZRWString& expression) {
  Set(expression);
}
ZREvaluator::~ZREvaluator() = default;

void ZREvaluator::SetFlags(int flag, ...) {
  mayRefer = false;
  std::va_list others;
  va_start(others, flag);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start is right above
  for (int next = flag; next != -1; next = va_arg(others, int)) {
    if (next == kReferencesFlag) mayRefer = true;
  }
  va_end(others);
}

void ZREvaluator::Set(const ZRWString& expression) {
  content = std::make_unique<ZRWString>(expression);
  classOfText = kNotYet;
  errorPosition = 0;
  errorReason = ZRExpressionReason::kNone;
}

int ZREvaluator::AnalizeExpression() {
  if (classOfText != kNotYet) return classOfText;
  const tagText* const held = std::get_if<tagText>(&content);
  const std::wstring_view text = held == nullptr ? std::wstring_view() : (*held)->View();
  ZRExpressionParser parser(text, mayRefer);
  if (parser.Parse()) {
    classOfText = parser.Type() == ZRExpressionType::kLogical ? kLogical : kNumericOrText;
    ZRExpressionCompiler compiler(text, parser.Nodes());
    ZRExpressionCode program = compiler.Compile();
    Accept(std::move(program), compiler.IsConstant());
  } else {
    classOfText = kInvalid;
    errorPosition = static_cast<std::uint16_t>(parser.Position());
    errorReason = parser.Reason();
    content = std::monostate();
  }
  return classOfText;
}

// A program that always gives the same number is kept as that number; one that always fails goes
// on failing.
void ZREvaluator::Accept(ZRExpressionCode&& program, bool isConstant) {
  double number = 0.0;
  int type = 0;
  if (isConstant &&
      ZRExpressionMachine::Run(program, classOfText, number, type, nullptr) == kSuccess) {
    content = number;
  } else {
    content = std::move(program);
  }
}

std::size_t ZREvaluator::ErrorPosition() const {
  return errorPosition;
}

ZRString ZREvaluator::ErrorReason() const {
  return ZRString(ZRExpressionReasonText(errorReason), false);
}

int ZREvaluator::Run(double& value, int& valueType, double* text) {
  if (const auto* const program = std::get_if<ZRExpressionCode>(&content)) {
    return ZRExpressionMachine::Run(*program, classOfText, value, valueType, text);
  }
  if (const double* const number = std::get_if<double>(&content)) {
    value = *number;
    valueType = classOfText;
    return kSuccess;
  }
  if (classOfText != kNotYet || AnalizeExpression() == kInvalid) return kNotAnalyzed;
  return Run(value, valueType, text);
}

int ZREvaluator::Evaluate(double& value, int& valueType) {
  if (const auto* const program = std::get_if<ZRExpressionCode>(&content)) {
    return ZRExpressionMachine::Run(*program, classOfText, value, valueType, nullptr);
  }
  return Run(value, valueType, nullptr);
}

int ZREvaluator::Evaluate(ZRVSValue** value, int& valueType) {
  double number = 0.0;
  double mark = 0.0;
  int type = 0;
  const int error = Run(number, type, &mark);
  if (error != kSuccess) return error;
  if (type != kTypeText) {
    *value = std::make_unique<ZRVSValue>(number).release();
    valueType = type;
    return kSuccess;
  }
  char buffer[ZRLiveValue::kMaximumText];
  std::string_view utf8;
  const auto& program = std::get<ZRExpressionCode>(content);
  if (!ZRExpressionMachine::Text(program.Operands(), mark, buffer, utf8)) return kUnavailable;
  *value = std::make_unique<ZRVSValue>(Utf8ToUtf16(utf8)).release();
  valueType = kTypeText;
  return kSuccess;
}

std::size_t ZREvaluator::MemoryUsed() const {
  if (const auto* const program = std::get_if<ZRExpressionCode>(&content)) {
    return program->MemoryUsed();
  }
  if (const tagText* const text = std::get_if<tagText>(&content)) {
    return sizeof(ZRWString) + ((*text)->Length() + 1) * sizeof(wchar_t);
  }
  return 0;
}
