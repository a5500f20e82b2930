// Messages that go out, by librdkafka.
#include <librdkafka/rdkafka.h>

#include <array>
#include <atomic>
#include <utility>
#include <vector>

#include "host/kafka/zrrdkafkaconf.h"
#include "host/kafka/zrrdkafkawires.h"
#include "host/platform/zrmutex.h"

namespace {

constexpr int kWarning = 4;  // of syslog
constexpr std::size_t kLongestReason = 512;

// What the message itself is to blame for.
bool IsHopeless(rd_kafka_resp_err_t code) {
  return code == RD_KAFKA_RESP_ERR_MSG_SIZE_TOO_LARGE || code == RD_KAFKA_RESP_ERR_INVALID_MSG ||
         code == RD_KAFKA_RESP_ERR_INVALID_RECORD || code == RD_KAFKA_RESP_ERR__INVALID_ARG;
}

ZRKafkaTrouble TroubleOf(rd_kafka_resp_err_t code) {
  return {::rd_kafka_err2name(code), ::rd_kafka_err2str(code)};
}

class CWire final : public ZRKafkaWire {
 public:
  CWire(const ZRKafkaSettings& toUse, ZRListener& toTell) : settings(toUse), listener(toTell) {}
  ~CWire() override { Close(); }
  CWire(const CWire&) = delete;
  CWire& operator=(const CWire&) = delete;

  bool Open(ZRKafkaTrouble& trouble) override;
  bool Turn(std::uint32_t milliseconds, ZRKafkaTrouble& trouble) override;
  void Publish(const ZRKafkaMessage& message, std::uint64_t id) override;
  void Close() override;
  void Wake() override;

 private:
  void UseHandle(rd_kafka_t* made);
  void Handle(rd_kafka_event_t* event, ZRKafkaTrouble& trouble);
  void HandleReports(rd_kafka_event_t* event);
  void HandleError(rd_kafka_event_t* event, ZRKafkaTrouble& trouble);
  void HandleLog(rd_kafka_event_t* event);

  const ZRKafkaSettings& settings;
  ZRListener& listener;
  rd_kafka_t* handle = nullptr;
  bool isBroken = false;
  std::vector<std::pair<std::uint64_t, rd_kafka_resp_err_t>> notTaken;

  ZRMutex mutex;  // who wakes isn't who opens and closes
  rd_kafka_queue_t* queue ZR_GUARDED_BY(mutex) = nullptr;
};

// All that the library has to say comes through one queue, to our own thread. It sends what isn't
// confirmed for ever, with the number that keeps it from becoming two.
bool CWire::Open(ZRKafkaTrouble& trouble) {
  Close();
  isBroken = false;
  trouble.cause = "settings";
  ZRRdKafkaConf conf = MakeKafkaConf(settings,
                                     {{"enable.idempotence", "true"},
                                      {"acks", "all"},
                                      {"message.timeout.ms", "0"},
                                      {"partitioner", "murmur2_random"},
                                      {"compression.codec", settings.compression},
                                      {"log_level", std::to_string(kWarning)},
                                      {"log.queue", "true"}},
                                     trouble.text);
  if (conf == nullptr) return false;
  ::rd_kafka_conf_set_events(conf.get(),
                             RD_KAFKA_EVENT_DR | RD_KAFKA_EVENT_ERROR | RD_KAFKA_EVENT_LOG);
  std::array<char, kLongestReason> reason{};
  rd_kafka_t* const made =
      ::rd_kafka_new(RD_KAFKA_PRODUCER, conf.get(), reason.data(), reason.size());
  if (made == nullptr) {
    trouble.text = reason.data();
    return false;
  }
  (void)conf.release();  // the handle's from now on
  UseHandle(made);
  return true;
}

void CWire::UseHandle(rd_kafka_t* made) {
  handle = made;
  (void)::rd_kafka_set_log_queue(handle, nullptr);  // the main one
  const ZRMutexLock lock(mutex);
  queue = ::rd_kafka_queue_get_main(handle);
}

void CWire::Close() {
  notTaken.clear();
  if (handle == nullptr) return;
  {
    const ZRMutexLock lock(mutex);
    ::rd_kafka_queue_destroy(std::exchange(queue, nullptr));
  }
  (void)::rd_kafka_purge(
      handle, RD_KAFKA_PURGE_F_QUEUE | RD_KAFKA_PURGE_F_INFLIGHT | RD_KAFKA_PURGE_F_NON_BLOCKING);
  ::rd_kafka_destroy(std::exchange(handle, nullptr));
}

void CWire::Wake() {
  const ZRMutexLock lock(mutex);
  if (queue != nullptr) ::rd_kafka_queue_yield(queue);
}

void CWire::Publish(const ZRKafkaMessage& message, std::uint64_t id) {
  std::array<rd_kafka_vu_t, 5> parts{};
  parts[0].vtype = RD_KAFKA_VTYPE_TOPIC;
  parts[0].u.cstr = message.topic.c_str();
  parts[1].vtype = RD_KAFKA_VTYPE_KEY;
  parts[1].u.mem = {const_cast<char*>(message.key.data()), message.key.size()};
  parts[2].vtype = RD_KAFKA_VTYPE_VALUE;  // a tombstone has none
  if (!message.payload.empty())
    parts[2].u.mem = {const_cast<char*>(message.payload.data()), message.payload.size()};
  parts[3].vtype = RD_KAFKA_VTYPE_MSGFLAGS;
  parts[3].u.i = RD_KAFKA_MSG_F_COPY;
  parts[4].vtype = RD_KAFKA_VTYPE_OPAQUE;
  parts[4].u.ptr = reinterpret_cast<void*>(id);  // NOLINT(performance-no-int-to-ptr)
  rd_kafka_error_t* const error = ::rd_kafka_produceva(handle, parts.data(), parts.size());
  if (error == nullptr) return;
  notTaken.emplace_back(id, ::rd_kafka_error_code(error));
  ::rd_kafka_error_destroy(error);
}

bool CWire::Turn(std::uint32_t milliseconds, ZRKafkaTrouble& trouble) {
  for (const auto& [id, code] : std::exchange(notTaken, {}))
    listener.OnRefused(id, IsHopeless(code), TroubleOf(code));
  rd_kafka_queue_t* events = nullptr;
  {
    const ZRMutexLock lock(mutex);
    events = queue;  // closed by this thread only
  }
  int wait = static_cast<int>(milliseconds);
  while (rd_kafka_event_t* const event = ::rd_kafka_queue_poll(events, std::exchange(wait, 0))) {
    Handle(event, trouble);
    ::rd_kafka_event_destroy(event);
  }
  return !isBroken;
}

void CWire::Handle(rd_kafka_event_t* event, ZRKafkaTrouble& trouble) {
  switch (::rd_kafka_event_type(event)) {
    case RD_KAFKA_EVENT_DR:
      return HandleReports(event);
    case RD_KAFKA_EVENT_ERROR:
      return HandleError(event, trouble);
    case RD_KAFKA_EVENT_LOG:
      return HandleLog(event);
    default:
      return;
  }
}

void CWire::HandleReports(rd_kafka_event_t* event) {
  while (const rd_kafka_message_t* const message = ::rd_kafka_event_message_next(event)) {
    const auto id = reinterpret_cast<std::uint64_t>(message->_private);
    if (message->err == RD_KAFKA_RESP_ERR_NO_ERROR) {
      listener.OnConfirmed(id);
    } else {
      listener.OnRefused(id, IsHopeless(message->err), TroubleOf(message->err));
    }
  }
}

// Each broker has said why, before all are said to be down.
void CWire::HandleError(rd_kafka_event_t* event, ZRKafkaTrouble& trouble) {
  const rd_kafka_resp_err_t code = ::rd_kafka_event_error(event);
  if (code == RD_KAFKA_RESP_ERR__ALL_BROKERS_DOWN) return;
  const ZRKafkaTrouble said{::rd_kafka_err2name(code), ::rd_kafka_event_error_string(event)};
  if (::rd_kafka_event_error_is_fatal(event) == 0) return listener.OnTrouble(said);
  isBroken = true;
  trouble = said;
}

// Failures of brokers come as errors too.
void CWire::HandleLog(rd_kafka_event_t* event) {
  const char* facility = nullptr;
  const char* text = nullptr;
  int level = 0;
  if (::rd_kafka_event_log(event, &facility, &text, &level) != 0) return;
  const std::string said = facility;
  if (level <= kWarning && said != "FAIL" && said != "ERROR") listener.OnTrouble({said, text});
}

std::atomic<ZRKafkaWires*> replaced{nullptr};

}  // namespace

std::unique_ptr<ZRKafkaWire> ZRRdKafkaWires::NewWire(const ZRKafkaSettings& settings,
                                                     ZRKafkaWire::ZRListener& listener) {
  return std::make_unique<CWire>(settings, listener);
}

ZRKafkaWires& ZRKafkaWires::Get() {
  static ZRRdKafkaWires network;
  ZRKafkaWires* const other = replaced.load();
  return other != nullptr ? *other : network;
}

void ZRKafkaWires::Replace(ZRKafkaWires* wires) {
  replaced.store(wires);
}
