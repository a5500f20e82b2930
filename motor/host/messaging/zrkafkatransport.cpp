#include "host/messaging/zrkafkatransport.h"

#include <set>
#include <utility>

#include "host/base/zrlogger.h"
#include "host/messaging/zruuidtext.h"
#include "host/tools/zrtext.h"

namespace {

constexpr const char* kStatus = ".status";
constexpr const char* kDefinition = ".definition";
constexpr const char* kState = ".state";
constexpr const char* kTransition = ".transition";
constexpr char kBetween = '/';  // the ids of a key

}  // namespace

ZRKafkaTransport::ZRKafkaTransport(ZRKafkaTransportSettings toUse)
    : settings(std::move(toUse)),
      engine(UuidText(settings.engine)),
      client(BrokerSettings()),
      reader(ZRKafkaWires::Get().NewReader(settings.broker)) {}

ZRKafkaTransport::~ZRKafkaTransport() {
  Stop();
}

ZRKafkaSettings ZRKafkaTransport::BrokerSettings() const {
  ZRKafkaSettings broker = settings.broker;
  broker.online = ZRKafkaMessage{Topic(kStatus), engine, kOnline};
  broker.offline = ZRKafkaMessage{Topic(kStatus), engine, kOffline};
  return broker;
}

bool ZRKafkaTransport::Start() {
  return client.Start() && look.Start([this] { LookForLeftovers(); });
}

void ZRKafkaTransport::Stop() {
  reader->Cancel();
  look.Join();
  client.Stop();
}

std::string ZRKafkaTransport::Topic(const char* name) const {
  return settings.prefix + name;
}

std::string ZRKafkaTransport::KeyOf(const uuid& event) const {
  return engine + kBetween + UuidText(event);
}

bool ZRKafkaTransport::IsKeyOfOurs(std::string_view key) const {
  if (key.size() != engine.size() + 1 + kUuidTextLength || !key.starts_with(engine)) return false;
  return key[engine.size()] == kBetween &&
         wtouuid(Utf8ToUtf16(key.substr(engine.size() + 1))) != uuid::null;
}

bool ZRKafkaTransport::KeepDefinition(const uuid& event, std::string json,
                                      const std::string& /*name*/) {
  return client.Keep({Topic(kDefinition), KeyOf(event), std::move(json)});
}

bool ZRKafkaTransport::KeepState(const uuid& event, std::string json) {
  return client.Keep({Topic(kState), KeyOf(event), std::move(json)});
}

bool ZRKafkaTransport::PassTransition(const uuid& event, std::string json) {
  return client.Publish({Topic(kTransition), KeyOf(event), std::move(json)});
}

// Of events that this engine doesn't have any more: they were deleted while it was away, or before
// a reload.
void ZRKafkaTransport::LookForLeftovers() {
  std::set<std::pair<std::string, std::string>> left;
  std::string reason;
  const bool isRead = reader->Read(
      {Topic(kState), Topic(kDefinition)},
      [&](const std::string& topic, std::string_view key, bool isTombstone) {
        if (!IsKeyOfOurs(key)) return;
        const std::pair<std::string, std::string> place(topic, key);
        if (isTombstone || client.Keeps(topic, place.second)) {
          left.erase(place);
        } else {
          left.insert(place);
        }
      },
      reason);
  if (!isRead && !reason.empty()) {
    logger(kLogDelivery, L"event bus: what is kept of events that are gone can't be read: %s",
           reason.c_str());
  }
  if (!isRead) return;
  for (const auto& [topic, key] : left)
    client.TakeAwayUnlessKept(topic, key);
}
