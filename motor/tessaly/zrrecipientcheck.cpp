#include "tessaly/zrrecipientcheck.h"

#include <algorithm>
#include <string>
#include <vector>

#include "host/tools/zrtext.h"
#include "host/user/zrsystemuserssupport.h"

namespace {

using Kind = ZRFinding::tagKind;
using Node = XmlDocument::XmlNode;

// How a kind of action names those it reaches.
struct tagWords {
  std::string_view action;
  std::string_view literal;
  std::string_view index;  // of a user, and how users.toml calls what it selects from
  ZRElementCheck::tagKnows isUserKey;
  const char* parameter;
  std::string_view lists;
  std::string_view list;
  bool (ZRSystemUsersSupport::*membersOf)(const ZRWString& list,
                                          std::vector<ZRWString>& members) const;
};

constexpr bool IsMailKey(std::string_view tag) {
  return tag == "id" || tag == "mail";
}
constexpr bool IsPhoneKey(std::string_view tag) {
  return tag == "id" || tag == "phone";
}
constexpr tagWords kWords[] = {
    {"mail", "address", "mail", IsMailKey, ZRSystemUser::kMail, "mailLists", "mailList",
     &ZRSystemUsersSupport::getMailListMails},
    {"sms", "phone", "phone", IsPhoneKey, ZRSystemUser::kPhone, "phoneLists", "phoneList",
     &ZRSystemUsersSupport::getPhoneListPhones},
};

const tagWords* WordsOf(std::string_view action) {
  const auto* const found =
      std::find_if(std::begin(kWords), std::end(kWords),
                   [action](const tagWords& words) { return words.action == action; });
  return found == std::end(kWords) ? nullptr : found;
}

class CRecipientCheck {
 public:
  CRecipientCheck(const ZRElementCheck& ofEvent, const tagWords& ofKind)
      : check(ofEvent), words(ofKind), subject("action " + Quoted(ofKind.action)) {}

  void CheckParts(const Node& action) const {
    for (auto child = action.ChildsBegin(); child != action.ChildsEnd(); ++child) {
      const std::string_view tag = (*child)->TagUtf8();
      if (tag == words.literal) {
        if ((*child)->TextUtf8().empty()) Drop(**child, " has an empty " + Quoted(tag));
      } else if (tag == "users") {
        ForEach(**child, "user", &CRecipientCheck::CheckUser);
      } else if (tag == words.lists) {
        ForEach(**child, words.list, &CRecipientCheck::CheckList);
      } else {
        CheckValue(action, **child);
      }
    }
  }

 private:
  void Drop(const Node& place, const std::string& what) const {
    check.Say(Kind::kDropped, place, subject + what);
  }
  void SayUnknown(const Node& node) const {
    check.Say(Kind::kDropped, node, "nobody knows an element " + Quoted(node.TagUtf8()) + " here");
  }

  void ForEach(const Node& parent, std::string_view tag,
               void (CRecipientCheck::*step)(const Node&) const) const {
    for (auto child = parent.ChildsBegin(); child != parent.ChildsEnd(); ++child) {
      if ((*child)->TagUtf8() == tag) {
        (this->*step)(**child);
      } else {
        SayUnknown(**child);
      }
    }
  }

  // What isn't a recipient: only the first of each tag is read.
  void CheckValue(const Node& action, const Node& value) const {
    const std::string_view tag = value.TagUtf8();
    const bool isForce = tag == "forceBreakMessage" && words.action == "sms";
    if (tag != "id" && tag != "message" && !isForce) return SayUnknown(value);
    if (action.Child(tag) != &value)
      return check.Say(Kind::kDropped, value, "a second " + Quoted(tag) + " isn't read");
    const std::string_view text = value.TextUtf8();
    if (isForce && text != "T" && text != "F") {
      check.Say(Kind::kChanged, value,
                Quoted(tag) + " is " + Quoted(text) + " and counts as T: only F is false");
    }
  }

  void CheckUser(const Node& reference) const {
    check.CheckKeys(reference, words.isUserKey);
    const std::string_view name = reference.ValueUtf8("id");
    if (name.empty()) return Drop(reference, " has a user without an id");
    ZRSystemUser* user = nullptr;
    if (!ZRSystemUsersSupport::Get().getSystemUser(Utf8ToUtf16(name), &user))
      return Drop(reference, ": there is no user " + Quoted(name));
    const Node* const index = reference.Child(words.index);
    if (index == nullptr) {
      return Drop(reference, ": user " + Quoted(name) + " gets nothing without an element " +
                                 Quoted(words.index) + " that says which one");
    }
    CheckIndex(*index, *user, name);
  }

  void CheckIndex(const Node& index, const ZRSystemUser& user, std::string_view name) const {
    const std::string_view text = index.TextUtf8();
    const int number = ZRSystemUser::IndexOf(Utf8ToUtf16(text));
    ZRWString ignored;
    if (!user.getParameterValueInfo(words.parameter, number, ignored)) {
      return Drop(index, ": user " + Quoted(name) + " has no " + std::string(words.index) + " " +
                             Quoted(text) + ": they are counted from 0");
    }
    if (std::to_string(number) != text) {
      check.Say(Kind::kChanged, index,
                subject + ": the " + std::string(words.index) + " " + Quoted(text) + " of user " +
                    Quoted(name) + " is read as " + std::to_string(number));
    }
  }

  void CheckList(const Node& reference) const {
    const std::string_view name = reference.TextUtf8();
    std::vector<ZRWString> members;
    if (name.empty()) return Drop(reference, " has a list without a name");
    if (!(ZRSystemUsersSupport::Get().*words.membersOf)(reference.Value(), members))
      return Drop(reference, ": there is no list " + Quoted(name));
    if (members.empty()) {
      check.Say(Kind::kHint, reference,
                subject + ": list " + Quoted(name) + " has no " + std::string(words.index));
    }
  }

  const ZRElementCheck& check;
  const tagWords& words;
  const std::string subject;
};

}  // namespace

bool HasRecipients(std::string_view actionTag) {
  return WordsOf(actionTag) != nullptr;
}

void CheckRecipients(const ZRElementCheck& check, const Node& action) {
  if (const tagWords* const words = WordsOf(action.TagUtf8()))
    CRecipientCheck(check, *words).CheckParts(action);
}
