// tessaly eval: an expression on a site's live values.

#include <cstdio>
#include <string>

#include "host/base/zrlogger.h"
#include "host/driversupport/zrevaluator.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrcommands.h"
#include "tessaly/zrsite.h"

namespace {

constexpr int kReadsLiveVariables = 2;  // the evaluators' flag

const char* ErrorText(int code) {
  switch (code) {
    case ZREvaluator::kUnknown:
      return "it reads a variable that no driver has";
    case ZREvaluator::kUnavailable:
      return "it reads a variable that has no value at present";
    case ZREvaluator::kDivisionByZero:
      return "it divides by zero";
    case ZREvaluator::kWrongType:
      return "it mixes a text and a number";
    case ZREvaluator::kOutOfRange:
      return "a number in it is out of range";
    default:
      return "it can't be evaluated";
  }
}

int Refuse(const ZREvaluator& evaluator, const std::string& expression) {
  const std::size_t at = evaluator.ErrorPosition();
  std::printf("%s\n%s^\n", expression.c_str(), std::string(at, ' ').c_str());
  std::printf("wrong at character %zu: %s\n", at + 1, evaluator.ErrorReason().Text());
  return kExitFaulty;
}

int Print(ZREvaluator& evaluator, int kind) {
  ZRVSValue* result = nullptr;
  int valueType = 0;
  const int code = evaluator.Evaluate(&result, valueType);
  const std::unique_ptr<ZRVSValue> value(result);
  std::printf("class %d (%s)\n", kind, kind == ZREvaluator::kLogical ? "true or false" : "value");
  if (code != ZREvaluator::kSuccess) {
    std::printf("no value: %s\n", ErrorText(code));
    return kExitFaulty;
  }
  if (valueType == ZREvaluator::kTypeText) {
    std::printf("text \"%s\"\n", Utf16ToUtf8(value->String().View()).Text());
  } else if (valueType == ZREvaluator::kTypeLogical) {
    std::printf("%s\n", value->Double() != 0.0 ? "true" : "false");
  } else {
    ZRWString text;
    FormatDouble(text, value->Double(), 0, -1, false, false, false);
    std::printf("%s\n", Utf16ToUtf8(text.View()).Text());
  }
  return kExitDone;
}

}  // namespace

int EvaluateOnSite(const ZRCommand& command) {
  ZRFindings findings;
  ZRSite site(command.site);
  if (!site.LoadSettings(findings)) {
    PrintFindings(findings);
    return kExitImpossible;
  }
  SetLogLevel(kLogInvariant);
  site.MakeDrivers(findings);
  site.StartDrivers(ZRSite::tagDrivers::kAll, findings);
  ZREvaluator evaluator(Utf8ToUtf16(std::string_view(command.expression)));
  evaluator.SetFlags(kReadsLiveVariables, -1);
  const int kind = evaluator.AnalizeExpression();
  if (kind == ZREvaluator::kInvalid) return Refuse(evaluator, command.expression);
  return Print(evaluator, kind);
}
