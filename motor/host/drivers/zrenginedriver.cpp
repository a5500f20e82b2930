#include "host/drivers/zrenginedriver.h"

#include <utility>

#include "host/base/zrlogger.h"
#include "host/tools/zrtext.h"

namespace {

constexpr const char* kListenerPath = "/services/events/listener.xml";
constexpr const char* kAckPath = "/services/events/ack.xml";
constexpr const wchar_t* kOnline = L"ONLINE";
constexpr int kTaken = 204;
constexpr int kFailuresToLose = 2;

const wchar_t* Flag(bool flag) {
  return flag ? L"T" : L"F";
}

std::string CodeOf(const XmlDocument& document) {
  ZRString code;
  document.CreateXmlCode(code, true);
  return std::string(code.View());
}

int Put(ZRHttpClient& client, const ZRRemoteEngine& remote, const char* path,
        const std::string& body) {
  const int status = client.Put(ZRString(remote.host), remote.port, path, body.data(),
                                static_cast<int>(body.size()), nullptr, nullptr);
  client.Cancel();
  return status;
}

}  // namespace

ZREngineDriver::ZREngineDriver(const ZRWString& ofId, const ZRWString& ofName,
                               std::uint32_t periodMilliseconds, ZRRemoteEngine remoteEngine)
    : ZRPolledDriver(ofId, ofName, periodMilliseconds), remote(std::move(remoteEngine)) {}

bool ZREngineDriver::Prepare() {
  online = AddPolled(kOnline);
  isFirstPass = true;
  lacksEvents.store(true, std::memory_order_release);
  failures = 0;
  toldStatus = -1;
  return true;
}

void ZREngineDriver::Stop() {
  ZRPolledDriver::Stop();
  taken.store(false, std::memory_order_release);
}

void ZREngineDriver::TookRemoteEvents() {
  if (IsOnline()) lacksEvents.store(false, std::memory_order_release);
}

// The first pass is over before this engine takes documents: the remote engine would be told in
// vain where to put them.
// A registration that was taken is no promise: a remote engine that slept works off what was sent
// to it meanwhile, and an older registration can take the wish for everything back.
void ZREngineDriver::Poll(std::int64_t utc) {
  if (std::exchange(isFirstPass, false)) return Show(utc);
  const bool wasOnline = IsOnline();
  const int status = Put(client, remote, kListenerPath, Registration(LacksRemoteEvents()));
  failures = status == kTaken ? 0 : failures + 1;
  taken.store(failures == 0 || (wasOnline && failures < kFailuresToLose),
              std::memory_order_release);
  if (!IsOnline()) lacksEvents.store(true, std::memory_order_release);
  if (IsOnline() != wasOnline || !IsOnline()) TellChange(status);
  Show(utc);
}

std::int64_t ZREngineDriver::NextDue(std::int64_t due) const {
  return due + (IsOnline() && failures == 0 ? Period() : kRetry);
}

void ZREngineDriver::Show(std::int64_t utc) {
  Variable(online).SetNumber(IsOnline() ? 1.0 : 0.0, utc);
}

// Once for a cause.
void ZREngineDriver::TellChange(int status) {
  if (status == toldStatus) return;
  toldStatus = status;
  if (status == kTaken) {
    logger(kLogNotice, L"driver '%ls': the engine at %s:%d tells its events", Name().Text(),
           remote.host.c_str(), remote.port);
  } else if (status == 0) {
    logger(kLogDelivery, L"driver '%ls': the engine at %s:%d can't be reached", Name().Text(),
           remote.host.c_str(), remote.port);
  } else {
    logger(kLogDelivery, L"driver '%ls': the engine at %s:%d refuses to tell its events: status %d",
           Name().Text(), remote.host.c_str(), remote.port, status);
  }
}

std::string ZREngineDriver::Registration(bool wantsAll) const {
  XmlDocument document;
  document.Create(L"listener");
  XmlDocument::XmlNode& root = *document.Root();
  root.SetValue(L"driverId", Id());
  root.SetValue(L"driverName", Name());
  root.SetValue(L"ip", remote.replyHost.c_str());
  root.SetValue(L"port", std::to_string(remote.replyPort).c_str());
  root.SetValue(L"all", Flag(wantsAll));
  root.SetValue(L"actived", Flag(remote.actived));
  root.SetValue(L"notified", Flag(remote.notified));
  root.SetValue(L"clientActions", Flag(false));
  return CodeOf(document);
}

bool ZREngineDriver::AcknowledgeRemoteEvent(ZRHttpRequest& /*request*/,
                                            const ZRWString& remoteEventId) {
  XmlDocument document;
  document.Create(L"eventsAck");
  document.Root()->SetValue(L"id", remoteEventId);
  ZRHttpClient ofCaller(false);
  const int status = Put(ofCaller, remote, kAckPath, CodeOf(document));
  if (status == kTaken) return true;
  logger(kLogDelivery, L"driver '%ls': an acknowledgement isn't taken: status %d", Name().Text(),
         status);
  return false;
}
