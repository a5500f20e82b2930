// What goes to a broker of MQTT 3.1.1 and comes from it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

struct ZRMqttMessage {
  std::string topic;
  std::string payload;
  int qos = 0;          // 0 or 1
  bool retain = false;  // of a received one: the broker had kept it
};

// Which broker, and who this program is there.
struct ZRMqttSettings {
  static constexpr int kPlainPort = 1883;
  static constexpr int kTlsPort = 8883;

  std::string host;
  int port = kPlainPort;
  std::string clientId;
  std::string user;  // empty: without a login
  std::string password;
  bool tls = false;
  std::string ca;           // file of the certificates to trust; empty: those of the machine
  std::string certificate;  // files of this client's own and its key; both or none
  std::string key;
  std::optional<ZRMqttMessage> birth;               // told after each connection
  std::optional<ZRMqttMessage> will;                // told when it ends, by the broker if need be
  bool outlasts = true;                             // what is published waits for a connection
  std::size_t mostWaiting = 10'000;                 // messages that wait to be sent
  std::size_t mostBytes = std::size_t{256} * 1024;  // of one payload, in either direction
};

// The way to one broker, one connection after the other.
//
// Threads   one, the client's; Wake on any.
class ZRMqttWire {
 public:
  // Told on the thread that called Turn, from within it.
  class ZRListener {
   public:
    virtual ~ZRListener() = default;
    virtual void OnAccepted() = 0;  // the broker has taken the login
    virtual void OnMessage(ZRMqttMessage message) = 0;
    virtual void OnSent(int id) = 0;  // written (QoS 0), or acknowledged by the broker (1)
  };

  virtual ~ZRMqttWire() = default;

  // Begins a connection. False with a reason. Waits for the host's name at most.
  [[nodiscard]] virtual bool Connect(std::string& reason) = 0;
  // Waits for the network, for Wake or for so many ms, and does what there is to do. False with a
  // reason when the connection is over.
  [[nodiscard]] virtual bool Turn(std::uint32_t milliseconds, std::string& reason) = 0;
  // Hands a message over and gives it an id. False if the connection doesn't take it.
  [[nodiscard]] virtual bool Publish(const ZRMqttMessage& message, int& id) = 0;
  [[nodiscard]] virtual bool Subscribe(const std::string& filter, int qos) = 0;
  [[nodiscard]] virtual bool Unsubscribe(const std::string& filter) = 0;
  // Ends the connection. `politely`: the broker is told, and keeps the will to itself.
  virtual void Disconnect(bool politely) = 0;
  // Ends the wait of the Turn under way, or of the next one.
  virtual void Wake() = 0;
};

// Makes the wires of the process: to real brokers, until somebody replaces it.
class ZRMqttWires {
 public:
  virtual ~ZRMqttWires() = default;
  // Settings and listener outlive the wire.
  [[nodiscard]] virtual std::unique_ptr<ZRMqttWire> NewWire(const ZRMqttSettings& settings,
                                                            ZRMqttWire::ZRListener& listener) = 0;

  [[nodiscard]] static ZRMqttWires& Get();
  // Another one, which outlives the clients that are made while it is in force; null brings the
  // network back.
  static void Replace(ZRMqttWires* wires);
};
