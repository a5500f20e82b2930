#include "tessaly/zractioncheck.h"

#include <algorithm>
#include <array>

#include "host/driversupport/zrdrivervariable.h"
#include "host/drivervariables/zrdrivervariablenames.h"
#include "host/tools/zrtext.h"
#include "tessaly/zreventcheck.h"
#include "tessaly/zreventtextcheck.h"
#include "tessaly/zrrecipientcheck.h"

namespace {

using Kind = ZRFinding::tagKind;
using Node = XmlDocument::XmlNode;

constexpr std::string_view kForce = "force";
constexpr std::string_view kShellExecute = "shellExecute";
constexpr std::string_view kParameter = "parameter";
constexpr std::string_view kMessage = "message";

// What is read of an action's element, besides its id, and whether it can't do without.
struct tagKey {
  std::string_view name;
  bool isNeeded = false;
};
struct tagKind {
  std::string_view tag;
  std::array<tagKey, 2> keys;
  bool isForServer = false;
  bool isForClients = false;
  std::string_view lack = {};      // of one that has recipients: what it needs
  std::string_view expanded = {};  // the value that is expanded as an event's texts are
};
constexpr tagKind kKinds[] = {
    {kForce, {{{"variable", true}, {"value"}}}, true, false},
    {kShellExecute, {{{"command", true}, {kParameter}}}, true, true, "", kParameter},
    {"screen", {{{"name", true}}}, false, true},
    {"report", {{{"name", true}}}, false, true},
    {"device", {{{"name", true}}}, false, true},
    {"beep", {}, false, true},
    {"launchWeb", {{{"url", true}, {"window", true}}}, false, true},
    {"mail", {}, true, false, "address that can be used", kMessage},
    {"sms", {}, true, false, "phone number that can be used", kMessage},
};
static_assert(std::size(kKinds) == ZREventActionKinds::kTags.size());

// Of a tag in ZREventActionKinds::kTags.
const tagKind& KindOfTag(std::string_view tag) {
  return *std::find_if(std::begin(kKinds), std::end(kKinds),
                       [tag](const tagKind& kind) { return kind.tag == tag; });
}

// One action of an event.
class CActionCheck {
 public:
  CActionCheck(const ZRElementCheck& ofEvent, const Node& toCheck)
      : check(ofEvent),
        action(toCheck),
        kind(KindOfTag(toCheck.TagUtf8())),
        subject("action " + Quoted(toCheck.TagUtf8())) {}

  // Says why it couldn't be loaded.
  void SayWhyItIsDropped() const {
    CheckRecipients(check, action);
    if (const std::string missing = MissingPart(); !missing.empty())
      return Drop(action, " has no " + missing);
    if (kind.tag != kForce) return Drop(action, " can't be used");
    const Node& variable = *action.Child("variable");
    if (const std::string reason = WhyItCannotBeForced(variable); !reason.empty())
      return Drop(variable, reason);
    const Node* const value = action.Child("value");
    Drop(value != nullptr ? *value : action,
         " has a value that is wrong " + FactsOfExpression(action.ValueUtf8("value")).reason);
  }

  // Says what of it isn't in force, although it could be loaded.
  void SayWhatIsNotInForce(ZRActionSide side, const ZREventDriver& event) const {
    if (side == ZRActionSide::kServer && !kind.isForServer)
      return Drop(action, " does nothing on the server: it belongs to 'clientActions'");
    if (side == ZRActionSide::kClients && !kind.isForClients)
      return Drop(action, " has nothing to tell a client: it belongs to 'actions'");
    if (HasRecipients(kind.tag)) {
      CheckRecipients(check, action);
    } else {
      CheckKeys();
    }
    const Node* const value = action.Child("value");
    if (kind.tag == kForce && value != nullptr &&
        FactsOfExpression(value->TextUtf8()).code == ZREvaluator::kUnknown) {
      check.Say(Kind::kHint, *value, subject + " reads a variable that no driver has at present");
    }
    const Node* const text = kind.expanded.empty() ? nullptr : action.Child(kind.expanded);
    if (text != nullptr) CheckTemplate(check, *text, event);
  }

 private:
  void Drop(const Node& place, const std::string& what) const {
    check.Say(Kind::kDropped, place, subject + what);
  }

  // The first thing that is needed and isn't there.
  [[nodiscard]] std::string MissingPart() const {
    for (const tagKey& key : kind.keys)
      if (key.isNeeded && action.ValueUtf8(key.name).empty()) return std::string(key.name);
    return std::string(kind.lack);
  }

  void CheckKeys() const {
    for (auto child = action.ChildsBegin(); child != action.ChildsEnd(); ++child) {
      const std::string_view tag = (*child)->TagUtf8();
      const bool isRead =
          tag == "id" || std::any_of(kind.keys.begin(), kind.keys.end(),
                                     [tag](const tagKey& key) { return key.name == tag; });
      if (!isRead) {
        check.Say(Kind::kDropped, **child, "nobody knows an element " + Quoted(tag) + " here");
      } else if (action.Child(tag) != *child) {
        check.Say(Kind::kDropped, **child, "a second " + Quoted(tag) + " isn't read");
      }
    }
  }

  // Empty if it can.
  [[nodiscard]] static std::string WhyItCannotBeForced(const Node& reference) {
    const std::string_view text = reference.TextUtf8();
    const ZRWString wide = Utf8ToUtf16(text);
    const ZRWString name(wide.Length() > 1 ? wide.View().substr(1, wide.Length() - 2)
                                           : std::wstring_view());
    ZRWString filter;
    ZRWString argument;
    ZRWString driver;
    ZRWString rest;
    (void)SplitFilterDriverVariable(name, filter, argument, driver, rest, false);
    if (!filter.IsEmpty() || !argument.IsEmpty())
      return " has a filter in " + Quoted(text) + ": only a variable itself can be forced";
    ZRDriverVariable variable;
    variable.Setup(name);
    if (!variable.IsValid()) {
      return ": no driver has the variable " + Quoted(text) +
             (text.starts_with('[') ? "" : ": it is written in brackets");
    }
    tagSVariableValueInfo info;
    (void)variable.ValueInfo(info);
    if ((info.flags & tagSVariableValueInfo::kForceable) == 0)
      return ": " + Quoted(text) + " accepts no forced value";
    return {};
  }

  const ZRElementCheck& check;
  const Node& action;
  const tagKind& kind;
  const std::string subject;
};

}  // namespace

void CheckAction(const ZRElementCheck& check, const Node& action, ZRActionSide side,
                 ZREventDriver& event) {
  const std::string_view tag = action.TagUtf8();
  const std::size_t kind = ZREventActionKinds::KindOf(tag);
  if (kind == ZREventActionKinds::kUnknown)
    return check.Say(Kind::kDropped, action, "action " + Quoted(tag) + " doesn't exist");
  const CActionCheck one(check, action);
  if (ZREventActionKinds::Make(kind, &event)->LoadXml(&action)) {
    one.SayWhatIsNotInForce(side, event);
  } else {
    one.SayWhyItIsDropped();
  }
}
