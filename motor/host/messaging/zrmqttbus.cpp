#include "host/messaging/zrmqttbus.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "host/base/zrlogger.h"
#include "host/messaging/zrmessaging.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zrtext.h"

namespace {

using tagJson = nlohmann::ordered_json;

// Of the messages of zrmessaging.h, which are plain ASCII.
std::string Narrow(const std::wstring& json) {
  return std::string(Utf16ToUtf8(json).View());
}

std::string Text(const tagJson& message, const char* key) {
  const auto found = message.find(key);
  return found != message.end() && found->is_string() ? found->get<std::string>() : std::string();
}

// The id that a listener's document has left behind begins with the way to the event.
uuid EventOf(const tagJson& message) {
  const std::string id = Text(message, "id");
  return wtouuid(Utf8ToUtf16(std::string_view(id).substr(id.rfind('.') + 1)));
}

// Plain ASCII, whatever the texts hold.
std::string Written(const tagJson& message) {
  return message.dump(-1, ' ', true, tagJson::error_handler_t::replace);
}

}  // namespace

ZRMqttBus::ZRMqttBus(ZRMqttBusSettings toUse)
    : settings(std::move(toUse)),
      topics(settings.prefix, settings.engine, settings.discoveryPrefix),
      client(BrokerSettings(), {[this] { LookForLeftovers(); }, nullptr,
                                [this](const ZRMqttMessage& message) { LookAt(message); }}) {}

ZRMqttBus::~ZRMqttBus() {
  source.reset();
  {
    const ZRMutexLock lock(mutex);
    stopping = true;
    changed.NotifyAll();
  }
  thread.Join();
  client.Stop();
}

ZRMqttSettings ZRMqttBus::BrokerSettings() const {
  ZRMqttSettings broker = settings.broker;
  broker.birth = ZRMqttMessage{topics.Status(), kOnline, 1, true};
  broker.will = ZRMqttMessage{topics.Status(), kOffline, 1, true};
  return broker;
}

bool ZRMqttBus::Begin() {
  if (!thread.Start([this] { Work(); })) return false;
  source = std::make_unique<ZRInProcessBus>([this](const std::wstring& json) { Take(json); });
  return true;
}

bool ZRMqttBus::Open() {
  {
    const ZRMutexLock lock(mutex);
    while (!isIdle || !told.empty())
      (void)changed.Wait(mutex, ZRPlatform::kInfinite);
  }
  return client.Start();
}

void ZRMqttBus::Take(const std::wstring& json) {
  const ZRMutexLock lock(mutex);
  told.push_back(json);
  if (told.size() > settings.mostTold) {
    told.pop_front();
    ++dropped;
  }
  if (isIdle) changed.NotifyAll();
}

void ZRMqttBus::ShowState(const uuid& event, bool active) {
  const ZRWString now = ZRDateTime::UTC().ToCompleteWString();
  const ZRMutexLock lock(mutex);
  states[event] = {active, std::wstring(now.View())};
  if (isIdle) changed.NotifyAll();
}

// Until it is to stop and nothing is left.
void ZRMqttBus::Work() {
  for (;;) {
    std::deque<std::wstring> messages;
    std::map<uuid, tagState> newStates;
    std::uint64_t lost = 0;
    {
      const ZRMutexLock lock(mutex);
      while (told.empty() && states.empty()) {
        if (stopping) return;
        isIdle = true;
        changed.NotifyAll();
        (void)changed.Wait(mutex, ZRPlatform::kInfinite);
      }
      isIdle = false;
      messages.swap(told);
      newStates.swap(states);
      lost = dropped;
    }
    SayWhatIsDropped(lost);
    for (const std::wstring& json : messages)
      Tell(json);
    for (const auto& [event, state] : newStates)
      KeepState(event, state);
  }
}

void ZRMqttBus::SayWhatIsDropped(std::uint64_t number) {
  if (number == droppedTold) return;
  logger(kLogDelivery, L"event bus: %llu messages came too fast and were dropped",
         static_cast<unsigned long long>(number - droppedTold));
  droppedTold = number;
}

void ZRMqttBus::Tell(const std::wstring& json) {
  std::string text = Narrow(json);
  const tagJson message = tagJson::parse(text, nullptr, false);
  const uuid event = message.is_object() ? EventOf(message) : uuid::null;
  bool isTold = event != uuid::null;
  if (isTold && Text(message, "type") == kEventCreated) {
    isTold = client.Keep(topics.Of(event, ZRBusTopic::kDefinition), std::move(text));
    KeepState(event, {});
    if (settings.discovery) KeepDiscovery(event, Text(message, "name"));
  } else if (isTold) {
    isTold = client.Publish(
        {topics.Of(event, ZRBusTopic::kTransition), std::move(text), settings.qos, false});
  }
  if (isTold || std::exchange(saidUnreadable, true)) return;
  logger(kLogDelivery,
         L"event bus: a message without the id of an event, or of more than %zu "
         L"bytes, isn't sent",
         settings.broker.mostBytes);
}

void ZRMqttBus::KeepState(const uuid& event, const tagState& state) {
  tagJson message = {{"type", "eventState"},
                     {"engine", topics.Engine()},
                     {"id", UuidText(event)},
                     {"state", state.active ? "ON" : "OFF"}};
  if (!state.since.empty()) message["since"] = Narrow(state.since);
  (void)client.Keep(topics.Of(event, ZRBusTopic::kState), Written(message));
}

// The keys are those of Home Assistant's documentation, "MQTT Discovery" and "MQTT binary sensor":
// "online" and "offline" are what it expects of an availability topic, "ON" and "OFF" of a state.
void ZRMqttBus::KeepDiscovery(const uuid& event, const std::string& name) {
  const tagJson message = {
      {"name", name},
      {"unique_id", topics.Engine() + "_" + UuidText(event)},
      {"state_topic", topics.Of(event, ZRBusTopic::kState)},
      {"value_template", "{{ value_json.state }}"},
      {"availability_topic", topics.Status()},
      {"device",
       {{"identifiers", tagJson::array({topics.Engine()})}, {"name", settings.siteName}}}};
  (void)client.Keep(topics.Of(event, ZRBusTopic::kDiscovery), Written(message));
}

// The broker tells what it has kept; what comes last is our own birth, as it was told behind that.
void ZRMqttBus::LookForLeftovers() {
  for (const std::string& filter : topics.KeptFilters())
    client.Subscribe(filter, 1);
  client.Subscribe(topics.Status(), 1);
}

void ZRMqttBus::LookAt(const ZRMqttMessage& message) {
  if (message.topic == topics.Status()) {
    if (message.retain || message.payload != kOnline) return;
    for (const std::string& filter : topics.KeptFilters())
      client.Unsubscribe(filter);
    client.Unsubscribe(topics.Status());
    return;
  }
  if (!message.retain || message.payload.empty() || !topics.IsKept(message.topic)) return;
  if (!client.Keeps(message.topic)) (void)client.Keep(message.topic, "");
}
