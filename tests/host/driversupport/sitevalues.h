// Live variables for a test, and expressions over them.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "host/driversupport/zrevaluator.h"
#include "host/driversupport/zrlivevalue.h"
#include "host/tools/zrtext.h"

// Owns its variables: withdrawn at the end.
class CSiteValues {
 public:
  ~CSiteValues() {
    for (const auto& [name, value] : values)
      ZRLiveValues::Get().Withdraw(value);
  }

  ZRLiveValue& operator[](const std::string& name) {
    auto [found, isNew] = values.try_emplace(name, nullptr);
    if (isNew) found->second = ZRLiveValues::Get().Publish(Utf8ToUtf16(std::string_view(name)));
    return *found->second;
  }
  void Remove(const std::string& name) {
    ZRLiveValues::Get().Withdraw(values.at(name));
    values.erase(name);
  }

 private:
  std::map<std::string, ZRLiveValue*> values;
};

// What an evaluation gave, in words: "5", "true", "\"on\"", "unavailable"...
[[nodiscard]] inline std::string ErrorName(int error) {
  switch (error) {
    case ZREvaluator::kNotAnalyzed:
      return "invalid";
    case ZREvaluator::kUnknown:
      return "unknown";
    case ZREvaluator::kUnavailable:
      return "unavailable";
    case ZREvaluator::kDivisionByZero:
      return "division by zero";
    case ZREvaluator::kWrongType:
      return "wrong type";
    case ZREvaluator::kOutOfRange:
      return "out of range";
    default:
      return "error " + std::to_string(error);
  }
}

inline void Give(ZREvaluator& evaluator, std::string_view expression) {
  evaluator.SetFlags(2, -1);
  evaluator.Set(Utf8ToUtf16(expression));
}

[[nodiscard]] inline int ClassOf(std::string_view expression) {
  ZREvaluator evaluator;
  Give(evaluator, expression);
  return evaluator.AnalizeExpression();
}

[[nodiscard]] inline std::string ResultOf(ZREvaluator& evaluator) {
  double value = -7.0;
  int type = -7;
  const int error = evaluator.Evaluate(value, type);
  if (error != ZREvaluator::kSuccess) {
    return value == -7.0 && type == -7 ? ErrorName(error) : "an error that wrote a value";
  }
  if (type == ZREvaluator::kTypeLogical) {
    if (value == 1.0) return "true";
    return value == 0.0 ? "false" : "a logical value that is neither 1 nor 0";
  }
  ZRVSValue* object = nullptr;
  if (evaluator.Evaluate(&object, type) != ZREvaluator::kSuccess) return "no value object";
  const std::unique_ptr<ZRVSValue> owned(object);
  if (type == ZREvaluator::kTypeText) {
    const ZRString text = Utf16ToUtf8(owned->String().View());
    return '"' + std::string(text.View()) + '"';
  }
  char buffer[40];
  std::snprintf(buffer, sizeof(buffer), "%.15g", value);
  return owned->Double() == value ? buffer : "two different values";
}

[[nodiscard]] inline std::string ResultOf(std::string_view expression) {
  ZREvaluator evaluator;
  Give(evaluator, expression);
  return ResultOf(evaluator);
}
