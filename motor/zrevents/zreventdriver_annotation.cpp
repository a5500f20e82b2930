// The language of an event's texts: "%" and a letter, expanded at the moment of use.

#include <limits>

#include "host/base/zrlogger.h"
#include "host/base/zrvalue.h"
#include "host/tools/zrstringtable.h"
#include "host/tools/zrtext.h"
#include "zrevents/timetables/zrtimetable.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventdrivergroup.h"

namespace {

constexpr int kReadsLiveVariables = 2;  // the evaluators' flag
constexpr std::int32_t kMillisecondsInSecond = 1000;

constexpr const wchar_t* kInvalidMark = L" ## invalid expression ##";
constexpr const wchar_t* kFailedMark = L" ## could not avaluate ##";
constexpr const wchar_t* kLogInvalid = L"Event '%ls': invalid expression in argument %d: %ls";
constexpr const wchar_t* kLogFailed =
    L"Event '%ls': could not avaluate expression in argument %d: %ls";

// Reads the digits of `text` from `at` on, to the largest int at most. The place behind them.
std::size_t ReadNumber(const ZRWString& text, std::size_t at, int& number) {
  constexpr int kBase = 10;
  constexpr int kLargest = std::numeric_limits<int>::max();
  number = 0;
  for (; at < text.Length() && text[at] >= L'0' && text[at] <= L'9'; ++at) {
    const int digit = text[at] - L'0';
    number = number > (kLargest - digit) / kBase ? kLargest : number * kBase + digit;
  }
  return at;
}

void AppendWholeSeconds(ZRWString& out, std::int32_t milliseconds) {
  out += FormatWide(L"%d", milliseconds / kMillisecondsInSecond);
}

}  // namespace

bool ZREventDriver::ParseAnnotation(ZRWString& out, const ZRWString& text) {
  ZRWString result;
  if (text.View().find(L'%') == ZRWString::tagView::npos) {
    result = text;
  } else {
    result.GrowInSteps();
    for (std::size_t at = 0; at < text.Length();) {
      if (text[at] != L'%') {
        result += text[at++];
      } else if (++at < text.Length()) {
        AppendEscape(result, text, at);
      }
    }
  }
  out = std::move(result);
  return true;
}

// Appends what stands for the escape whose letter is at `at`, and moves behind it.
void ZREventDriver::AppendEscape(ZRWString& out, const ZRWString& text, std::size_t& at) {
  const wchar_t letter = text[at++];
  switch (letter) {
    case L'%':
      out += L'%';
      return;
    case L'b':
      return AppendWholeSeconds(out, delayOnMs);
    case L'e':
      return AppendWholeSeconds(out, delayOffMs);
    case L'c':
      out += node->Value(L"condition", L"");
      return;
    case L'n':
      out += node->Value(L"name", L"");
      return;
    case L's':
      out += node->Value(L"conditionStop", L"");
      return;
    case L't':
      out += node->Value(L"description", L"");
      return;
    case L'd':
      out += timeTable != nullptr ? timeTable->Name() : ZRLoadString(zrstring::kNoTimeTable);
      return;
    case L'a':
    case L'g': {
      int number = 0;
      const std::size_t behind = ReadNumber(text, at, number);
      if (letter == L'a' ? AppendArgument(out, number) : AppendGroup(out, number)) {
        at = behind;
        return;
      }
      break;  // selects nothing: the digits follow as plain text
    }
    default:
      break;
  }
  out += L'%';
  out += letter;
}

bool ZREventDriver::AppendGroup(ZRWString& out, int number) const {
  if (number < 1 || number > GroupsVectorSize()) return false;
  const ZREventDriverGroup* const group = groups[static_cast<std::size_t>(number) - 1];
  if (group == nullptr || group->Name().IsEmpty()) return false;
  out += group->Name();
  return true;
}

bool ZREventDriver::AppendArgument(ZRWString& out, int number) {
  if (number < 1 || static_cast<std::size_t>(number) > arguments.size()) return false;
  const XmlDocument::XmlNode* const argument = arguments[static_cast<std::size_t>(number) - 1];
  if (argument == nullptr || argument->ValueUtf8("value").empty()) return false;
  AppendExpression(out, *argument, number);
  return true;
}

void ZREventDriver::AppendExpression(ZRWString& out, const XmlDocument::XmlNode& argument,
                                     int number) const {
  const ZRWString expression = argument.Value(L"value", L"");
  ZREvaluator evaluator(expression);
  evaluator.SetFlags(kReadsLiveVariables, -1);
  if (evaluator.AnalizeExpression() != ZREvaluator::kNumericOrText) {
    logger(kLogConfiguration, kLogInvalid, name.Text(), number, expression.Text());
    out += expression;
    out += kInvalidMark;
    return;
  }
  ZRVSValue* result = nullptr;
  int valueType = 0;
  const int code = evaluator.Evaluate(&result, valueType);
  const std::unique_ptr<ZRVSValue> value(result);
  if (code != ZREvaluator::kSuccess) {
    logger(kLogConfiguration, kLogFailed, name.Text(), number, expression.Text());
    out += expression;
    out += kFailedMark;
  } else if (value == nullptr) {
    out += expression;
  } else if ((value->Type() & ZRVSValue::kText) != 0) {
    out += value->String();
  } else {
    int digits = 0;
    int decimals = 0;
    bool sign = false;
    bool scientific = false;
    ParseFormat(argument.Value(L"format", L""), digits, decimals, sign, scientific);
    ZRWString text;
    FormatDouble(text, value->Double(), digits, decimals,
                 argument.bValue(L"thousandSeparator", false), sign, scientific);
    out += text;
  }
}
