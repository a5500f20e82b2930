// Groups and events: what was dropped, what is in force differently, and why.

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <string>
#include <unordered_map>

#include "host/driversupport/zrevaluator.h"
#include "host/tools/zrtext.h"
#include "host/tools/zruuid.h"
#include "tessaly/zrsitecheck.h"
#include "zrevents/actions/zreventaction.h"
#include "zrevents/zreventdriver.h"

namespace {

using Kind = ZRFinding::tagKind;
using Node = XmlDocument::XmlNode;

constexpr int kReadsLiveVariables = 2;  // the evaluators' flag

constexpr std::array<std::string_view, 20> kEventKeys = {"id",
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
                                                         "enabled"};
constexpr std::array<std::string_view, 2> kActionKeys = {"actions", "clientActions"};
constexpr std::array<std::string_view, 5> kFlags = {"notify", "record", "rssActivate",
                                                    "rssDeactivate", "rssAcknowledge"};
constexpr std::array<std::string_view, kMoments> kMomentKeys = {"activate", "while", "deactivate",
                                                                "acknowledge"};

template <typename List>
bool Contains(const List& list, std::string_view text) {
  return std::find(list.begin(), list.end(), text) != list.end();
}

std::string Quoted(std::string_view text) {
  return "'" + std::string(text) + "'";
}

ZRWString WideOf(std::string_view text) {
  return Utf8ToUtf16(text);
}

const Node* ChildOf(const Node& node, std::string_view tag) {
  for (auto child = node.ChildsBegin(); child != node.ChildsEnd(); ++child)
    if ((*child)->TagUtf8() == tag) return *child;
  return nullptr;
}

// What an expression is, and where it goes wrong.
struct tagAnalysis {
  int kind = ZREvaluator::kInvalid;
  int code = ZREvaluator::kSuccess;  // of an evaluation now
  std::string reason;
};

tagAnalysis Analyze(std::string_view expression) {
  ZREvaluator evaluator(WideOf(expression));
  evaluator.SetFlags(kReadsLiveVariables, -1);
  tagAnalysis result;
  result.kind = evaluator.AnalizeExpression();
  if (result.kind == ZREvaluator::kInvalid) {
    result.reason = "at character " + std::to_string(evaluator.ErrorPosition() + 1) + ": " +
                    std::string(evaluator.ErrorReason().View());
    return result;
  }
  double value = 0.0;
  int valueType = 0;
  result.code = evaluator.Evaluate(value, valueType);
  return result;
}

// One element of the document, with the words for what is said of it.
class CElementCheck {
 public:
  CElementCheck(const Node& toCheck, const char* what, ZRFindings& toFill)
      : element(toCheck), findings(toFill) {
    const std::string_view name = element.ValueUtf8("name");
    subject = std::string(what) + " " + (name.empty() ? "without a name" : Quoted(name));
  }

  void Say(Kind kind, const Node& place, const std::string& text) const {
    findings.push_back({kind, kEventsFile, place.Line(), 0, subject + ": " + text});
  }
  void Say(Kind kind, const std::string& text) const { Say(kind, element, text); }

  const Node& element;

 private:
  std::string subject;
  ZRFindings& findings;
};

// --- an event that isn't in the store ---

std::string ReasonOfRefusal(const Node& element) {
  const std::string_view id = element.ValueUtf8("id");
  if (id.empty()) return "it has no id";
  if (wtouuid(WideOf(id)) == uuid::null) return "its id " + Quoted(id) + " is no uuid";
  const Node* const condition = ChildOf(element, "condition");
  if (condition == nullptr) return "it has no condition";
  const tagAnalysis analysis = Analyze(condition->TextUtf8());
  if (analysis.kind == ZREvaluator::kInvalid) return "its condition is wrong " + analysis.reason;
  if (analysis.kind != ZREvaluator::kLogical)
    return "its condition gives a value, not true or false: a comparison is missing";
  return "it has no name";
}

// --- an event that is ---

void CheckKeys(const CElementCheck& check) {
  std::set<std::string_view> seen;
  for (auto child = check.element.ChildsBegin(); child != check.element.ChildsEnd(); ++child) {
    const std::string_view key = (*child)->TagUtf8();
    if (!Contains(kEventKeys, key) && !Contains(kActionKeys, key)) {
      check.Say(Kind::kDropped, **child, "nobody knows an element " + Quoted(key));
    } else if (!seen.insert(key).second) {
      check.Say(Kind::kDropped, **child, "a second " + Quoted(key) + " isn't read");
    }
  }
}

void CheckFlags(const CElementCheck& check) {
  for (const std::string_view key : kFlags) {
    const Node* const flag = ChildOf(check.element, key);
    if (flag == nullptr) continue;
    const std::string_view value = flag->TextUtf8();
    if (value != "T" && value != "F" && !value.empty()) {
      check.Say(Kind::kChanged, *flag,
                Quoted(key) + " is " + Quoted(value) + " and counts as F: only T is true");
    }
  }
}

void CheckDelay(const CElementCheck& check, std::string_view key) {
  const Node* const delay = ChildOf(check.element, key);
  if (delay == nullptr) return;
  const tagAnalysis analysis = Analyze(delay->TextUtf8());
  if (analysis.kind == ZREvaluator::kNumericOrText) return;
  const std::string why = analysis.kind == ZREvaluator::kInvalid
                              ? "is wrong " + analysis.reason
                              : "is a comparison, not a number of seconds";
  check.Say(Kind::kDropped, *delay, Quoted(key) + " " + why + ": there is no delay");
}

void CheckStopCondition(const CElementCheck& check, const ZREventDriver& event) {
  const Node* const stop = ChildOf(check.element, "conditionStop");
  if (stop == nullptr || event.HasStopCondition()) return;
  const tagAnalysis analysis = Analyze(stop->TextUtf8());
  check.Say(Kind::kDropped, *stop,
            analysis.kind == ZREvaluator::kInvalid
                ? "its stop condition is wrong " + analysis.reason
                : "its stop condition gives a value, not true or false");
}

void CheckVariables(const CElementCheck& check, std::string_view key) {
  const Node* const expression = ChildOf(check.element, key);
  if (expression == nullptr) return;
  if (Analyze(expression->TextUtf8()).code == ZREvaluator::kUnknown) {
    check.Say(Kind::kHint, *expression,
              Quoted(key) + " reads a variable that no driver has at present");
  }
}

void CheckTimeTable(const CElementCheck& check, const ZREventDriver& event) {
  const std::string_view table = check.element.ValueUtf8("timeTable");
  if (table.empty() || event.TimeTable() != nullptr) return;
  check.Say(Kind::kDropped, *ChildOf(check.element, "timeTable"),
            "there is no time table " + Quoted(table) + ": it is always evaluated");
}

void CheckMemberships(const CElementCheck& check, ZREventSystem& system) {
  const Node* const list = ChildOf(check.element, "eventsGroups");
  if (list == nullptr) return;
  for (auto child = list->ChildsBegin(); child != list->ChildsEnd(); ++child) {
    const std::string_view id = (*child)->TextUtf8();
    if (system.LockEventsGroup(wtouuid(WideOf(id))) == nullptr) {
      check.Say(Kind::kChanged, **child,
                "there is no group " + Quoted(id) + ": it joins the default group");
    }
  }
}

void CheckArguments(const CElementCheck& check) {
  const Node* const list = ChildOf(check.element, "arguments");
  if (list == nullptr) return;
  int number = 0;
  for (auto child = list->ChildsBegin(); child != list->ChildsEnd(); ++child) {
    ++number;
    const std::string_view value = (*child)->ValueUtf8("value");
    if (value.empty()) continue;
    const tagAnalysis analysis = Analyze(value);
    if (analysis.kind == ZREvaluator::kNumericOrText) continue;
    check.Say(Kind::kDropped, **child,
              "argument " + std::to_string(number) +
                  (analysis.kind == ZREvaluator::kInvalid ? " is wrong " + analysis.reason
                                                          : " is a comparison, not a value"));
  }
}

void CheckMoment(const CElementCheck& check, const Node& moment, bool notifies) {
  const std::string_view key = moment.TagUtf8();
  if (!Contains(kMomentKeys, key)) {
    check.Say(Kind::kDropped, moment, "there is no moment " + Quoted(key));
    return;
  }
  if (key == kMomentKeys[kMomentAcknowledge] && !notifies && moment.Size() != 0) {
    check.Say(Kind::kDropped, moment,
              "actions of an acknowledgement need 'notify': nobody is asked to acknowledge");
    return;
  }
  for (auto action = moment.ChildsBegin(); action != moment.ChildsEnd(); ++action) {
    const std::string_view tag = (*action)->TagUtf8();
    if (ZREventActionKinds::KindOf(tag) != ZREventActionKinds::kUnknown) continue;
    const bool isPlanned = Contains(ZREventActionKinds::kTags, tag);
    check.Say(Kind::kDropped, **action,
              "action " + Quoted(tag) + (isPlanned ? " isn't available yet" : " doesn't exist"));
  }
}

void CheckActions(const CElementCheck& check, const ZREventDriver& event) {
  for (const std::string_view key : kActionKeys) {
    const Node* const side = ChildOf(check.element, key);
    if (side == nullptr) continue;
    for (auto moment = side->ChildsBegin(); moment != side->ChildsEnd(); ++moment)
      CheckMoment(check, **moment, event.Notify());
  }
}

void CheckLoadedEvent(const CElementCheck& check, const ZREventDriver& event,
                      ZREventSystem& system) {
  CheckKeys(check);
  CheckFlags(check);
  for (const std::string_view key : {"delayToActivate", "delayToDeactivate"}) {
    CheckDelay(check, key);
    CheckVariables(check, key);
  }
  CheckStopCondition(check, event);
  for (const std::string_view key : {"condition", "conditionStop"})
    CheckVariables(check, key);
  CheckTimeTable(check, event);
  CheckMemberships(check, system);
  CheckArguments(check);
  CheckActions(check, event);
}

// --- the lists ---

void CheckGroups(const Node& list, ZREventSystem& system, ZRFindings& findings) {
  std::set<std::string> names;
  for (auto child = list.ChildsBegin(); child != list.ChildsEnd(); ++child) {
    const CElementCheck check(**child, "group", findings);
    const ZRWString id = (*child)->Value(L"id", L"");
    const ZRWString name = (*child)->Value(L"name", L"");
    if (wtouuid(id) == uuid::null) {
      check.Say(Kind::kDropped, id.IsEmpty() ? "it has no id" : "its id is no uuid");
    } else if (name.IsEmpty()) {
      check.Say(Kind::kDropped, "it has no name");
    } else if (system.LockEventsGroup(wtouuid(id))->Name() != name) {
      check.Say(Kind::kChanged, "another group has its id: no event finds this one");
    } else if (!names.insert(std::string((*child)->ValueUtf8("name"))).second) {
      check.Say(Kind::kHint, "another group has its name: one worker runs the events of both");
    }
  }
}

}  // namespace

void CheckEvents(const XmlDocument& document, ZREventSystem& system, ZRFindings& findings) {
  const Node& root = *document.Root();
  if (const Node* const list = ChildOf(root, "eventsGroups")) CheckGroups(*list, system, findings);
  const Node* const list = ChildOf(root, "events");
  if (list == nullptr) return;
  std::unordered_map<const Node*, const ZREventDriver*> loaded;
  for (auto event = system.EventsBegin(); event != system.EventsEnd(); ++event)
    loaded.emplace((*event)->Node(), *event);
  std::set<std::string_view> names;
  std::set<uuid> ids;
  for (auto child = list->ChildsBegin(); child != list->ChildsEnd(); ++child) {
    const CElementCheck check(**child, "event", findings);
    const auto found = loaded.find(*child);
    if (found == loaded.end()) {
      check.Say(Kind::kDropped, ReasonOfRefusal(**child));
      continue;
    }
    if (!names.insert((*child)->ValueUtf8("name")).second)
      check.Say(Kind::kHint, "another event has its name");
    if (!ids.insert(found->second->Id()).second)
      check.Say(Kind::kChanged, "another event has its id: a search by id finds only one of them");
    CheckLoadedEvent(check, *found->second, system);
  }
}
