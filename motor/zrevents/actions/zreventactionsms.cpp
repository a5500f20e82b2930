#include "zrevents/actions/zreventactionsms.h"

#include <cwchar>
#include <memory>

#include "host/eventactions/eventactionsmssendforwindows.h"
#include "host/eventactions/eventactionsmssendtofolder.h"
#include "host/support/zrtessalysetup.h"
#include "host/systemevents/systemevent.h"
#include "host/systemevents/zrsystemeventsserver.h"
#include "host/tools/zrcoreexception.h"
#include "host/tools/zrstringtable.h"
#include "host/tools/zrtext.h"
#include "zrevents/actions/zreventsmsqueue.h"
#include "zrevents/actions/zrrecipients.h"
#include "zrevents/zreventdriver.h"

namespace {

constexpr const char* kTag = "sms";
constexpr tagRecipientWords kRecipients = {"phone",     ZRSystemUser::kPhone,
                                           L"phone",    "phoneLists",
                                           "phoneList", &ZRSystemUsersSupport::getPhoneListPhones};
constexpr const char* kFileSender = "file";

constexpr std::uint32_t kDefaultBaudRate = 9600;
constexpr const wchar_t* kPort = L"preferences/modem/port";
constexpr const wchar_t* kBaudRate = L"preferences/modem/baudRate";
constexpr const wchar_t* kPin = L"preferences/modem/pin";

// What all SMS actions share.
//
// Threads   the host's changes it while nothing runs; any reads it.
struct tagShared {
  std::unique_ptr<ZREventSmsQueue> queue;
  int actions = 0;  // that live
};
tagShared& Shared() {
  static tagShared shared;
  return shared;
}

ZRWString Setting(const wchar_t* key) {
  const XmlDocument::XmlNode* const root = DefaultZRFG();
  return root == nullptr ? ZRWString() : root->Value(key, L"");
}

std::uint32_t NumberSetting(const wchar_t* key, std::uint32_t whenEmpty) {
  constexpr int kDecimal = 10;
  const ZRWString text = Setting(key);
  return text.IsEmpty() ? whenEmpty
                        : static_cast<std::uint32_t>(std::wcstol(text.Text(), nullptr, kDecimal));
}

void RaiseSystemEvent() {
  const ZRWString text = ZRLoadString(zrstring::kModemPortEmpty);
  ZRSystemEventsServer::get().saveSystemEvent(
      std::make_unique<SystemEventModemPortEmpty>().release(), text.View());
}

// Null, with a system event, without a port.
std::unique_ptr<EventActionSmsSender> MakeModemSender() {
  if (Setting(kPort).IsEmpty()) {
    RaiseSystemEvent();
    return nullptr;
  }
  return std::make_unique<EventActionSmsSendForWindows>(
      NumberSetting(kPort, 0), NumberSetting(kBaudRate, kDefaultBaudRate),
      NumberSetting(kPin, EventActionSmsSendForWindows::kNoPin));
}

// A site that keeps its SMS in a folder needs no modem.
std::unique_ptr<EventActionSmsSender> MakeSender() {
  const ZRTessalySetup& setup = ZRTessalySetup::Get();
  if (setup.SmsSender() == kFileSender)
    return std::make_unique<EventActionSmsSendToFolder>(setup.SmsFolder());
  return MakeModemSender();
}

}  // namespace

ZREventActionSms::ZREventActionSms(ZREventDriver* owner) : ZREventAction(owner) {
  if (Shared().actions == 0) Shared().queue = std::make_unique<ZREventSmsQueue>(MakeSender());
  ++Shared().actions;
}

ZREventActionSms::ZREventActionSms(const ZREventActionSms& other)
    : ZREventAction(other),
      phones(other.phones),
      message(other.message),
      forceBreak(other.forceBreak) {
  ++Shared().actions;
}

ZREventActionSms::~ZREventActionSms() {
  if (--Shared().actions == 0) Shared().queue.reset();
}

bool ZREventActionSms::LoadXml(const XmlDocument::XmlNode* node) {
  using Domain::CoreExceptionNS::CoreException;
  using Domain::CoreExceptionNS::ExceptionType;
  if (node == nullptr) throw CoreException(ExceptionType::General);
  if (node->TagUtf8() != kTag) return false;
  (void)ZREventAction::LoadXml(node);
  message = node->Value(L"message", L"");
  forceBreak = node->Value(L"forceBreakMessage", L"F") != L"F";
  AppendRecipients(phones, *node, kRecipients);
  return !phones.empty();
}

bool ZREventActionSms::Execute(int /*moment*/) {
  ZRWString text;
  (void)Parent()->ParseAnnotation(text, message);
  return Shared().queue->Add(phones, Utf16ToUtf8(text.View()), forceBreak);
}

bool ZREventActionSms::ProcessHttpServiceEventsActions(ZRBasicString<char>& /*xml*/) {
  return false;
}
