// Live variables from an MQTT broker.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/drivers/zrmqttcommand.h"
#include "host/drivers/zrmqttpayload.h"
#include "host/drivers/zrpolleddriver.h"
#include "host/mqtt/zrmqttclient.h"

struct ZRMqttVariable {
  ZRWString name;
  std::string topic;
  ZRMqttReading reading;
  std::uint32_t mostAge = 0;  // ms without a message until there is no value; 0: any
  bool takesRetained = true;  // what the broker had kept counts
  bool hasOwnWords = false;   // its states are called by its words for on and off
  std::string measure;
  std::optional<ZRMqttCommand> command;  // it can be forced
};

struct ZRMqttDriverSettings {
  ZRMqttSettings broker;
  int qos = 0;                   // of the subscriptions
  std::uint32_t grace = 30'000;  // ms without a connection until there are no values
  std::vector<ZRMqttVariable> variables;
};

// Shows what the messages of a broker say, and publishes what is forced.
//
// Threads   messages are read on the client's thread. The driver's own, as ZRPolledDriver, looks
//           once in kLook which values are too old. ForceValue on any.
// Order     its mutex is a leaf.
// Promise   nothing but Stop waits for the broker: ZRMqttClient::Stop says how long. What is forced
//           is sent at once or never.
class ZRMqttDriver final : public ZRPolledDriver {
 public:
  static constexpr std::uint32_t kLook = 1000;          // ms
  static constexpr std::uint32_t kForgotten = 600'000;  // ms after which a cause is told again

  ZRMqttDriver(const ZRWString& ofId, const ZRWString& ofName, ZRMqttDriverSettings toUse);
  ~ZRMqttDriver() override;

  [[nodiscard]] bool Start() override;
  void Stop() override;
  void Poll(std::int64_t utc) override;
  [[nodiscard]] bool Prepare() override;
  // There is a connection.
  [[nodiscard]] bool IsOnline() const override { return connected.load(); }
  [[nodiscard]] bool ReachesDevices() const override { return true; }
  // Hands the command to the connection. False without one, and for what can't be forced so. The
  // variable shows what its own topic says then.
  [[nodiscard]] bool ForceValue(std::int64_t variable, const ZRValue& value,
                                const wchar_t* name) override;
  [[nodiscard]] bool ValueInfo(std::int64_t variable, tagSVariableValueInfo& info) const override;
  // Of the connection, or of the first variable whose last message was bad.
  [[nodiscard]] ZRString Trouble() const override;

 private:
  struct tagState {
    bool isShown = false;
    std::uint32_t heard = 0;  // ticks of the last message
    std::string trouble;      // of the last message; empty: none
  };

  // --- the client's thread ---
  void TakeConnection(bool isThere);
  void Receive(const ZRMqttMessage& message);
  void Show(std::size_t index, const ZRMqttAnswer& answer) ZR_EXCLUDES(mutex);
  // The cause, if it is to be told: once, and again when it comes back after a long time.
  [[nodiscard]] std::string NoteBad(std::size_t index, const ZRMqttAnswer& answer)
      ZR_REQUIRES(mutex);

  // The variable of the settings with that number; null for none.
  [[nodiscard]] const ZRMqttVariable* Described(std::int64_t variable) const;
  [[nodiscard]] ZRLiveValue& Live(std::size_t index);

  const ZRMqttDriverSettings settings;
  std::map<std::string, std::vector<std::size_t>, std::less<>> topics;  // constant
  std::int64_t online = 0;  // the numbers of ONLINE and ERRORS; the others follow
  std::int64_t errors = 0;
  bool clientRuns = false;  // the host's thread only

  std::atomic<bool> connected{false};
  mutable ZRMutex mutex;
  std::vector<tagState> states ZR_GUARDED_BY(mutex);
  std::map<std::string, std::uint32_t> told ZR_GUARDED_BY(mutex);  // ticks of a cause, by its text
  std::uint64_t bad ZR_GUARDED_BY(mutex) = 0;
  std::uint32_t lostAt ZR_GUARDED_BY(mutex) = 0;  // ticks
  ZRMqttClient client;
};
