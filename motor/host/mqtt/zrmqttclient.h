// A client of an MQTT broker that connects by itself, and again.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/base/zrdropreport.h"
#include "host/mqtt/zrmqttwire.h"
#include "host/platform/zrmutex.h"
#include "host/platform/zrthread.h"

// Two kinds of messages go out. What is published passes by: it waits in a queue of bounded length,
// and the oldest is dropped. What is kept is a picture on the broker: one retained message for each
// topic, of which only the newest counts; all of them are sent again after each connection.
//
// Without `outlasts` in its settings nothing that is published is sent late: without a connection
// it isn't taken, and what the broker hasn't confirmed when one ends is dropped.
//
// Threads   Start, Stop and the destructor on one; everything else on any.
// Order     `mutex` is a leaf. The callbacks run on the client's thread, without it.
// Promise   no operation but Start and Stop waits for the broker, or for anything but the mutex. A
//           QoS 1 message is sent again after a lost connection, so it may arrive twice. A trouble
//           is one line in the log until a connection has lasted for kSettled.
class ZRMqttClient final : private ZRMqttWire::ZRListener {
 public:
  static constexpr std::uint32_t kFirstWait = 1000;      // ms before the second attempt, doubled
  static constexpr std::uint32_t kLongestWait = 60'000;  // ms, for each further one up to this
  static constexpr std::uint32_t kAnswerTime = 10'000;   // ms for the broker to take the login
  static constexpr std::uint32_t kSettled = 30'000;      // ms
  static constexpr std::uint32_t kFarewellTime = 2000;   // ms to send what waits when it stops
  static constexpr std::size_t kMostUnderWay = 200;      // messages that the broker has to confirm

  struct tagCallbacks {
    std::function<void()> connected;  // the broker has taken the login
    std::function<void()> lost;       // after a `connected`
    std::function<void(const ZRMqttMessage&)> received;
  };

  ZRMqttClient(ZRMqttSettings toUse, tagCallbacks toCall);
  ~ZRMqttClient() override;
  ZRMqttClient(const ZRMqttClient&) = delete;
  ZRMqttClient& operator=(const ZRMqttClient&) = delete;

  // False if the system gives no thread.
  [[nodiscard]] bool Start();
  // Sends what waits and the will, for kFarewellTime at most, and ends the connection. If the wire
  // is looking for the host's name, it waits for that too.
  void Stop() ZR_EXCLUDES(mutex);

  // False, and nothing is sent, for a payload above the bound, and for what doesn't outlast without
  // a connection.
  bool Publish(ZRMqttMessage message) ZR_EXCLUDES(mutex);
  // The retained message of that topic from now on; an empty payload takes it away. False as above.
  bool Keep(const std::string& topic, std::string payload) ZR_EXCLUDES(mutex);
  [[nodiscard]] bool Keeps(const std::string& topic) const ZR_EXCLUDES(mutex);
  // From now on, after each connection anew.
  void Subscribe(const std::string& filter, int qos) ZR_EXCLUDES(mutex);
  void Unsubscribe(const std::string& filter) ZR_EXCLUDES(mutex);

  [[nodiscard]] bool IsConnected() const ZR_EXCLUDES(mutex);
  // Why there is no connection, as in the log; empty while there is one, and while nobody knows.
  [[nodiscard]] std::string Trouble() const ZR_EXCLUDES(mutex);
  // Messages that were dropped since the start, because the queue was full.
  [[nodiscard]] std::uint64_t Dropped() const ZR_EXCLUDES(mutex);

 private:
  struct tagKept {
    std::string payload;
    bool waits = false;  // its topic is in `toRefresh`
  };
  // A message between Publish of the wire and OnSent.
  struct tagUnderWay {
    int id = 0;
    bool isKept = false;  // of the picture
    ZRMqttMessage message;
  };

  void OnAccepted() override;
  void OnMessage(ZRMqttMessage message) override;
  void OnSent(int id) override;

  // --- the client's thread ---
  void Work();
  void ServeConnection(std::string& reason);
  [[nodiscard]] bool WaitForAnswer(std::string& reason);
  [[nodiscard]] bool HandOver();
  [[nodiscard]] bool HandOverSubscriptions();
  [[nodiscard]] bool NextMessage(tagUnderWay& next) ZR_EXCLUDES(mutex);
  [[nodiscard]] bool IsFarewellDone() ZR_EXCLUDES(mutex);
  void PutBack() ZR_EXCLUDES(mutex);
  void NoteConnected();
  void NoteTrouble(const std::string& reason);
  void NoteDropped();
  void WaitBeforeNext() ZR_EXCLUDES(mutex);
  [[nodiscard]] bool IsStopping() const ZR_EXCLUDES(mutex);

  void WakeWire() ZR_REQUIRES(mutex);
  void RefreshAll() ZR_REQUIRES(mutex);
  void DropOldest() ZR_REQUIRES(mutex);

  const ZRMqttSettings settings;
  const tagCallbacks callbacks;
  const std::string shown;  // the broker, in the log
  ZRThread thread;
  const std::unique_ptr<ZRMqttWire> wire;

  mutable ZRMutex mutex;
  ZRCondition changed;  // stopping
  std::deque<ZRMqttMessage> waiting ZR_GUARDED_BY(mutex);
  std::map<std::string, tagKept> kept ZR_GUARDED_BY(mutex);
  std::deque<std::string> toRefresh ZR_GUARDED_BY(mutex);
  std::map<std::string, int> subscriptions ZR_GUARDED_BY(mutex);  // QoS by filter
  std::vector<std::pair<std::string, bool>> filterChanges ZR_GUARDED_BY(mutex);
  std::uint64_t dropped ZR_GUARDED_BY(mutex) = 0;
  bool connected ZR_GUARDED_BY(mutex) = false;
  std::string trouble ZR_GUARDED_BY(mutex);
  bool woken ZR_GUARDED_BY(mutex) = false;  // since the thread has last looked
  bool stopping ZR_GUARDED_BY(mutex) = false;

  // The client's thread alone.
  std::deque<tagUnderWay> underWay;
  bool accepted = false;
  bool saysFarewell = false;
  std::uint32_t acceptedAt = 0;    // ticks
  std::uint32_t farewellFrom = 0;  // ticks
  std::uint32_t nextWait = kFirstWait;
  std::set<std::string> told;  // troubles, since the last connection that has lasted
  bool saidConnected = false;  // and nothing else since
  bool saidTooLarge = false;
  ZRDropReport drops;
};
