// A live list, with the drivers R and S of two remote engines.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/fakehttp.h"
#include "support/fakesecurity.h"
#include "support/text.h"
#include "zrevents/lists/zreventlist.h"

// An element `event` as it is received. Each call adds to it.
class RemoteXml {
 public:
  explicit RemoteXml(const std::string& id) { With("id", id); }
  RemoteXml& With(const std::string& key, const std::string& escaped) {
    inside += "<" + key + ">" + escaped + "</" + key + ">";
    return *this;
  }
  RemoteXml& Why(const std::string& reason) { return With("whyFired", reason); }
  RemoteXml& On(const std::string& date = "on") { return With("dateTime", date); }
  RemoteXml& Off(const std::string& date = "off") { return With("disableDateTime", date); }
  RemoteXml& Ack(const std::string& date = "ack") { return With("ackDateTime", date); }
  [[nodiscard]] std::string Xml() const { return "<event>" + inside + "</event>"; }

 private:
  std::string inside;
};

// Vocabulary: Active and Notified merge an element, the two pictures show what is there.
class ListTest : public ::testing::Test {
 protected:
  ListTest() {
    r = static_cast<RemoteDriver*>(ZRDriver::Register(std::make_unique<RemoteDriver>("R", "Roof")));
    s = static_cast<RemoteDriver*>(ZRDriver::Register(std::make_unique<RemoteDriver>("S", "Shed")));
  }
  ~ListTest() override { ZRDriver::UnregisterAll(); }

  void Merge(const RemoteXml& element, bool isActive) {
    XmlDocument received;
    ASSERT_TRUE(received.Parse(element.Xml().c_str())) << element.Xml();
    list.UpdateEntry(received.Root(), isActive);
  }
  void Active(const RemoteXml& element) { Merge(element, true); }
  void Notified(const RemoteXml& element) { Merge(element, false); }
  void QueueRemote(const RemoteXml& element, bool isActive) {
    XmlDocument received;
    ASSERT_TRUE(received.Parse(element.Xml().c_str()));
    list.QueueRemoteChange(received.Root(), isActive);
  }
  // A step of an element that is notified.
  static RemoteXml Step(const std::string& why, const std::string& id = "R.1") {
    return RemoteXml(id).Why(why).With("notified", "T");
  }

  // The sections, as they are sent to a listener L that is called Lobby.
  std::string ActivePicture() { return Sent(true); }
  std::string NotifiedPicture() { return Sent(false); }
  // The values of the first element, "key=value" in their order; "-" without one.
  std::string FirstActive() { return First(true); }
  std::string FirstNotified() { return First(false); }
  // The ids of the elements, in their order.
  std::string ActiveIds() { return Ids(true); }
  std::string NotifiedIds() { return Ids(false); }

  int ActiveCount(const char* user = "") {
    FakeRequest request(false, user);
    FakeResponse response;
    return list.ActivedCount(request, response);
  }
  int NotifiedCount(const char* user = "") {
    FakeRequest request(false, user);
    FakeResponse response;
    return list.NotifiedCount(request, response);
  }

  static ZREventListener& Wants(ZREventListener& listener) {
    listener.driverName = L"Lobby";
    listener.user = L"Ann";
    listener.actived = true;
    listener.notified = true;
    return listener;
  }
  static std::string Code(const XmlDocument& document) {
    ZRString code;
    document.CreateXmlCode(code, false);
    return Str(code);
  }

  ZREventList list;
  RemoteDriver* r = nullptr;
  RemoteDriver* s = nullptr;

 private:
  void Fill(XmlDocument& document, bool isActive) {
    ZREventListener listener(L"L", "", 0);
    document.Create(L"producer");
    if (isActive) {
      (void)list.AddAllActived(listener, document, L"", L"L", L"Lobby");
    } else {
      (void)list.AddAllNotified(document, L"", L"L", L"Lobby");
    }
  }
  std::string Sent(bool isActive) {
    XmlDocument document;
    Fill(document, isActive);
    return Code(document);
  }
  std::string First(bool isActive) {
    XmlDocument document;
    Fill(document, isActive);
    const auto* const element =
        document.Root()->Node(isActive ? L"actived/event" : L"notified/event");
    if (element == nullptr) return "-";
    std::string text;
    for (auto value = element->ChildsBegin(); value != element->ChildsEnd(); ++value)
      text += (text.empty() ? "" : " ") + std::string((*value)->TagUtf8()) + "=" +
              std::string((*value)->TextUtf8());
    return text;
  }
  std::string Ids(bool isActive) {
    XmlDocument document;
    Fill(document, isActive);
    std::string text;
    const auto* const section = document.Root()->Node(isActive ? L"actived" : L"notified");
    if (section == nullptr) return "";
    for (auto element = section->ChildsBegin(); element != section->ChildsEnd(); ++element)
      text += (text.empty() ? "" : " ") + std::string((*element)->ValueUtf8("id"));
    return text;
  }
};
