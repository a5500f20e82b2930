#pragma once

#include <memory>

#include "host/driversupport/zrdrivervariable.h"
#include "host/driversupport/zrevaluator.h"
#include "zrevents/actions/zreventaction.h"

// Forces a variable of a driver to the value that an expression has at the time. A variable of
// texts can also be forced to a text that is no expression.
//
// Threads   as ZREventAction; a copy shares the expression, and must not be executed at the same
//           time.
// Order     none of its own; the driver's below an event's occurrencesMutex.
class ZREVENTS_API ZREventActionForceVariable final : public ZREventAction {
 public:
  // What a variable is.
  static constexpr int kGeneral = 0;
  static constexpr int kTwoStates = 1;
  static constexpr int kText = 2;

  explicit ZREventActionForceVariable(ZREventDriver* owner) : ZREventAction(owner) {}
  ZREventActionForceVariable(const ZREventActionForceVariable&) = default;
  ZREventActionForceVariable& operator=(const ZREventActionForceVariable&) = delete;

  // Forces the variable, if its driver is online. Without a value nothing happens, but a variable
  // of texts gets the text of the expression. True.
  bool Execute(int moment) override;
  // False for what is no plain reference to a variable that a driver has and that accepts forced
  // values, and for a wrong expression on a variable that isn't a text.
  [[nodiscard]] bool LoadXml(const XmlDocument::XmlNode* node) override;
  // A client has nothing to do: false, and `xml` as it is.
  bool ProcessHttpServiceEventsActions(ZRBasicString<char>& xml) override;

  // The kind by a driver's description. A variable has two states if both its labels are among the
  // two words for them.
  [[nodiscard]] static int KindOf(const tagSVariableValueInfo& info, const ZRWString& off,
                                  const ZRWString& on);
  // What is forced for the result of an expression: exactly 0 or 1 for a logical one.
  [[nodiscard]] static ZRValue ValueToForce(const ZRVSValue& result, int valueType);

 private:
  [[nodiscard]] bool Bind(const ZRWString& reference);
  [[nodiscard]] bool Analyze();
  [[nodiscard]] bool Evaluate(ZRValue& toForce);

  ZRDriverVariable variable;
  std::shared_ptr<ZREvaluator> evaluator;  // null if `value` is no expression
  ZRWString value;
  int kind = kGeneral;
};
