#include "zrevents/actions/zreventactionforcevariable.h"

#include <algorithm>

#include "host/driversupport/zrdriver.h"
#include "host/drivervariables/zrdrivervariablenames.h"
#include "host/platform/zrplatform.h"
#include "host/tools/zrstringtable.h"
#include "host/tools/zrtext.h"

namespace {

constexpr int kReadsLiveVariables = 2;  // the evaluators' flag

// A reference without the brackets around it, whatever they are.
ZRWString WithoutEnds(const ZRWString& reference) {
  const std::wstring_view whole = reference.View();
  return whole.size() > 1 ? ZRWString(whole.substr(1, whole.size() - 2)) : ZRWString();
}

bool IsPlain(const ZRWString& name) {
  ZRWString filter;
  ZRWString argument;
  ZRWString driver;
  ZRWString variable;
  (void)SplitFilterDriverVariable(name, filter, argument, driver, variable, false);
  return filter.IsEmpty() && argument.IsEmpty();
}

}  // namespace

bool ZREventActionForceVariable::LoadXml(const XmlDocument::XmlNode* node) {
  evaluator.reset();
  if (node->TagUtf8() != "force") return false;
  if (!ZREventAction::LoadXml(node)) return false;
  if (!Bind(WithoutEnds(node->Value(L"variable", L"")))) return false;
  value = node->Value(L"value", L"");
  return Analyze() || kind == kText;
}

bool ZREventActionForceVariable::Bind(const ZRWString& reference) {
  if (!IsPlain(reference)) return false;
  variable.Setup(reference);
  if (!variable.IsValid()) return false;
  tagSVariableValueInfo info;
  if (!variable.ValueInfo(info)) return false;
  if ((info.flags & tagSVariableValueInfo::kForceable) == 0) return false;
  kind = KindOf(info, ZRLoadString(zrstring::kStateOff), ZRLoadString(zrstring::kStateOn));
  return true;
}

int ZREventActionForceVariable::KindOf(const tagSVariableValueInfo& info, const ZRWString& off,
                                       const ZRWString& on) {
  if ((info.type & tagSVariableValueInfo::kText) != 0) return kText;
  if (info.labels.size() != 2) return kGeneral;
  const auto isState = [&](const ZRString& label) {
    ZRWString text;
    ParseXMLText(text, label);
    return text == off || text == on;
  };
  return std::all_of(info.labels.begin(), info.labels.end(), isState) ? kTwoStates : kGeneral;
}

bool ZREventActionForceVariable::Analyze() {
  evaluator = std::make_shared<ZREvaluator>();
  evaluator->Set(value);
  evaluator->SetFlags(kReadsLiveVariables, -1);
  if (evaluator->AnalizeExpression() != ZREvaluator::kInvalid) return true;
  evaluator.reset();
  return false;
}

bool ZREventActionForceVariable::Execute(int /*moment*/) {
  if (!variable.IsReady()) return true;
  ZRValue toForce;
  bool hasValue = evaluator != nullptr && Evaluate(toForce);
  if (!hasValue && kind == kText) {
    toForce.SetString(value);
    hasValue = true;
  }
  if (hasValue) (void)variable.Driver()->ForceValue(variable.Id(), toForce, variable.Name().Text());
  ZRPlatform::Get().Sleep(0);
  return true;
}

bool ZREventActionForceVariable::Evaluate(ZRValue& toForce) {
  evaluator->SetFlags(kReadsLiveVariables, -1);
  ZRVSValue* given = nullptr;
  int valueType = 0;
  const int code = evaluator->Evaluate(&given, valueType);
  const std::unique_ptr<const ZRVSValue> result(given);
  if (code != ZREvaluator::kSuccess || result == nullptr) return false;
  toForce = ValueToForce(*result, valueType);
  return true;
}

ZRValue ZREventActionForceVariable::ValueToForce(const ZRVSValue& result, int valueType) {
  ZRValue toForce;
  result.CopyTo(toForce);
  if (valueType == ZREvaluator::kTypeLogical && toForce.IsNumeric())
    toForce.SetNumeric(toForce.Numeric() != 0.0 ? 1.0 : 0.0);
  return toForce;
}

bool ZREventActionForceVariable::ProcessHttpServiceEventsActions(ZRBasicString<char>& /*xml*/) {
  return false;
}
