// What goes to a cluster of Kafka brokers, and what is read back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct ZRKafkaMessage {
  std::string topic;
  std::string key;
  std::string payload;  // empty: a tombstone, which takes the key away
};

// Which cluster, and who this program is there.
struct ZRKafkaSettings {
  static constexpr int kPlainPort = 9092;
  static constexpr int kTlsPort = 9093;

  std::vector<std::string> hosts;  // brokers to begin with; one that answers is enough
  int port = kPlainPort;           // of each
  std::string clientId;
  std::string user;  // empty: without a login
  std::string password;
  std::string mechanism = "SCRAM-SHA-512";  // of the login; or SCRAM-SHA-256, PLAIN
  bool tls = false;
  std::string ca;           // file of the certificates to trust; empty: those of the machine
  std::string certificate;  // files of this client's own and its key; both or none
  std::string key;
  std::string compression = "none";       // or gzip, snappy, lz4, zstd
  std::optional<ZRKafkaMessage> online;   // kept from the start, and said again now and then
  std::optional<ZRKafkaMessage> offline;  // kept from the end
  std::size_t mostWaiting = 10'000;       // messages that wait to be sent
  std::size_t mostBytes = std::size_t{256} * 1024;  // of one payload
};

struct ZRKafkaTrouble {
  std::string cause;  // the same for the same trouble
  std::string text;   // for people
};

// The way to one cluster, for messages that go out. A lost broker is looked for again by the wire
// itself, and what was under way is sent again without becoming two.
//
// Threads   one, the client's; Wake on any.
class ZRKafkaWire {
 public:
  // Told on the thread that called Turn, from within it.
  class ZRListener {
   public:
    virtual ~ZRListener() = default;
    // All brokers that have to have it do.
    virtual void OnConfirmed(std::uint64_t id) = 0;
    // It isn't written. `isHopeless`: no broker will ever take it.
    virtual void OnRefused(std::uint64_t id, bool isHopeless, const ZRKafkaTrouble& trouble) = 0;
    virtual void OnTrouble(const ZRKafkaTrouble& trouble) = 0;
  };

  virtual ~ZRKafkaWire() = default;

  // Begins to look for the cluster. False if the settings can't be used.
  [[nodiscard]] virtual bool Open(ZRKafkaTrouble& trouble) = 0;
  // Waits for the cluster, for Wake or for so many ms, and tells what has become of messages.
  // False if it can't go on and is to be closed.
  [[nodiscard]] virtual bool Turn(std::uint32_t milliseconds, ZRKafkaTrouble& trouble) = 0;
  // Hands a message over. Those of one key keep their order.
  virtual void Publish(const ZRKafkaMessage& message, std::uint64_t id) = 0;
  // Nothing more is told of what is still under way.
  virtual void Close() = 0;
  // Ends the wait of the Turn under way, or of the next one.
  virtual void Wake() = 0;
};

// Reads topics from their beginnings to what are their ends by then.
//
// Threads   one; Cancel on any.
class ZRKafkaReader {
 public:
  // Called for each message, in the order of its partition. Both last for the call only.
  using tagFound =
      std::function<void(const std::string& topic, std::string_view key, bool isTombstone)>;

  virtual ~ZRKafkaReader() = default;
  // Waits for the cluster for as long as it takes. A topic that isn't there is empty. False with a
  // reason if it may not read; false without one after Cancel.
  [[nodiscard]] virtual bool Read(const std::vector<std::string>& topics, const tagFound& found,
                                  std::string& reason) = 0;
  // Ends a Read, within a second or so. There is none after it.
  virtual void Cancel() = 0;
};

// Makes the wires of the process: to real clusters, until somebody replaces it.
class ZRKafkaWires {
 public:
  virtual ~ZRKafkaWires() = default;
  // The settings outlive what is made, and so does the listener.
  [[nodiscard]] virtual std::unique_ptr<ZRKafkaWire> NewWire(const ZRKafkaSettings& settings,
                                                             ZRKafkaWire::ZRListener& listener) = 0;
  [[nodiscard]] virtual std::unique_ptr<ZRKafkaReader> NewReader(
      const ZRKafkaSettings& settings) = 0;

  [[nodiscard]] static ZRKafkaWires& Get();
  // Another one, which outlives the clients that are made while it is in force; null brings the
  // network back.
  static void Replace(ZRKafkaWires* wires);
};
