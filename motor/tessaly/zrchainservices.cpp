#include "tessaly/zrchainservices.h"

#include <algorithm>
#include <memory>
#include <set>
#include <string>

#include "host/base/zrlogger.h"
#include "host/driversupport/zrdriver.h"
#include "host/remote/zrbytebudget.h"
#include "host/tools/zrtext.h"
#include "host/user/zrsecuritymanager.h"
#include "tessaly/zranswers.h"
#include "tessaly/zrtoldcauses.h"
#include "zrevents/zreventserver.h"

namespace {

using tagNode = XmlDocument::XmlNode;

constexpr const char* kListenerPath = "/services/events/listener.xml";
constexpr const char* kListenersPath = "/services/events/listeners.xml";
constexpr const char* kProducerPath = "/services/events/producer.xml";
constexpr const char* kUserProducerPath = "/services/user/producer.xml";

const unsigned char* BytesOf(const std::string& body) {
  return reinterpret_cast<const unsigned char*>(body.c_str());
}

// What the paths share. Outlives them.
struct tagChain {
  tagChain(ZREventServer& ofEngine, ZRChainDoor& ofDoor, const tagChainLimits& ofLimits)
      : engine(ofEngine), door(ofDoor), limits(ofLimits) {
    reading.Allow(limits.bytes);
  }
  // No more remote events can be taken.
  [[nodiscard]] bool IsFull() const {
    const ZREventServer::tagRemoteLoad load = engine.RemoteLoad();
    return load.elements >= limits.elements || load.waiting >= limits.waiting;
  }

  ZREventServer& engine;
  ZRChainDoor& door;
  const tagChainLimits limits;
  ZRSemaphore registrations{kMostRegistrations};
  ZRByteBudget reading;
  ZRToldCauses told;
};

// --- registrations ---

// In words, for a status that the engine gives for several reasons.
void AnswerRegistration(ZRHttpResponse& response, int status) {
  constexpr int kLeast = 200;
  constexpr int kMost = 599;
  if (status == kBadRequest) {
    return AnswerWord(response, status,
                      "No such document, or its address is this engine's own, or as many "
                      "listeners as possible are registered.");
  }
  if (status < kLeast || status > kMost) {
    return AnswerWord(response, kBadGateway,
                      "The listener's own server can't be reached at that address.");
  }
  AnswerWithoutBody(response, status);
}

// A place among the registrations that wait, if one is free; given back whatever happens.
class CPlace {
 public:
  explicit CPlace(ZRSemaphore& ofPlaces) : places(ofPlaces), taken(places.Acquire(0)) {}
  ~CPlace() {
    if (taken) places.Release();
  }
  CPlace(const CPlace&) = delete;
  CPlace& operator=(const CPlace&) = delete;
  [[nodiscard]] bool Taken() const { return taken; }

 private:
  ZRSemaphore& places;
  const bool taken;
};

void AnswerListener(tagChain& chain, ZRHttpRequest& request, const std::string& body,
                    ZRHttpResponse& response) {
  const ZRChainDoor::CPass pass(chain.door);
  const CPlace place(chain.registrations);
  if (!pass.Given() || !place.Taken()) return AnswerWithoutBody(response, kServiceUnavailable);
  AnswerRegistration(response,
                     chain.engine.ProcessHttpServiceRegisterListener(request, BytesOf(body)));
}

// --- documents ---

// The drivers that a document speaks for.
std::set<ZRWString> DriversOf(const XmlDocument& document) {
  std::set<ZRWString> drivers;
  const tagNode& root = *document.Root();
  if (root.bValue(L"all", false)) drivers.insert(root.Value(L"driverId", L""));
  for (const wchar_t* const section : {L"actived", L"notified"}) {
    const tagNode* const list = root.Node(section);
    if (list == nullptr) continue;
    for (auto at = list->ChildsBegin(); at != list->ChildsEnd(); ++at) {
      const ZRWString id = (*at)->Value(L"id", L"");
      const std::size_t point = id.View().find(L'.');
      if (point != ZRWString::tagView::npos) drivers.insert(ZRWString(id.View().substr(0, point)));
    }
  }
  return drivers;
}

// What is said of documents that are refused: for each user and kind of refusal the first one in an
// hour, however they differ.
void SayRefused(ZRToldCauses& told, ZRHttpRequest& request, const std::string& kind,
                const std::string& detail) {
  const ZRString& user = request.Authorization().User();
  if (!told.IsNews(std::string(user.View()) + "\n" + kind, "")) return;
  logger(kLogDelivery, L"a document of events is refused%s%s: %s %s",
         user.IsEmpty() ? "" : ", of user ", user.Text(), kind.c_str(), detail.c_str());
}

// Each account speaks for the drivers that it was granted, and for no other.
bool MaySpeak(ZRHttpRequest& request, const std::string& body, ZRToldCauses& told) {
  if (!ZRSecurityManagerEnabled()) return true;
  XmlDocument document;
  if (!document.Parse(body, kMostProducerBytes, nullptr)) return true;  // the engine says so
  for (const ZRWString& driver : DriversOf(document)) {
    if (CanAccessResourcesFromEngine(kResourceProducer, driver.Text(), request, "")) continue;
    SayRefused(told, request, "it may not speak for driver",
               std::string(Utf16ToUtf8(driver.View()).View()));
    return false;
  }
  return true;
}

// Tells the driver whose remote engine told everything. Only a driver that waits for that is worth
// reading the document again.
void NoteCompleteDocument(const std::string& body) {
  const bool isAwaited = std::any_of(ZRDriver::DriversBegin(), ZRDriver::DriversEnd(),
                                     [](const ZRDriver* d) { return d->LacksRemoteEvents(); });
  XmlDocument document;
  if (!isAwaited || !document.Parse(body, kMostProducerBytes, nullptr)) return;
  const tagNode& root = *document.Root();
  if (!root.bValue(L"all", false)) return;
  ZRDriver* const driver = ZRDriver::LockDriver(root.Value(L"driverId", L"").Text(), nullptr);
  if (driver != nullptr) driver->TookRemoteEvents();
}

// One that is no document, as opposed to one that came too early.
void SayUnreadable(ZRToldCauses& told, ZRHttpRequest& request, const std::string& body) {
  XmlDocument document;
  XmlDocument::tagRefusal refusal;
  if (!document.Parse(body, kMostProducerBytes, &refusal))
    SayRefused(told, request, "it can't be read:", refusal.reason);
}

// Its bytes of what may be read at once, if there are so many left; given back whatever happens.
class CReading {
 public:
  CReading(ZRByteBudget& ofBudget, std::size_t ofBytes)
      : budget(ofBudget), bytes(ofBudget.Take(ofBytes) ? ofBytes : 0), isGiven(bytes == ofBytes) {}
  ~CReading() { budget.GiveBack(bytes); }
  CReading(const CReading&) = delete;
  CReading& operator=(const CReading&) = delete;
  [[nodiscard]] bool Given() const { return isGiven; }

 private:
  ZRByteBudget& budget;
  const std::size_t bytes;
  const bool isGiven;
};

void AnswerProducer(tagChain& chain, ZRHttpRequest& request, const std::string& body,
                    ZRHttpResponse& response) {
  // A peer that asks whether it is heard.
  if (request.Parameter("test") == "T") return AnswerWithoutBody(response, kNoContent);
  const ZRChainDoor::CPass pass(chain.door);
  const CReading reading(chain.reading, body.size());
  if (!pass.Given() || !reading.Given()) return AnswerWithoutBody(response, kServiceUnavailable);
  if (chain.IsFull()) {
    SayRefused(chain.told, request, "as many remote events as may be are there", "");
    return AnswerWithoutBody(response, kServiceUnavailable);
  }
  // The engine reads as far as the first zero: what is checked is what it reads.
  if (body.find('\0') != std::string::npos)
    return AnswerWord(response, kBadRequest, "The body isn't UTF-8.");
  if (!MaySpeak(request, body, chain.told))
    return AnswerWord(response, kForbidden, "This user may not speak for that driver.");
  const int status = chain.engine.ProcessHttpServiceProducer(request, BytesOf(body));
  if (status == kNoContent) NoteCompleteDocument(body);
  if (status != kBadRequest) return AnswerWithoutBody(response, status);
  SayUnreadable(chain.told, request, body);
  AnswerWord(response, status, "No XML document, or its driver isn't online.");
}

}  // namespace

void BindChain(ZRWebServer& web, ZREventServer& engine, ZRChainDoor& door,
               const tagChainLimits& limits) {
  const auto chain = std::make_shared<tagChain>(engine, door, limits);
  web.Put(
      kListenerPath, kMostListenerBytes,
      [chain](ZRHttpRequest& request, const std::string& body, ZRHttpResponse& response) {
        AnswerListener(*chain, request, body, response);
      },
      ZRWebServer::tagPace::kMayWait);
  web.Get(kListenersPath, [&engine](ZRHttpRequest& request, ZRHttpResponse& response) {
    (void)engine.ProcessHttpServiceListeners(request, response);
  });
  for (const char* const path : {kProducerPath, kUserProducerPath}) {
    web.Put(
        path, kMostProducerBytes,
        [chain](ZRHttpRequest& request, const std::string& body, ZRHttpResponse& response) {
          AnswerProducer(*chain, request, body, response);
        },
        ZRWebServer::tagPace::kMayWait);
  }
}
