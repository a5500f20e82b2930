#include "zrevents/actions/zrrecipients.h"

#include <algorithm>
#include <utility>

#include "host/tools/zrtext.h"

namespace {

using Node = XmlDocument::XmlNode;

void AppendUnlessKnown(std::vector<ZRString>& recipients, const ZRWString& recipient) {
  ZRString narrow = Utf16ToUtf8(recipient.View());
  if (std::find(recipients.begin(), recipients.end(), narrow) == recipients.end())
    recipients.push_back(std::move(narrow));
}

void AppendUsers(std::vector<ZRString>& recipients, const Node& users,
                 const tagRecipientWords& words) {
  constexpr const wchar_t* kNoIndex = L"-1";
  for (auto child = users.ChildsBegin(); child != users.ChildsEnd(); ++child) {
    if ((*child)->TagUtf8() != "user") continue;
    const ZRWString name = (*child)->Value(L"id", L"");
    ZRSystemUser* user = nullptr;
    if (name.IsEmpty() || !ZRSystemUsersSupport::Get().getSystemUser(name, &user)) continue;
    const int index = ZRSystemUser::IndexOf((*child)->Value(words.index, kNoIndex));
    ZRWString recipient;
    if (user->getParameterValueInfo(words.parameter, index, recipient))
      AppendUnlessKnown(recipients, recipient);
  }
}

void AppendLists(std::vector<ZRString>& recipients, const Node& lists,
                 const tagRecipientWords& words) {
  for (auto child = lists.ChildsBegin(); child != lists.ChildsEnd(); ++child) {
    if ((*child)->TagUtf8() != words.list || (*child)->TextUtf8().empty()) continue;
    std::vector<ZRWString> members;
    if (!(ZRSystemUsersSupport::Get().*words.membersOf)((*child)->Value(), members)) continue;
    for (const ZRWString& member : members)
      AppendUnlessKnown(recipients, member);
  }
}

}  // namespace

void AppendRecipients(std::vector<ZRString>& recipients, const Node& action,
                      const tagRecipientWords& words) {
  for (auto child = action.ChildsBegin(); child != action.ChildsEnd(); ++child) {
    const std::string_view tag = (*child)->TagUtf8();
    if (tag == words.literal) {
      if (!(*child)->TextUtf8().empty()) recipients.emplace_back((*child)->TextUtf8());
    } else if (tag == "users") {
      AppendUsers(recipients, **child, words);
    } else if (tag == words.lists) {
      AppendLists(recipients, **child, words);
    }
  }
}
