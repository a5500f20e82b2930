#include "support/kafkacluster.h"

#include <librdkafka/rdkafka.h>
#include <librdkafka/rdkafka_mock.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace {

constexpr int kBroker = 1;
constexpr std::int16_t kProduce = 0;  // a request of the protocol
constexpr int kPatience = 10'000;     // ms

rd_kafka_t* MakeHandle(rd_kafka_type_t type, const std::string& bootstrap) {
  rd_kafka_conf_t* const conf = ::rd_kafka_conf_new();
  ::rd_kafka_conf_set_log_cb(conf, nullptr);
  if (!bootstrap.empty())
    (void)::rd_kafka_conf_set(conf, "bootstrap.servers", bootstrap.c_str(), nullptr, 0);
  std::array<char, 512> reason{};
  rd_kafka_t* const handle = ::rd_kafka_new(type, conf, reason.data(), reason.size());
  if (handle == nullptr) {
    std::fprintf(stderr, "no test without a handle: %s\n", reason.data());
    std::abort();
  }
  return handle;
}

int CountPartitions(rd_kafka_t* handle, rd_kafka_topic_t* topic) {
  const rd_kafka_metadata_t* metadata = nullptr;
  if (::rd_kafka_metadata(handle, 0, topic, &metadata, kPatience) != RD_KAFKA_RESP_ERR_NO_ERROR)
    return 0;
  const int count = metadata->topics[0].partition_cnt;
  ::rd_kafka_metadata_destroy(metadata);
  return count;
}

std::string Text(const void* bytes, std::size_t size) {
  return bytes == nullptr ? std::string() : std::string(static_cast<const char*>(bytes), size);
}

}  // namespace

class KafkaCluster::CCluster {
 public:
  CCluster()
      : owner(MakeHandle(RD_KAFKA_PRODUCER, "")), mock(::rd_kafka_mock_cluster_new(owner, 1)) {
    if (mock == nullptr) std::abort();
    bootstrap = ::rd_kafka_mock_cluster_bootstraps(mock);
  }
  ~CCluster() {
    ::rd_kafka_mock_cluster_destroy(mock);
    ::rd_kafka_destroy(owner);
  }
  CCluster(const CCluster&) = delete;
  CCluster& operator=(const CCluster&) = delete;

  rd_kafka_t* const owner;
  rd_kafka_mock_cluster_t* const mock;
  std::string bootstrap;
};

KafkaCluster::KafkaCluster() : cluster(std::make_unique<CCluster>()) {}
KafkaCluster::~KafkaCluster() = default;

int KafkaCluster::Port() const {
  const std::string& place = cluster->bootstrap;
  return std::atoi(place.substr(place.rfind(':') + 1).c_str());
}

void KafkaCluster::GoDown() const {
  (void)::rd_kafka_mock_broker_set_down(cluster->mock, kBroker);
}

void KafkaCluster::ComeUp() const {
  (void)::rd_kafka_mock_broker_set_up(cluster->mock, kBroker);
}

void KafkaCluster::CreateTopic(const std::string& name, int partitions) const {
  (void)::rd_kafka_mock_topic_create(cluster->mock, name.c_str(), partitions, 1);
}

void KafkaCluster::FailWrites(const std::vector<int>& codes) const {
  std::vector<rd_kafka_resp_err_t> errors;
  for (const int code : codes)
    errors.push_back(static_cast<rd_kafka_resp_err_t>(code));
  ::rd_kafka_mock_push_request_errors_array(cluster->mock, kProduce, errors.size(), errors.data());
}

void KafkaCluster::FailTopic(const std::string& name, int code) const {
  ::rd_kafka_mock_topic_set_error(cluster->mock, name.c_str(),
                                  static_cast<rd_kafka_resp_err_t>(code));
}

void KafkaCluster::Write(const std::string& topic, const std::string& key,
                         const std::string& value) const {
  rd_kafka_t* const handle = MakeHandle(RD_KAFKA_PRODUCER, cluster->bootstrap);
  rd_kafka_topic_t* const place = ::rd_kafka_topic_new(handle, topic.c_str(), nullptr);
  (void)::rd_kafka_produce(place, RD_KAFKA_PARTITION_UA, RD_KAFKA_MSG_F_COPY,
                           value.empty() ? nullptr : const_cast<char*>(value.data()), value.size(),
                           key.data(), key.size(), nullptr);
  (void)::rd_kafka_flush(handle, kPatience);
  ::rd_kafka_topic_destroy(place);
  ::rd_kafka_destroy(handle);
}

std::size_t KafkaCluster::Size(const std::string& topic) const {
  rd_kafka_t* const handle = MakeHandle(RD_KAFKA_CONSUMER, cluster->bootstrap);
  rd_kafka_topic_t* const place = ::rd_kafka_topic_new(handle, topic.c_str(), nullptr);
  const int partitions = CountPartitions(handle, place);
  std::size_t size = 0;
  for (int partition = 0; partition < partitions; ++partition) {
    std::int64_t first = 0;
    std::int64_t end = 0;
    (void)::rd_kafka_query_watermark_offsets(handle, topic.c_str(), partition, &first, &end,
                                             kPatience);
    size += static_cast<std::size_t>(end - first);
  }
  ::rd_kafka_topic_destroy(place);
  ::rd_kafka_destroy(handle);
  return size;
}

std::vector<KafkaCluster::tagRecord> KafkaCluster::Read(const std::string& topic, std::size_t count,
                                                        int milliseconds) const {
  std::vector<tagRecord> records;
  rd_kafka_t* const handle = MakeHandle(RD_KAFKA_CONSUMER, cluster->bootstrap);
  rd_kafka_topic_t* const from = ::rd_kafka_topic_new(handle, topic.c_str(), nullptr);
  rd_kafka_queue_t* const queue = ::rd_kafka_queue_new(handle);
  const int partitions = CountPartitions(handle, from);
  for (int partition = 0; partition < partitions; ++partition)
    (void)::rd_kafka_consume_start_queue(from, partition, RD_KAFKA_OFFSET_BEGINNING, queue);
  using Clock = std::chrono::steady_clock;
  const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
  while (records.size() < count && Clock::now() < end) {
    rd_kafka_message_t* const message = ::rd_kafka_consume_queue(queue, 100);
    if (message == nullptr) continue;
    if (message->err == RD_KAFKA_RESP_ERR_NO_ERROR) {
      records.push_back({message->partition, Text(message->key, message->key_len),
                         Text(message->payload, message->len), message->payload == nullptr});
    }
    ::rd_kafka_message_destroy(message);
  }
  for (int partition = 0; partition < partitions; ++partition)
    (void)::rd_kafka_consume_stop(from, partition);
  ::rd_kafka_queue_destroy(queue);
  ::rd_kafka_topic_destroy(from);
  ::rd_kafka_destroy(handle);
  return records;
}
