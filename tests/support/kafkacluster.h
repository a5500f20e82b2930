// A Kafka cluster of one broker, on a free port of this machine, that the makers of librdkafka
// wrote for tests: it keeps what it gets in memory, and fails when it is told to.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

class KafkaCluster {
 public:
  // Codes of the protocol.
  static constexpr int kUnknownTopic = 3;
  static constexpr int kNotEnoughReplicas = 19;
  static constexpr int kNotEnoughReplicasAfterAppend = 20;
  static constexpr int kTopicAuthorizationFailed = 29;
  static constexpr int kNone = 0;

  struct tagRecord {
    int partition = 0;
    std::string key;
    std::string value;
    bool isTombstone = false;
  };

  KafkaCluster();
  ~KafkaCluster();
  KafkaCluster(const KafkaCluster&) = delete;
  KafkaCluster& operator=(const KafkaCluster&) = delete;

  [[nodiscard]] int Port() const;
  // Nobody is connected, and nobody can, until it is up again. What it has it keeps.
  void GoDown() const;
  void ComeUp() const;
  void CreateTopic(const std::string& name, int partitions) const;
  // Of the next requests that write.
  void FailWrites(const std::vector<int>& codes) const;
  // Of all requests for that topic; kNone ends it.
  void FailTopic(const std::string& name, int code) const;

  // As another client.
  void Write(const std::string& topic, const std::string& key, const std::string& value) const;
  // How many records a topic has got.
  [[nodiscard]] std::size_t Size(const std::string& topic) const;
  // The first `count` records of a topic, those of a partition in their order; fewer if they
  // don't come within `milliseconds`.
  [[nodiscard]] std::vector<tagRecord> Read(const std::string& topic, std::size_t count,
                                            int milliseconds = 10'000) const;

 private:
  class CCluster;
  const std::unique_ptr<CCluster> cluster;
};
