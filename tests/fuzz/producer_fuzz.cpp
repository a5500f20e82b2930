// Any body at the service for documents of other engines: what stands in the picture afterwards
// came through a driver that is online, has an id, and can be told on.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "host/base/zrlogger.h"
#include "support/fakehttp.h"
#include "support/fakesecurity.h"
#include "support/fakewire.h"
#include "zrevents/zreventserver.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

const unsigned char* BytesOf(const std::string& body) {
  return reinterpret_cast<const unsigned char*>(body.c_str());
}

// An engine that doesn't run, with a driver that is online, one that isn't, and a listener.
class Site {
 public:
  Site() {
    SetLogSink([](void*, int, const ZRWString&) {}, nullptr);
    ZRDriver::Register(std::make_unique<RemoteDriver>("R", "Roof"));
    static_cast<RemoteDriver*>(ZRDriver::Register(std::make_unique<RemoteDriver>("S", "Shed")))
        ->online = false;
    const std::string wish = "<listener><driverId>L</driverId><ip>l</ip><port>1</port></listener>";
    FakeRequest request;
    Require(engine.ProcessHttpServiceRegisterListener(request, BytesOf(wish)) == 204);
    listener.actived = true;
    listener.notified = true;
  }
  ~Site() { ZRDriver::UnregisterAll(); }
  Site(const Site&) = delete;
  Site& operator=(const Site&) = delete;

  int Produce(const std::string& body) {
    FakeRequest request;
    return engine.ProcessHttpServiceProducer(request, BytesOf(body));
  }
  ZREventList& List() { return engine.EventList(); }

  // The picture and the changes, as they are told on, read again.
  void TellOn() {
    XmlDocument told;
    told.Create(L"producer");
    (void)List().AddAllActived(listener, told, L"", L"L", L"Lobby");
    (void)List().AddAllNotified(told, L"", L"L", L"Lobby");
    Check(told);
    told.Create(L"producer");
    const int changes = List().PendingRemoteChangesSize();
    List().AddNotifiedChanges(told, listener, 0, changes);
    List().AddActivedChanges(told, listener, 0, changes);
    Check(told);
  }
  void Forget() {
    List().RemoveDriverEvents(L"R");
    List().DropRemoteChanges(0);
  }

 private:
  static void Check(const XmlDocument& told) {
    ZRString code;
    told.CreateXmlCode(code, true);
    XmlDocument read;
    Require(read.Parse(code.Text()));
    for (const wchar_t* const section : {L"actived", L"notified"}) {
      const XmlDocument::XmlNode* const list = told.Root()->Node(section);
      if (list == nullptr) continue;
      for (auto event = list->ChildsBegin(); event != list->ChildsEnd(); ++event)
        Require((*event)->ValueUtf8("id").starts_with("L.R."));
    }
  }

  FakeWire wire;
  ZREventServer engine;
  ZREventListener listener{L"L", "l", 1};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Site site;
  const std::string body(reinterpret_cast<const char*>(data), size);
  const int status = site.Produce(body);
  XmlDocument document;
  Require(status == 204 || status == 400);
  Require(document.Parse(body.c_str()) || status == 400);
  site.TellOn();
  site.Forget();
  return 0;
}
