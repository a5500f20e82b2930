// What a cluster keeps, read once, by librdkafka.
#include <librdkafka/rdkafka.h>

#include <array>
#include <atomic>
#include <memory>

#include "host/kafka/zrrdkafkaconf.h"
#include "host/kafka/zrrdkafkawires.h"

namespace {

constexpr int kTurn = 500;  // ms
constexpr std::size_t kLongestReason = 512;

template <auto destroy>
struct tagDestroy {
  template <typename Object>
  void operator()(Object* object) const {
    destroy(object);
  }
};
using tagHandle = std::unique_ptr<rd_kafka_t, tagDestroy<rd_kafka_destroy>>;
using tagTopic = std::unique_ptr<rd_kafka_topic_t, tagDestroy<rd_kafka_topic_destroy>>;
using tagQueue = std::unique_ptr<rd_kafka_queue_t, tagDestroy<rd_kafka_queue_destroy>>;
using tagMessage = std::unique_ptr<rd_kafka_message_t, tagDestroy<rd_kafka_message_destroy>>;

// Of a topic that is being made, or of a broker that isn't there yet.
bool IsForNow(rd_kafka_resp_err_t code) {
  return code == RD_KAFKA_RESP_ERR__TRANSPORT || code == RD_KAFKA_RESP_ERR__TIMED_OUT ||
         code == RD_KAFKA_RESP_ERR_LEADER_NOT_AVAILABLE;
}

bool IsNotThere(rd_kafka_resp_err_t code) {
  return code == RD_KAFKA_RESP_ERR_UNKNOWN_TOPIC_OR_PART ||
         code == RD_KAFKA_RESP_ERR__UNKNOWN_TOPIC || code == RD_KAFKA_RESP_ERR__UNKNOWN_PARTITION;
}

class CReader final : public ZRKafkaReader {
 public:
  explicit CReader(const ZRKafkaSettings& toUse) : settings(toUse) {}

  bool Read(const std::vector<std::string>& topics, const tagFound& found,
            std::string& reason) override;
  void Cancel() override { cancelled = true; }

 private:
  [[nodiscard]] tagHandle MakeHandle(std::string& reason) const;
  [[nodiscard]] bool CountPartitions(rd_kafka_t* handle, rd_kafka_topic_t* topic, int& count,
                                     std::string& reason) const;
  [[nodiscard]] bool ReadTopic(rd_kafka_t* handle, const std::string& name, const tagFound& found,
                               std::string& reason) const;
  [[nodiscard]] bool ReadToTheEnds(rd_kafka_queue_t* queue, int open, const std::string& name,
                                   const tagFound& found, std::string& reason) const;

  const ZRKafkaSettings& settings;
  std::atomic<bool> cancelled{false};
};

bool CReader::Read(const std::vector<std::string>& topics, const tagFound& found,
                   std::string& reason) {
  const tagHandle handle = MakeHandle(reason);
  if (handle == nullptr) return false;
  for (const std::string& name : topics)
    if (!ReadTopic(handle.get(), name, found, reason)) return false;
  return true;
}

// It logs nothing: whoever sends to the same cluster has the same troubles, and tells them.
tagHandle CReader::MakeHandle(std::string& reason) const {
  ZRRdKafkaConf conf = MakeKafkaConf(settings, {{"enable.partition.eof", "true"}}, reason);
  if (conf == nullptr) return nullptr;
  ::rd_kafka_conf_set_log_cb(conf.get(), nullptr);
  std::array<char, kLongestReason> why{};
  tagHandle handle(::rd_kafka_new(RD_KAFKA_CONSUMER, conf.get(), why.data(), why.size()));
  if (handle == nullptr) {
    reason = why.data();
  } else {
    (void)conf.release();  // the handle's from now on
  }
  return handle;
}

bool CReader::CountPartitions(rd_kafka_t* handle, rd_kafka_topic_t* topic, int& count,
                              std::string& reason) const {
  while (!cancelled) {
    const rd_kafka_metadata_t* answer = nullptr;
    rd_kafka_resp_err_t code = ::rd_kafka_metadata(handle, 0, topic, &answer, kTurn);
    if (code == RD_KAFKA_RESP_ERR_NO_ERROR) {
      count = answer->topics[0].partition_cnt;
      code = answer->topics[0].err;
      ::rd_kafka_metadata_destroy(answer);
    }
    if (IsNotThere(code)) count = 0;
    if (code == RD_KAFKA_RESP_ERR_NO_ERROR || IsNotThere(code)) return true;
    if (!IsForNow(code)) {
      reason = ::rd_kafka_err2str(code);
      return false;
    }
    (void)::rd_kafka_poll(handle, kTurn);  // there is nothing to come: a pause
  }
  return false;
}

bool CReader::ReadTopic(rd_kafka_t* handle, const std::string& name, const tagFound& found,
                        std::string& reason) const {
  const tagTopic topic(::rd_kafka_topic_new(handle, name.c_str(), nullptr));
  if (topic == nullptr) {
    reason = ::rd_kafka_err2str(::rd_kafka_last_error());
    return false;
  }
  int count = 0;
  if (!CountPartitions(handle, topic.get(), count, reason)) return false;
  const tagQueue queue(::rd_kafka_queue_new(handle));
  int started = 0;
  while (started < count && ::rd_kafka_consume_start_queue(
                                topic.get(), started, RD_KAFKA_OFFSET_BEGINNING, queue.get()) == 0)
    ++started;
  if (started < count) reason = ::rd_kafka_err2str(::rd_kafka_last_error());
  const bool isRead = started == count && ReadToTheEnds(queue.get(), count, name, found, reason);
  for (int partition = 0; partition < started; ++partition)
    (void)::rd_kafka_consume_stop(topic.get(), partition);
  return isRead;
}

bool CReader::ReadToTheEnds(rd_kafka_queue_t* queue, int open, const std::string& name,
                            const tagFound& found, std::string& reason) const {
  while (open > 0 && !cancelled) {
    const tagMessage message(::rd_kafka_consume_queue(queue, kTurn));
    if (message == nullptr) continue;
    if (message->err == RD_KAFKA_RESP_ERR__PARTITION_EOF) {
      --open;
    } else if (message->err == RD_KAFKA_RESP_ERR_NO_ERROR) {
      found(name, {static_cast<const char*>(message->key), message->key_len},
            message->payload == nullptr);
    } else if (!IsForNow(message->err)) {
      reason = ::rd_kafka_err2str(message->err);
      return false;
    }
  }
  return open == 0;
}

}  // namespace

std::unique_ptr<ZRKafkaReader> ZRRdKafkaWires::NewReader(const ZRKafkaSettings& settings) {
  return std::make_unique<CReader>(settings);
}
