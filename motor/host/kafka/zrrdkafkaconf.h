// Our settings in the words of librdkafka.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/kafka/zrkafkawire.h"

struct rd_kafka_conf_s;

struct ZRRdKafkaConfDeleter {
  void operator()(rd_kafka_conf_s* conf) const;
};
using ZRRdKafkaConf = std::unique_ptr<rd_kafka_conf_s, ZRRdKafkaConfDeleter>;

// Where the cluster is and who asks, and `further` names and values. Null with a reason, in which
// no value stands.
[[nodiscard]] ZRRdKafkaConf MakeKafkaConf(
    const ZRKafkaSettings& settings,
    const std::vector<std::pair<const char*, std::string>>& further, std::string& reason);
