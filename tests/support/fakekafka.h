// A cluster inside the test, for the clients and readers that are made while it lives.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "host/kafka/zrkafkawire.h"
#include "host/platform/zrmutex.h"

// For one client at a time, in virtual time.
class FakeKafka final : public ZRKafkaWires {
 public:
  FakeKafka() { Replace(this); }
  ~FakeKafka() override { Replace(nullptr); }
  FakeKafka(const FakeKafka&) = delete;
  FakeKafka& operator=(const FakeKafka&) = delete;

  std::unique_ptr<ZRKafkaWire> NewWire(const ZRKafkaSettings& settings,
                                       ZRKafkaWire::ZRListener& listener) override {
    given = settings;
    return std::make_unique<CWire>(*this, listener);
  }
  std::unique_ptr<ZRKafkaReader> NewReader(const ZRKafkaSettings& /*settings*/) override {
    return std::make_unique<CReader>(*this);
  }

  // The wire can't go on, for that reason.
  void Break(const std::string& why) {
    breakReason = why;
    Ring();
  }
  void Trouble(const std::string& cause, const std::string& text) {
    troubles.push_back({cause, text});
    Ring();
  }
  // Takes the messages that were held back.
  void Confirm() {
    confirms = true;
    Ring();
  }
  // What a topic has got, in order.
  [[nodiscard]] std::vector<std::string> Payloads(const std::string& topic) const {
    std::vector<std::string> found;
    for (const ZRKafkaMessage& message : received)
      if (message.topic == topic) found.push_back(message.payload);
    return found;
  }
  // What compaction leaves of a key; empty for none.
  [[nodiscard]] std::string Newest(const std::string& topic, const std::string& key) const {
    std::string newest;
    for (const ZRKafkaMessage& message : received)
      if (message.topic == topic && message.key == key) newest = message.payload;
    return newest;
  }

  std::string openFailure;                               // not empty: the settings can't be used
  bool confirms = true;                                  // messages
  std::deque<std::pair<bool, ZRKafkaTrouble>> refusals;  // of the next messages: hopeless, why
  ZRKafkaSettings given;
  int opened = 0;
  std::size_t mostUnderWay = 0;
  std::vector<ZRKafkaMessage> received;
  std::vector<ZRKafkaMessage> stored;  // from before, for the reader
  std::string readFailure;

 private:
  class CWire final : public ZRKafkaWire {
   public:
    CWire(FakeKafka& ofTest, ZRListener& toTell) : cluster(ofTest), listener(toTell) {}

    bool Open(ZRKafkaTrouble& trouble) override {
      trouble = {"settings", cluster.openFailure};
      cluster.breakReason.clear();
      if (cluster.openFailure.empty()) ++cluster.opened;
      return cluster.openFailure.empty();
    }
    bool Turn(std::uint32_t milliseconds, ZRKafkaTrouble& trouble) override {
      WaitForWork(milliseconds);
      for (const ZRKafkaTrouble& said : std::exchange(cluster.troubles, {}))
        listener.OnTrouble(said);
      while (cluster.confirms && !underWay.empty()) {
        auto [id, message] = std::move(underWay.front());
        underWay.pop_front();
        Answer(id, std::move(message));
      }
      trouble = {"fatal", cluster.breakReason};
      return cluster.breakReason.empty();
    }
    void Publish(const ZRKafkaMessage& message, std::uint64_t id) override {
      underWay.emplace_back(id, message);
      cluster.mostUnderWay = std::max(cluster.mostUnderWay, underWay.size());
    }
    void Close() override { underWay.clear(); }
    void Wake() override { cluster.Ring(); }

   private:
    void WaitForWork(std::uint32_t milliseconds) {
      const ZRMutexLock lock(cluster.mutex);
      const bool isIdle = (!cluster.confirms || underWay.empty()) && cluster.troubles.empty() &&
                          cluster.breakReason.empty();
      if (!cluster.rings && isIdle) (void)cluster.rung.Wait(cluster.mutex, milliseconds);
      cluster.rings = false;
    }
    void Answer(std::uint64_t id, ZRKafkaMessage message) {
      if (cluster.refusals.empty()) {
        cluster.received.push_back(std::move(message));
        return listener.OnConfirmed(id);
      }
      const auto [isHopeless, trouble] = cluster.refusals.front();
      cluster.refusals.pop_front();
      listener.OnRefused(id, isHopeless, trouble);
    }

    FakeKafka& cluster;
    ZRListener& listener;
    std::deque<std::pair<std::uint64_t, ZRKafkaMessage>> underWay;
  };

  class CReader final : public ZRKafkaReader {
   public:
    explicit CReader(FakeKafka& ofTest) : cluster(ofTest) {}
    bool Read(const std::vector<std::string>& topics, const tagFound& found,
              std::string& reason) override {
      reason = cluster.readFailure;
      for (const std::string& topic : topics)
        for (const ZRKafkaMessage& message : cluster.stored)
          if (message.topic == topic) found(topic, message.key, message.payload.empty());
      return reason.empty();
    }
    void Cancel() override {}

   private:
    FakeKafka& cluster;
  };

  void Ring() {
    const ZRMutexLock lock(mutex);
    rings = true;
    rung.NotifyAll();
  }

  ZRMutex mutex;
  ZRCondition rung;
  bool rings ZR_GUARDED_BY(mutex) = false;
  std::string breakReason;
  std::vector<ZRKafkaTrouble> troubles;
};
