#include "tessaly/zreventcheck.h"

#include <algorithm>
#include <array>

#include "host/tools/zrtext.h"
#include "host/tools/zruuid.h"
#include "tessaly/zractioncheck.h"
#include "tessaly/zreventtextcheck.h"
#include "zrevents/zrdelay.h"

namespace {

using Kind = ZRFinding::tagKind;
using Node = XmlDocument::XmlNode;

constexpr int kReadsLiveVariables = 2;  // the evaluators' flag

bool IsEventKey(std::string_view tag) {
  constexpr std::array<std::string_view, 22> kKeys = {"id",
                                                      "idn",
                                                      "name",
                                                      "description",
                                                      "annotation",
                                                      "deaAnnotation",
                                                      "ackAnnotation",
                                                      "notify",
                                                      "record",
                                                      "rssActivate",
                                                      "rssDeactivate",
                                                      "rssAcknowledge",
                                                      "timeTable",
                                                      "delayToActivate",
                                                      "delayToDeactivate",
                                                      "condition",
                                                      "conditionStop",
                                                      "eventsGroups",
                                                      "arguments",
                                                      "enabled",
                                                      "actions",
                                                      "clientActions"};
  return std::find(kKeys.begin(), kKeys.end(), tag) != kKeys.end();
}

bool IsMoment(std::string_view tag) {
  return tag == "activate" || tag == "while" || tag == "deactivate" || tag == "acknowledge";
}

// The text of a child, if there is one that isn't empty.
const Node* FilledChild(const Node& element, std::string_view key) {
  const Node* const child = element.Child(key);
  return child == nullptr || child->TextUtf8().empty() ? nullptr : child;
}

// --- expressions ---

// What the engine makes of a delay that reads no variable, if that isn't what stands there.
std::string ChangeOfConstantDelay(std::string_view expression) {
  ZREvaluator evaluator(Utf8ToUtf16(expression));  // without the flag no variable can be read
  if (evaluator.AnalizeExpression() != ZREvaluator::kNumericOrText) return "";
  double seconds = 0.0;
  int valueType = 0;
  if (evaluator.Evaluate(seconds, valueType) != ZREvaluator::kSuccess)
    return "has no value: there is no delay";
  if (valueType == ZREvaluator::kTypeText) return "is a text: there is no delay";
  if (seconds < 0.0) return "is negative: there is no delay";
  constexpr double kMillisecondsInSecond = 1000.0;
  if (seconds * kMillisecondsInSecond > DelayMilliseconds(seconds) + 1.0)
    return "is too long: it is 24 days and 20 hours";
  return "";
}

void CheckDelay(const ZRElementCheck& check, std::string_view key) {
  const Node* const delay = FilledChild(check.Element(), key);
  if (delay == nullptr) return;
  const ZRExpressionFacts facts = FactsOfExpression(delay->TextUtf8());
  if (facts.kind == ZREvaluator::kInvalid) {
    check.Say(Kind::kDropped, *delay,
              Quoted(key) + " is wrong " + facts.reason + ": there is no delay");
  } else if (facts.kind == ZREvaluator::kLogical) {
    check.Say(Kind::kDropped, *delay,
              Quoted(key) + " is a comparison, not a number of seconds: there is no delay");
  } else if (const std::string change = ChangeOfConstantDelay(delay->TextUtf8()); !change.empty()) {
    check.Say(Kind::kChanged, *delay, Quoted(key) + " " + change);
  }
}

void CheckStopCondition(const ZRElementCheck& check, const ZREventDriver& event) {
  const Node* const stop = FilledChild(check.Element(), "conditionStop");
  if (stop == nullptr || event.HasStopCondition()) return;
  const ZRExpressionFacts facts = FactsOfExpression(stop->TextUtf8());
  check.Say(Kind::kDropped, *stop,
            facts.kind == ZREvaluator::kInvalid
                ? "its stop condition is wrong " + facts.reason
                : "its stop condition gives a value, not true or false");
}

void CheckVariables(const ZRElementCheck& check, const Node& expression, const std::string& what) {
  if (FactsOfExpression(expression.TextUtf8()).code == ZREvaluator::kUnknown)
    check.Say(Kind::kHint, expression, what + " reads a variable that no driver has at present");
}

void CheckExpressions(const ZRElementCheck& check, const ZREventDriver& event) {
  CheckDelay(check, "delayToActivate");
  CheckDelay(check, "delayToDeactivate");
  CheckStopCondition(check, event);
  for (const std::string_view key :
       {"delayToActivate", "delayToDeactivate", "condition", "conditionStop"}) {
    if (const Node* const expression = check.Element().Child(key))
      CheckVariables(check, *expression, Quoted(key));
  }
}

// --- what it refers to ---

void CheckTimeTable(const ZRElementCheck& check, const ZREventDriver& event) {
  const Node* const table = FilledChild(check.Element(), "timeTable");
  if (table == nullptr || event.TimeTable() != nullptr) return;
  check.Say(Kind::kDropped, *table,
            "there is no time table " + Quoted(table->TextUtf8()) + ": it is always evaluated");
}

void CheckMemberships(const ZRElementCheck& check, ZREventSystem& system) {
  const Node* const list = check.Element().Child("eventsGroups");
  if (list == nullptr) return;
  for (auto child = list->ChildsBegin(); child != list->ChildsEnd(); ++child) {
    const std::string_view id = (*child)->TextUtf8();
    if (system.LockEventsGroup(wtouuid(Utf8ToUtf16(id))) == nullptr) {
      check.Say(Kind::kChanged, **child,
                "there is no group " + Quoted(id) + ": it joins the default group");
    }
  }
}

void CheckArgument(const ZRElementCheck& check, const Node& argument, const std::string& what) {
  check.CheckKeys(argument, [](std::string_view tag) {
    return tag == "value" || tag == "format" || tag == "thousandSeparator";
  });
  check.CheckFlag(argument, "thousandSeparator");
  if (const Node* const format = FilledChild(argument, "format");
      format != nullptr && !IsNumberFormat(format->TextUtf8())) {
    check.Say(Kind::kChanged, *format,
              what + " has a format that means nothing, " + Quoted(format->TextUtf8()) +
                  ": it is shown in its shortest form");
  }
  const Node* const value = FilledChild(argument, "value");
  if (value == nullptr) return;
  const ZRExpressionFacts facts = FactsOfExpression(value->TextUtf8());
  if (facts.kind == ZREvaluator::kInvalid) {
    check.Say(Kind::kDropped, *value, what + " is wrong " + facts.reason);
  } else if (facts.kind == ZREvaluator::kLogical) {
    check.Say(Kind::kDropped, *value, what + " is a comparison, not a value");
  } else {
    CheckVariables(check, *value, what);
  }
}

void CheckArguments(const ZRElementCheck& check) {
  const Node* const list = check.Element().Child("arguments");
  if (list == nullptr) return;
  int number = 0;
  for (auto child = list->ChildsBegin(); child != list->ChildsEnd(); ++child)
    CheckArgument(check, **child, "argument " + std::to_string(++number));
}

// --- actions ---

void CheckMoment(const ZRElementCheck& check, const Node& side, const Node& moment,
                 ZRActionSide which, ZREventDriver& event) {
  const bool isRead = IsMoment(moment.TagUtf8()) && side.Child(moment.TagUtf8()) == &moment;
  if (!isRead) return;
  if (moment.TagUtf8() == "acknowledge" && !event.Notify() && moment.Size() != 0) {
    check.Say(Kind::kDropped, moment,
              "actions of an acknowledgement need 'notify': nobody is asked to acknowledge");
    return;
  }
  for (auto action = moment.ChildsBegin(); action != moment.ChildsEnd(); ++action)
    CheckAction(check, **action, which, event);
}

void CheckActions(const ZRElementCheck& check, ZREventDriver& event) {
  for (const ZRActionSide which : {ZRActionSide::kServer, ZRActionSide::kClients}) {
    const Node* const side =
        check.Element().Child(which == ZRActionSide::kServer ? "actions" : "clientActions");
    if (side == nullptr) continue;
    check.CheckKeys(*side, IsMoment);
    for (auto moment = side->ChildsBegin(); moment != side->ChildsEnd(); ++moment)
      CheckMoment(check, *side, **moment, which, event);
  }
}

// The name is a part of the names of the data files.
void CheckHistory(const ZRElementCheck& check, ZREventDriver& event) {
  constexpr int kPathSize = 260;  // the writer's
  if (!event.IsHistoricEnabled()) return;
  std::array<wchar_t, kPathSize> path{};
  event.EventFileName(path.data(), kPathSize, ZRDateTime::UTC(), 0);
  if (path[0] == L'\0') check.Say(Kind::kDropped, "it has no history: no file can have its name");
}

}  // namespace

ZRExpressionFacts FactsOfExpression(std::string_view expression) {
  ZREvaluator evaluator(Utf8ToUtf16(expression));
  evaluator.SetFlags(kReadsLiveVariables, -1);
  ZRExpressionFacts facts;
  facts.kind = evaluator.AnalizeExpression();
  if (facts.kind == ZREvaluator::kInvalid) {
    facts.reason = "at character " + std::to_string(evaluator.ErrorPosition() + 1) + ": " +
                   std::string(evaluator.ErrorReason().View());
    return facts;
  }
  double value = 0.0;
  int valueType = 0;
  facts.code = evaluator.Evaluate(value, valueType);
  return facts;
}

void CheckRefusedEvent(const ZRElementCheck& check) {
  const Node& element = check.Element();
  const Node* const id = FilledChild(element, "id");
  const Node* const condition = element.Child("condition");
  if (id == nullptr) return check.Say(Kind::kDropped, "it has no id");
  if (wtouuid(Utf8ToUtf16(id->TextUtf8())) == uuid::null)
    return check.Say(Kind::kDropped, *id, "its id " + Quoted(id->TextUtf8()) + " is no uuid");
  if (condition == nullptr) return check.Say(Kind::kDropped, "it has no condition");
  const ZRExpressionFacts facts = FactsOfExpression(condition->TextUtf8());
  if (facts.kind == ZREvaluator::kInvalid)
    return check.Say(Kind::kDropped, *condition, "its condition is wrong " + facts.reason);
  if (facts.kind != ZREvaluator::kLogical) {
    return check.Say(Kind::kDropped, *condition,
                     "its condition gives a value, not true or false: a comparison is missing");
  }
  check.Say(Kind::kDropped, "it has no name");
}

void CheckLoadedEvent(const ZRElementCheck& check, ZREventDriver& event, ZREventSystem& system) {
  check.CheckKeys(check.Element(), IsEventKey);
  check.CheckSwitch();
  for (const std::string_view key :
       {"notify", "record", "rssActivate", "rssDeactivate", "rssAcknowledge"})
    check.CheckFlag(check.Element(), key);
  CheckExpressions(check, event);
  CheckTimeTable(check, event);
  CheckMemberships(check, system);
  CheckArguments(check);
  CheckEventTexts(check, event);
  CheckHistory(check, event);
  CheckActions(check, event);
}
