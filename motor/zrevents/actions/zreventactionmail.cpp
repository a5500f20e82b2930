#include "zrevents/actions/zreventactionmail.h"

#include <memory>

#include "host/support/zrtessalysetup.h"
#include "host/tools/zrstringtable.h"
#include "host/tools/zrtext.h"
#include "zrevents/actions/zreventmailqueue.h"
#include "zrevents/actions/zrrecipients.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventstatus.h"

namespace {

constexpr const char* kTag = "mail";
constexpr tagRecipientWords kRecipients = {"address",  ZRSystemUser::kMail,
                                           L"mail",    "mailLists",
                                           "mailList", &ZRSystemUsersSupport::getMailListMails};
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
  AppendRecipients(addresses, *node, kRecipients);
  return !addresses.empty();
}

bool ZREventActionMail::Execute(int moment) {
  const ZRString subject = Subject(moment);
  ZRWString body;
  (void)Parent()->ParseAnnotation(body, message);
  return Shared().queue->Add(addresses, subject, Utf16ToUtf8(body.View()));
}

ZRString ZREventActionMail::Subject(int moment) const {
  const ZRWString what = FormatWide(FormatOf(moment).Text(), Parent()->Name().Text());
  const ZRWString shown(what.View().substr(0, kSubjectRoom - 1));
  return Utf16ToUtf8((ZRTessalySetup::Get().ProgramName() + L" - " + shown).View());
}

bool ZREventActionMail::ProcessHttpServiceEventsActions(ZRBasicString<char>& /*xml*/) {
  return false;
}
