// The acknowledge service.

#include <algorithm>
#include <array>
#include <memory>
#include <string>

#include "host/driversupport/zrdriver.h"
#include "host/systemevents/systemevent.h"
#include "host/systemevents/zrsystemeventsserver.h"
#include "host/user/zrsecuritymanager.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventserver.h"
#include "zrevents/zrgatetoken.h"

namespace {

constexpr const wchar_t* kRootTag = L"eventsAck";
constexpr std::string_view kIdTag = "id";
constexpr wchar_t kDriverSeparator = L'.';
constexpr const wchar_t* kUserSeparator = L";";

using tagDigest = std::array<char, ZRHttpAuthorization::kDigestSize>;

tagDigest DigestOf(std::string_view body) {
  tagDigest digest{};
  ZRHttpAuthorization::H(body.data(), static_cast<unsigned int>(body.size()), digest.data());
  return digest;
}

// What is told of who asked: the bytes of his name, one by one.
ZRWString UserText(ZRHttpRequest& request) {
  std::wstring text;
  for (const char byte : request.Authorization().User().View())
    text += static_cast<wchar_t>(static_cast<unsigned char>(byte));
  return ZRWString(text);
}

bool AreSystemEventsSaved() {
  return ZRSecurityManagerEnabled() && ZRSystemEventsServer::get().isSaveEventsEnabled();
}

// "what;user"
template <typename Event>
void SaveSystemEvent(const ZRWString& what, ZRHttpRequest& request) {
  const ZRWString text = what + kUserSeparator + UserText(request);
  ZRSystemEventsServer::get().saveSystemEvent(std::make_unique<Event>().release(), text.View());
}

}  // namespace

bool ZREventServer::ProcessHttpServiceAck(ZRHttpRequest& request, const unsigned char* body) {
  const ZRGateToken token(*gate);
  if (!token.Taken() || body == nullptr) return false;
  const char* const text = reinterpret_cast<const char*>(body);
  XmlDocument document;
  if (!document.Parse(text) || document.Root()->Tag() != kRootTag) return false;
  const tagDigest digest = DigestOf(text);
  const XmlDocument::XmlNode& root = *document.Root();
  for (auto child = root.ChildsBegin(); child != root.ChildsEnd(); ++child) {
    if ((*child)->TagUtf8() != kIdTag) continue;
    const ZRWString id = (*child)->Value();
    const std::size_t point = id.View().find(kDriverSeparator);
    if (point != ZRWString::tagView::npos) {
      AcknowledgeRemote(id, point, request, digest.data());
    } else {
      AcknowledgeLocal(wtouuid(id), request, digest.data());
    }
  }
  return true;
}

// Saves the system event after the driver has taken the acknowledgement.
void ZREventServer::AcknowledgeRemote(const ZRWString& id, std::size_t point,
                                      ZRHttpRequest& request, const char* digest) {
  const ZRWString driverId(id.View().substr(0, point));
  ZRDriver* const driver = ZRDriver::LockDriver(driverId.Text(), nullptr);
  if (driver == nullptr) return;
  if (!CanAccessResourcesFromEngine(kResourceRemoteAcknowledge, driver->Id().Text(), request,
                                    digest))
    return;
  if (!eventList.CanAcknowledge(id.Text())) return;
  const ZRWString remoteId(id.View().substr(point + 1));
  ZRWString name;
  if (AreSystemEventsSaved() && !eventList.EventName(id.Text(), name)) name = remoteId;
  if (driver->AcknowledgeRemoteEvent(request, remoteId) && AreSystemEventsSaved())
    SaveSystemEvent<SystemEventHttpRemoteEventAcknowledge>(driver->Name() + L"." + name, request);
}

// Saves the system event before it acknowledges, whether or not there is anything to acknowledge.
void ZREventServer::AcknowledgeLocal(const uuid& id, ZRHttpRequest& request, const char* digest) {
  ZREventDriver* const event = FindEvent(id);
  if (event == nullptr) return;
  const auto mayAcknowledge = [&](const ZREventDriverGroup* group) {
    return CanAccessResourcesFromEngine(kResourceAcknowledgeEvents, group->IdStr().Text(), request,
                                        digest);
  };
  if (std::none_of(event->GroupsVectorBegin(), event->GroupsVectorEnd(), mayAcknowledge)) return;
  if (AreSystemEventsSaved())
    SaveSystemEvent<SystemEventHttpEventAcknowledge>(event->Name(), request);
  (void)event->ProcessHttpServiceAck(id);
}

ZREventDriver* ZREventServer::FindEvent(const uuid& id) {
  const auto hasIt = [&id](ZREventDriver* event) { return event->HasEvent(id); };
  const auto found = std::find_if(eventSystem.EventsBegin(), eventSystem.EventsEnd(), hasIt);
  return found != eventSystem.EventsEnd() ? *found : nullptr;
}
