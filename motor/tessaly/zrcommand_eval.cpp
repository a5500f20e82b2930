// tessaly eval: an expression on a site's live values.

#include <array>
#include <charconv>
#include <cstdio>
#include <memory>
#include <string>

#include "host/base/zrlogger.h"
#include "host/base/zrlogtext.h"
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

std::string Shown(std::wstring_view text) {
  return std::string(Utf16ToUtf8(EscapeLogText(ZRWString(text)).View()).View());
}

// The expression, a mark below the place to blame, and the reason.
int Refuse(const ZREvaluator& evaluator, const ZRWString& expression) {
  const std::size_t at = evaluator.ErrorPosition();
  const ZRWString before = EscapeLogText(ZRWString(expression.View().substr(0, at)));
  std::printf("%s\n%s^\n", Shown(expression.View()).c_str(),
              std::string(before.Length(), ' ').c_str());
  std::printf("wrong at character %zu: %s\n", at + 1, evaluator.ErrorReason().Text());
  return kExitFaulty;
}

void PrintValue(const ZRVSValue& value, int valueType) {
  if (valueType == ZREvaluator::kTypeText) {
    std::printf("text \"%s\"\n", Shown(value.String().View()).c_str());
  } else if (valueType == ZREvaluator::kTypeLogical) {
    std::printf("%s\n", value.Double() != 0.0 ? "true" : "false");
  } else {
    // As expressions write numbers, whatever the language.
    std::array<char, 32> text{};
    (void)std::to_chars(text.begin(), text.end(), value.Double());
    std::printf("%s\n", text.data());
  }
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
  PrintValue(*value, valueType);
  return kExitDone;
}

}  // namespace

int EvaluateOnSite(const ZRCommand& command) {
  SetLogLevel(kLogConfiguration);
  ZRFindings findings;
  ZRSite site(command.site);
  if (!site.LoadSettings(findings)) {
    LogFindings(findings);
    return kExitImpossible;
  }
  (void)site.TryDocuments(findings);
  site.MakeDrivers(findings);
  site.StartDrivers(ZRSite::tagDrivers::kAll, findings);
  LogFindings(findings);
  site.LoadEvents({});  // for the variables of the events
  const ZRWString expression = Utf8ToUtf16(std::string_view(command.expression));
  ZREvaluator evaluator(expression);
  evaluator.SetFlags(kReadsLiveVariables, -1);
  const int kind = evaluator.AnalizeExpression();
  return kind == ZREvaluator::kInvalid ? Refuse(evaluator, expression) : Print(evaluator, kind);
}
