// A broker inside the test, for the clients that are made while it lives.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/mqtt/zrmqttwire.h"
#include "host/platform/zrmutex.h"

// For one client at a time, in virtual time.
class FakeMqtt final : public ZRMqttWires {
 public:
  FakeMqtt() { Replace(this); }
  ~FakeMqtt() override { Replace(nullptr); }
  FakeMqtt(const FakeMqtt&) = delete;
  FakeMqtt& operator=(const FakeMqtt&) = delete;

  std::unique_ptr<ZRMqttWire> NewWire(const ZRMqttSettings& settings,
                                      ZRMqttWire::ZRListener& listener) override {
    clients.push_back(settings);
    return std::make_unique<CWire>(*this, settings, listener);
  }

  // Ends the connection with that reason; a new one finds the broker as `refusal` says.
  void Cut(const std::string& why) {
    cut = why;
    Ring();
  }
  // Another client's message.
  void Send(ZRMqttMessage message) {
    if (message.retain) Store(message);
    message.retain = false;
    Route(message);
    Ring();
  }
  // Confirms what was held back.
  void Confirm() {
    confirms = true;
    Ring();
  }
  // The payloads that came for a topic, in order.
  [[nodiscard]] std::vector<std::string> Payloads(const std::string& topic) const {
    std::vector<std::string> found;
    for (const ZRMqttMessage& message : received)
      if (message.topic == topic) found.push_back(message.payload);
    return found;
  }

  std::string refusal;   // not empty: no connection comes about
  bool answers = true;   // logins
  bool confirms = true;  // messages
  bool isThere = false;  // a connection
  int attempts = 0;
  int polite = 0;  // ends that the client has announced
  std::vector<ZRMqttMessage> received;
  std::map<std::string, std::string> retained;
  std::set<std::string> filters;
  std::vector<ZRMqttSettings> clients;  // that were made

 private:
  class CWire final : public ZRMqttWire {
   public:
    CWire(FakeMqtt& ofTest, const ZRMqttSettings& toUse, ZRListener& toTell)
        : broker(ofTest), settings(toUse), listener(toTell) {}

    bool Connect(std::string& reason) override {
      ++broker.attempts;
      reason = broker.refusal;
      broker.isThere = reason.empty();
      broker.cut.clear();
      broker.filters.clear();
      broker.outgoing.clear();
      broker.unconfirmed.clear();
      greeted = false;
      return broker.isThere;
    }
    bool Turn(std::uint32_t milliseconds, std::string& reason) override {
      {
        const ZRMutexLock lock(broker.mutex);
        const bool isIdle = broker.outgoing.empty() && broker.cut.empty() &&
                            (!broker.confirms || broker.unconfirmed.empty()) &&
                            (greeted || !broker.answers);
        if (!broker.rings && isIdle) (void)broker.rung.Wait(broker.mutex, milliseconds);
        broker.rings = false;
      }
      if (!broker.cut.empty()) {
        reason = std::exchange(broker.cut, "");
        broker.isThere = false;
        if (settings.will) broker.Take(*settings.will);
        return false;
      }
      if (broker.answers && !std::exchange(greeted, true)) listener.OnAccepted();
      while (broker.confirms && !broker.unconfirmed.empty()) {
        const int id = broker.unconfirmed.front();
        broker.unconfirmed.pop_front();
        listener.OnSent(id);
      }
      for (ZRMqttMessage& message : std::exchange(broker.outgoing, {}))
        listener.OnMessage(std::move(message));
      return true;
    }
    bool Publish(const ZRMqttMessage& message, int& id) override {
      id = ++broker.lastId;
      broker.unconfirmed.push_back(id);
      broker.Take(message);
      return true;
    }
    bool Subscribe(const std::string& filter, int /*qos*/) override {
      broker.filters.insert(filter);
      for (const auto& [topic, payload] : broker.retained)
        if (Matches(filter, topic)) broker.outgoing.push_back({topic, payload, 0, true});
      return true;
    }
    bool Unsubscribe(const std::string& filter) override {
      broker.filters.erase(filter);
      return true;
    }
    void Disconnect(bool politely) override {
      if (politely) ++broker.polite;
      broker.isThere = false;
    }
    void Wake() override { broker.Ring(); }

   private:
    FakeMqtt& broker;
    const ZRMqttSettings& settings;
    ZRListener& listener;
    bool greeted = false;
  };

  // With "+" for one level.
  static bool Matches(std::string_view filter, std::string_view topic) {
    while (!filter.empty() && !topic.empty()) {
      const std::string_view wanted = filter.substr(0, filter.find('/'));
      const std::string_view level = topic.substr(0, topic.find('/'));
      if (wanted != "+" && wanted != level) return false;
      filter.remove_prefix(std::min(wanted.size() + 1, filter.size()));
      topic.remove_prefix(std::min(level.size() + 1, topic.size()));
    }
    return filter.empty() && topic.empty();
  }
  void Take(const ZRMqttMessage& message) {
    received.push_back(message);
    if (message.retain) Store(message);
    ZRMqttMessage passed = message;
    passed.retain = false;
    Route(passed);
  }
  void Store(const ZRMqttMessage& message) {
    if (message.payload.empty()) {
      retained.erase(message.topic);
    } else {
      retained[message.topic] = message.payload;
    }
  }
  void Route(const ZRMqttMessage& message) {
    for (const std::string& filter : filters)
      if (isThere && Matches(filter, message.topic)) outgoing.push_back(message);
  }
  void Ring() {
    const ZRMutexLock lock(mutex);
    rings = true;
    rung.NotifyAll();
  }

  ZRMutex mutex;
  ZRCondition rung;
  bool rings ZR_GUARDED_BY(mutex) = false;
  std::string cut;
  std::deque<int> unconfirmed;
  std::vector<ZRMqttMessage> outgoing;
  int lastId = 0;
};
