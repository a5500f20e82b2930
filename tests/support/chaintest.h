// An engine with listeners, and the servers that they stand for.
#pragma once

#include <string>
#include <vector>

#include "support/enginetest.h"
#include "support/fakesecurity.h"
#include "support/fakewire.h"
#include "support/listtest.h"

// A document `listener`. Each call adds to it.
class WishXml {
 public:
  explicit WishXml(const std::string& driverId) { With("driverId", driverId); }
  static WishXml Bare() { return WishXml(); }
  WishXml& With(const std::string& key, const std::string& escaped) {
    inside += "<" + key + ">" + escaped + "</" + key + ">";
    return *this;
  }
  WishXml& At(const std::string& ip, const std::string& port = "8480") {
    return With("ip", ip).With("port", port);
  }
  WishXml& Everything() { return With("actived", "T").With("notified", "T"); }
  [[nodiscard]] std::string Xml() const { return "<listener>" + inside + "</listener>"; }

 private:
  WishXml() = default;
  std::string inside;
};

// Vocabulary: Serve events, Register listeners, let rounds go by with Passes, look at what was put.
class ChainTest : public EngineTest {
 protected:
  ChainTest() {
    roof =
        static_cast<RemoteDriver*>(ZRDriver::Register(std::make_unique<RemoteDriver>("R", "Roof")));
  }
  ~ChainTest() override { StopServer(); }

  // The engine runs with these events, all of them off until RUN is 1.
  void Serve(const std::vector<EventXml>& events, const std::string& groups = "") {
    std::string all;
    for (const EventXml& event : events)
      all += event.Xml();
    LoadXeve(all, groups);
    Set("RUN", 0);
    StartServer();
  }
  static EventXml Pump(const std::string& name = "Pump", int number = 1) {
    return EventXml(name, number).Condition("[P.RUN] = 1").Notify();
  }

  int Register(const std::string& body, const char* user = "") {
    FakeRequest request(false, user);
    return server->ProcessHttpServiceRegisterListener(
        request, reinterpret_cast<const unsigned char*>(body.c_str()));
  }
  int Register(const WishXml& wish, const char* user = "") { return Register(wish.Xml(), user); }
  // A listener that wants everything, at a host of the same name.
  void Listen(const std::string& name, const char* user = "") {
    EXPECT_EQ(Register(WishXml(name).At(name).With("driverName", "Lobby").Everything(), user), 204);
  }
  int Produce(const std::string& body) {
    FakeRequest request;
    return server->ProcessHttpServiceProducer(request,
                                              reinterpret_cast<const unsigned char*>(body.c_str()));
  }
  // A document of an engine behind the driver R.
  static std::string Produced(const std::string& actived, const std::string& notified = "",
                              const std::string& all = "F") {
    return "<producer><driverId>R</driverId><all>" + all + "</all><actived>" + actived +
           "</actived><notified>" + notified + "</notified></producer>";
  }
  int Listeners() { return server->EventList().listenerCount; }

  // What was put to a host, without the test of its registration.
  std::vector<std::string> Put(const std::string& host) const {
    std::vector<std::string> bodies;
    for (const auto& request : wire.requests)
      if (request.host == host && request.path.find("test=T") == std::string::npos)
        bodies.push_back(request.body);
    return bodies;
  }
  // The values `key` of the elements of a section of a document.
  static std::string Told(const std::string& body, const char* section, const char* key) {
    XmlDocument document;
    EXPECT_TRUE(document.Parse(body.c_str())) << body;
    std::string text;
    const auto* const list = document.Root()->Child(section);
    if (list == nullptr) return "no section";
    for (auto event = list->ChildsBegin(); event != list->ChildsEnd(); ++event)
      text += (text.empty() ? "" : " ") + std::string((*event)->ValueUtf8(key));
    return text;
  }
  static std::string Head(const std::string& body, const char* key) {
    XmlDocument document;
    EXPECT_TRUE(document.Parse(body.c_str())) << body;
    return document.Root()->Child(key) == nullptr ? "-"
                                                  : std::string(document.Root()->ValueUtf8(key));
  }
  // The ids of the remote events that are active here.
  std::string RemoteActive() { return Told(ActiveDocument(), "actived", "id"); }
  std::string RemoteNotified() { return Told(NotifiedDocument(), "notified", "id"); }

  FakeWire wire;
  RemoteDriver* roof = nullptr;

 private:
  std::string ActiveDocument() {
    XmlDocument document;
    document.Create(L"picture");
    ZREventListener listener(L"L", "", 0);
    (void)server->EventList().AddAllActived(listener, document, L"Ann", L"L", L"Lobby");
    ZRString code;
    document.CreateXmlCode(code, false);
    return Str(code);
  }
  std::string NotifiedDocument() {
    XmlDocument document;
    document.Create(L"picture");
    (void)server->EventList().AddAllNotified(document, L"Ann", L"L", L"Lobby");
    ZRString code;
    document.CreateXmlCode(code, false);
    return Str(code);
  }
};
