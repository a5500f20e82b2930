// Registration of listeners, and the documents that other engines push.

#include <algorithm>
#include <cwchar>
#include <limits>

#include "host/base/zrlogger.h"
#include "host/driversupport/zrdriver.h"
#include "host/support/zrtessalysetup.h"
#include "host/tools/zrtext.h"
#include "host/tools/zruuid.h"
#include "zrevents/lists/zrremoteevents.h"
#include "zrevents/services/zrlistenerround.h"
#include "zrevents/zreventserver.h"

namespace {

using tagNode = XmlDocument::XmlNode;

constexpr const wchar_t* kSource = L"motor/zrevents/zreventserver";
constexpr const wchar_t* kLogBadRequest =
    L"%ls (%d): PROCESS HTTP SERVICE REGISTER LISTENER BAD REQUEST";
constexpr const wchar_t* kLogNoContent =
    L"%ls (%d): PROCESS HTTP SERVICE REGISTER LISTENER NO CONTENT";
constexpr const wchar_t* kLogReturned =
    L"%ls (%d): PROCESS HTTP SERVICE REGISTER LISTENER RET = %d";
constexpr const wchar_t* kLogOk = L"%ls (%d): PROCESS HTTP SERVICE REGISTER LISTENER OK";

constexpr const wchar_t* kListenerRoot = L"listener";
constexpr const char* kTestPath = "/services/events/producer.xml?test=T";
constexpr wchar_t kSeparator = L'.';
constexpr std::size_t kMostListeners = 32;  // one more may be there

constexpr int kOk = 200;
constexpr int kNoContent = 204;
constexpr int kBadRequest = 400;
constexpr int kUnauthorized = 401;

ZRWString Value(const tagNode& wish, const wchar_t* key) {
  return wish.Value(key, L"");
}

// Without the high byte of each character.
ZRString Narrowed(const ZRWString& text) {
  std::string bytes;
  for (const wchar_t unit : text.View())
    bytes += static_cast<char>(static_cast<unsigned char>(unit));
  return ZRString(bytes);
}

ZRString Host(const tagNode& wish) {
  return Narrowed(Value(wish, L"ip"));
}

std::int32_t Port(const tagNode& wish) {
  constexpr int kDecimal = 10;
  const long number = std::wcstol(Value(wish, L"port").Text(), nullptr, kDecimal);
  return static_cast<std::int32_t>(std::clamp<long>(
      number, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

ZRWString UserOf(ZRHttpRequest& request) {
  return Utf8ToUtf16(request.Authorization().User().View());
}

// Only these two forms of the own address are known.
bool IsMyself(const tagNode& wish) {
  const ZRString host = Host(wish);
  return (host == "127.0.0.1" || host == "localhost") &&
         Port(wish) == ZRTessalySetup::Get().HttpServerPort();
}

void SetWishes(ZREventListener& listener, const tagNode& wish) {
  listener.actived = wish.bValue(L"actived", false);
  listener.notified = wish.bValue(L"notified", false);
  listener.clientActions = wish.bValue(L"clientActions", false);
}

// What a listener that is known may change. One of a user keeps its user and its wishes.
void Update(ZREventListener& listener, const tagNode& wish, const ZRHttpRequest* asEngine) {
  if (asEngine != nullptr) {
    listener.user = Utf8ToUtf16(asEngine->Authorization().User().View());
    SetWishes(listener, wish);
  }
  listener.host = Host(wish);
  listener.port = Port(wish);
  listener.needsAll = wish.bValue(L"all", false);
  listener.driverName = Value(wish, L"driverName");
}

// Asks a peer whether it takes documents, and reads its answer to the end where it counts.
int TestPeer(const tagNode& wish) {
  ZRHttpClient client(true);
  const int status = client.Put(Host(wish), Port(wish), kTestPath, "", 0, nullptr, nullptr);
  if (status == kNoContent || status == kUnauthorized) {
    while (client.Read() != -1) {
    }
  }
  return status;
}

int Refused(int line) {
  logger(kLogTrace, kLogBadRequest, kSource, line);
  return kBadRequest;
}

}  // namespace

int ZREventServer::ProcessHttpServiceRegisterListener(ZRHttpRequest& request,
                                                      const unsigned char* body) {
  XmlDocument document;
  if (body == nullptr || !document.Parse(reinterpret_cast<const char*>(body)) ||
      document.Root()->Tag() != kListenerRoot)
    return Refused(__LINE__);
  const tagNode& wish = *document.Root();
  const ZRMutexLock lock(listenersMutex);
  // Before the search: a full table takes no update either. Required.
  if (listeners.size() > kMostListeners) return Refused(__LINE__);
  ZREventListener* const known = FindListener(Value(wish, L"driverId"));
  if (known != nullptr) {
    Update(*known, wish, acceptsUserListeners ? nullptr : &request);
    ShowListeners();
    logger(kLogTrace, kLogNoContent, kSource, __LINE__);
    return kNoContent;
  }
  // An engine can't listen to itself.
  if (IsMyself(wish)) return Refused(__LINE__);
  return acceptsUserListeners ? RegisterUser(wish, request) : RegisterEngine(wish, request);
}

ZREventListener* ZREventServer::FindListener(const ZRWString& driverId) {
  const auto found = std::find_if(listeners.begin(), listeners.end(), [&](const auto& listener) {
    return listener->driverId == driverId;
  });
  return found != listeners.end() ? found->get() : nullptr;
}

int ZREventServer::RegisterEngine(const tagNode& wish, ZRHttpRequest& request) {
  const int status = TestPeer(wish);
  if (status == kNoContent) {
    auto listener =
        std::make_unique<ZREventListener>(Value(wish, L"driverId"), Host(wish), Port(wish));
    listener->needsAll = true;
    SetWishes(*listener, wish);
    listener->user = UserOf(request);
    listener->driverName = Value(wish, L"driverName");
    AddListener(std::move(listener));
  }
  logger(kLogTrace, kLogReturned, kSource, __LINE__, status);
  return status;
}

int ZREventServer::RegisterUser(const tagNode& wish, ZRHttpRequest& request) {
  ZRWString key = Value(wish, L"driverId");
  if (wish.Node(L"driverId") == nullptr) {
    uuid made;
    NewGUID(&made);
    key = made.toWString();
  }
  auto listener = std::make_unique<ZREventListener>(key, Host(wish), Port(wish));
  listener->needsAll = true;
  listener->actived = true;
  listener->notified = true;
  listener->clientActions = true;
  listener->user = UserOf(request);
  listener->isUser = true;
  AddListener(std::move(listener));
  logger(kLogTrace, kLogOk, kSource, __LINE__);
  return kOk;
}

void ZREventServer::AddListener(std::unique_ptr<ZREventListener> listener) {
  const ZRWString key = listener->driverId;
  listeners.push_back(std::move(listener));
  ++eventList.listenerCount;
  ShowListeners();
  const ZRMutexLock lock(listenerDriverIdsMutex);
  listenerDriverIds.push_back(key);
}

int ZREventServer::ProcessHttpServiceProducer(ZRHttpRequest& /*request*/,
                                              const unsigned char* body) {
  XmlDocument document;
  if (body == nullptr || !document.Parse(reinterpret_cast<const char*>(body))) return kBadRequest;
  const tagNode& root = *document.Root();
  if (root.bValue(L"all", false)) {
    // The sender tells everything it has, and what this engine forwards changes as a whole.
    eventList.RemoveDriverEvents(Value(root, L"driverId"));
    const ZRMutexLock lock(listenersMutex);
    RefreshAllListeners();
  }
  for (const bool isActive : {true, false}) {
    const tagNode* const section = root.Node(isActive ? kSectionActived : kSectionNotified);
    if (section != nullptr && !MergeReceived(*section, isActive)) return kBadRequest;
  }
  return kNoContent;
}

// False at the first event whose driver isn't online: what stands before it stays.
bool ZREventServer::MergeReceived(const tagNode& section, bool isActive) {
  for (auto at = section.ChildsBegin(); at != section.ChildsEnd(); ++at) {
    const tagNode& event = **at;
    if (event.Tag() != kEventTag) continue;
    const ZRWString id = Value(event, L"id");
    const std::size_t point = id.View().find(kSeparator);
    if (point == ZRWString::tagView::npos) continue;
    const ZRDriver* const driver =
        ZRDriver::LockDriver(ZRWString(id.View().substr(0, point)).Text(), nullptr);
    if (driver == nullptr) continue;
    if (!driver->IsOnline()) return false;
    // One that came here through a listener of this engine would go round for ever.
    if (HasCircularDependence(ZRWString(id.View().substr(point + 1)))) continue;
    eventList.UpdateEntry(&event, isActive);
    if (eventList.listenerCount != 0) eventList.QueueRemoteChange(&event, isActive);
  }
  return true;
}
