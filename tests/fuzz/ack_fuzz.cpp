// Any body at the acknowledge service: it is taken or not, and acknowledges nothing that it
// doesn't name.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "host/base/zrlogger.h"
#include "host/tools/zruuid.h"
#include "support/fakehttp.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventserver.h"

namespace {

constexpr const char* kDefinition =
    "<main><groups><group><id>bbbbbbbb-0000-4000-8000-000000000001</id><name>All</name></group>"
    "</groups><events>"
    "<event><id>aaaaaaaa-0000-4000-8000-000000000001</id><name>First</name><notify>T</notify>"
    "<condition>1 = 1</condition>"
    "<groups><group>bbbbbbbb-0000-4000-8000-000000000001</group></groups></event>"
    "<event><id>aaaaaaaa-0000-4000-8000-000000000002</id><name>Second</name><notify>T</notify>"
    "<condition>1 = 1</condition>"
    "<groups><group>bbbbbbbb-0000-4000-8000-000000000001</group></groups></event>"
    "</events></main>";

void Require(bool holds) {
  if (!holds) std::abort();
}

// An engine that doesn't run, with two active events.
class Site {
 public:
  Site() {
    SetLogSink([](void*, int, const ZRWString&) {}, nullptr);
    ZREventSystem& store = ZREventSystem::Get();
    Require(document.Parse(kDefinition) && store.LoadXml(document) && store.EventsSize() == 2);
    for (auto event = store.EventsBegin(); event != store.EventsEnd(); ++event)
      Require((*event)->Work(ZRDateTime::LTC()) && (*event)->hasNotified());
  }
  bool Ask(const std::string& body) {
    FakeRequest request;
    return engine.ProcessHttpServiceAck(request,
                                        reinterpret_cast<const unsigned char*>(body.c_str()));
  }
  // Whether the body named the event, as far as its occurrence shows.
  static bool IsAcknowledged(ZREventDriver& event) {
    FakeResponse response;
    Require(event.ProcessHttpServiceEventsNotified(response, true));
    return response.body.find("<ackDateTime>") != std::string::npos;
  }

 private:
  ZREventServer engine;
  XmlDocument document;
};

// True if a child `id` of the root names the event or its occurrence.
bool IsNamed(const XmlDocument::XmlNode& root, ZREventDriver& event) {
  for (auto child = root.ChildsBegin(); child != root.ChildsEnd(); ++child)
    if ((*child)->TagUtf8() == "id" && event.HasEvent(wtouuid((*child)->Value()))) return true;
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static std::unique_ptr<Site> site;
  if (site == nullptr) site = std::make_unique<Site>();
  const std::string body(reinterpret_cast<const char*>(data), size);
  XmlDocument document;
  const bool isDocument = document.Parse(body.c_str()) && document.Root()->Tag() == L"eventsAck";
  Require(site->Ask(body) == isDocument);
  bool hasChanged = false;
  ZREventSystem& store = ZREventSystem::Get();
  for (auto event = store.EventsBegin(); event != store.EventsEnd(); ++event) {
    if (!Site::IsAcknowledged(**event)) continue;
    Require(isDocument && IsNamed(*document.Root(), **event));
    hasChanged = true;
  }
  if (hasChanged) site.reset();
  return 0;
}
