#include "zrevents/actions/zreventactionmail.h"

#include <algorithm>
#include <cwchar>
#include <limits>
#include <memory>

#include "host/support/zrtessalysetup.h"
#include "host/tools/zrstringtable.h"
#include "host/tools/zrtext.h"
#include "host/user/zrsystemuserssupport.h"
#include "zrevents/actions/zreventmailqueue.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventstatus.h"

namespace {

constexpr const char* kTag = "mail";
constexpr const char* kParameter = "MAIL";
constexpr std::size_t kSubjectRoom = 512;  // characters, the terminator included

// What all mail actions share.
//
// Threads   the host's changes it while nothing runs; any reads it.
struct tagShared {
  std::unique_ptr<ZREventMailQueue> queue;
  int actions = 0;  // that live
};
tagShared& Shared() {
  static tagShared shared;
  return shared;
}

// The subject's format; empty for a moment that doesn't exist.
ZRWString FormatOf(int moment) {
  switch (moment) {
    case kMomentActivate:
      return ZRLoadString(zrstring::kSubjectActivate);
    case kMomentWhile:
      return ZRLoadString(zrstring::kSubjectWhile);
    case kMomentDeactivate:
      return ZRLoadString(zrstring::kSubjectDeactivate);
    case kMomentAcknowledge:
      return ZRLoadString(zrstring::kSubjectAcknowledge);
    default:
      return {};
  }
}

// The number that `text` begins with, without its fraction; 0 without one, -1 for one that no
// index can be.
int ToIndex(const ZRWString& text) {
  const double number = std::wcstod(text.Text(), nullptr);
  const bool fits = number > -1.0 && number < std::numeric_limits<int>::max();
  return fits ? static_cast<int>(number) : -1;
}

}  // namespace

ZREventActionMail::ZREventActionMail(ZREventDriver* owner) : ZREventAction(owner) {
  if (Shared().actions == 0) Shared().queue = std::make_unique<ZREventMailQueue>();
  ++Shared().actions;
}

ZREventActionMail::ZREventActionMail(const ZREventActionMail& other)
    : ZREventAction(other), addresses(other.addresses), message(other.message) {
  ++Shared().actions;
}

ZREventActionMail::~ZREventActionMail() {
  if (--Shared().actions == 0) Shared().queue.reset();
}

bool ZREventActionMail::LoadXml(const XmlDocument::XmlNode* node) {
  if (node->TagUtf8() != kTag) return false;
  (void)ZREventAction::LoadXml(node);
  message = node->Value(L"message", L"");
  for (auto child = node->ChildsBegin(); child != node->ChildsEnd(); ++child) {
    const std::string_view tag = (*child)->TagUtf8();
    if (tag == "address") {
      if (!(*child)->TextUtf8().empty()) addresses.emplace_back((*child)->TextUtf8());
    } else if (tag == "users") {
      AddUsers(**child);
    } else if (tag == "mailLists") {
      AddLists(**child);
    }
  }
  return !addresses.empty();
}

void ZREventActionMail::AddUsers(const XmlDocument::XmlNode& users) {
  for (auto child = users.ChildsBegin(); child != users.ChildsEnd(); ++child) {
    if ((*child)->TagUtf8() != "user") continue;
    const ZRWString name = (*child)->Value(L"id", L"");
    ZRSystemUser* user = nullptr;
    if (name.IsEmpty() || !ZRSystemUsersSupport::Get().getSystemUser(name, &user)) continue;
    ZRWString address;
    if (user->getParameterValueInfo(kParameter, ToIndex((*child)->Value(L"mail", L"-1")), address))
      AddUnlessKnown(address);
  }
}

void ZREventActionMail::AddLists(const XmlDocument::XmlNode& lists) {
  for (auto child = lists.ChildsBegin(); child != lists.ChildsEnd(); ++child) {
    if ((*child)->TagUtf8() != "mailList" || (*child)->TextUtf8().empty()) continue;
    std::vector<ZRWString> list;
    if (!ZRSystemUsersSupport::Get().getMailListMails((*child)->Value(), list)) continue;
    for (const ZRWString& address : list)
      AddUnlessKnown(address);
  }
}

void ZREventActionMail::AddUnlessKnown(const ZRWString& address) {
  ZRString narrow = Utf16ToUtf8(address.View());
  if (std::find(addresses.begin(), addresses.end(), narrow) == addresses.end())
    addresses.push_back(std::move(narrow));
}

bool ZREventActionMail::Execute(int moment) {
  ZRWString body;
  (void)Parent()->ParseAnnotation(body, message);
  return Shared().queue->Add(addresses, Subject(moment), Utf16ToUtf8(body.View()));
}

ZRString ZREventActionMail::Subject(int moment) const {
  const ZRWString what = FormatWide(FormatOf(moment).Text(), Parent()->Name().Text());
  const ZRWString shown(what.View().substr(0, kSubjectRoom - 1));
  return Utf16ToUtf8((ZRTessalySetup::Get().ProgramName() + L" - " + shown).View());
}

bool ZREventActionMail::ProcessHttpServiceEventsActions(ZRBasicString<char>& /*xml*/) {
  return false;
}
