// Any text is refused with a place and a reason, or is an expression that gives a proper value or
// an error, whatever its variables hold.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string_view>

#include "host/driversupport/zrevaluator.h"
#include "host/driversupport/zrlivevalue.h"
#include "host/platform/zrvirtualtime.h"
#include "host/tools/zrtext.h"

namespace {

constexpr std::size_t kLimit = 16 * 1024;  // bytes

void Require(bool holds) {
  if (!holds) std::abort();
}

// The variables [a] to [e], which change from one evaluation to the next.
class CVariables {
 public:
  static constexpr int kStates = 4;

  CVariables() {
    for (std::size_t i = 0; i < kCount; ++i)
      values[i] = ZRLiveValues::Get().Publish(ZRWString(&kNames[2 * i]));
  }

  void Set(int state) {
    for (std::size_t i = 0; i < kCount; ++i)
      SetOne(*values[i], (static_cast<int>(i) + state) % 5);
  }

 private:
  static constexpr std::size_t kCount = 5;
  static constexpr wchar_t kNames[] = L"a\0b\0c\0d\0e";

  static void SetOne(ZRLiveValue& value, int kind) {
    switch (kind) {
      case 0:
        value.SetNumber(230.5, 1);
        break;
      case 1:
        value.SetNumber(0.0, 1);
        break;
      case 2:
        value.SetText("on", 1);
        break;
      case 3:
        value.SetUnavailable();
        break;
      default:
        value.SetNumber(-std::numeric_limits<double>::max(), 1);
        break;
    }
  }

  ZRLiveValue* values[kCount] = {};
};

void CheckRefused(ZREvaluator& evaluator, std::size_t length) {
  Require(evaluator.ErrorPosition() <= length);
  Require(!evaluator.ErrorReason().IsEmpty());
  double value = 0.0;
  int type = 0;
  Require(evaluator.Evaluate(value, type) == ZREvaluator::kNotAnalyzed);
}

void CheckValue(int classOfText, double value, int type) {
  Require(std::isfinite(value));
  if (classOfText == ZREvaluator::kLogical) {
    Require(type == ZREvaluator::kTypeLogical && (value == 0.0 || value == 1.0));
  } else {
    Require(type == ZREvaluator::kTypeNumber || type == ZREvaluator::kTypeText);
  }
}

void CheckEvaluation(ZREvaluator& evaluator, int classOfText) {
  double value = 0.0;
  int type = 0;
  const int error = evaluator.Evaluate(value, type);
  Require(error != ZREvaluator::kNotAnalyzed && error >= 0 && error <= ZREvaluator::kOutOfRange);
  ZRVSValue* object = nullptr;
  int objectType = 0;
  Require(evaluator.Evaluate(&object, objectType) == error);
  const std::unique_ptr<ZRVSValue> owned(object);
  if (error != ZREvaluator::kSuccess) return;
  CheckValue(classOfText, value, type);
  Require(owned != nullptr && objectType == type);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static ZRVirtualTime time;  // stands still, so that age() gives the same twice
  static CVariables variables;
  if (size > kLimit) return 0;
  const ZRWString text = Utf8ToUtf16(std::string_view(reinterpret_cast<const char*>(bytes), size));
  const std::size_t names = ZRLiveValues::Get().Size();
  {
    ZREvaluator evaluator(text);
    evaluator.SetFlags(2, -1);
    const int classOfText = evaluator.AnalizeExpression();
    Require(classOfText >= ZREvaluator::kInvalid && classOfText <= ZREvaluator::kLogical);
    if (classOfText == ZREvaluator::kInvalid) CheckRefused(evaluator, text.Length());
    for (int state = 0; state < CVariables::kStates; ++state) {
      variables.Set(state);
      if (classOfText != ZREvaluator::kInvalid) CheckEvaluation(evaluator, classOfText);
    }
  }
  Require(ZRLiveValues::Get().Size() == names);
  return 0;
}
