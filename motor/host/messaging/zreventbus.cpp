#include "host/messaging/zreventbus.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "host/base/zrlogger.h"
#include "host/messaging/zrmessaging.h"
#include "host/messaging/zruuidtext.h"
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

ZREventBus::ZREventBus(const ZREventBusSettings& toUse,
                       std::unique_ptr<ZRBusTransport> toUseForTravel)
    : settings(toUse), engine(UuidText(settings.engine)), transport(std::move(toUseForTravel)) {}

ZREventBus::~ZREventBus() {
  source.reset();
  {
    const ZRMutexLock lock(mutex);
    stopping = true;
    changed.NotifyAll();
  }
  thread.Join();
  transport->Stop();
}

bool ZREventBus::Begin() {
  if (!thread.Start([this] { Work(); })) return false;
  source = std::make_unique<ZRInProcessBus>([this](const std::wstring& json) { Take(json); });
  return true;
}

bool ZREventBus::Open() {
  {
    const ZRMutexLock lock(mutex);
    while (!isIdle || !told.empty())
      (void)changed.Wait(mutex, ZRPlatform::kInfinite);
  }
  return transport->Start();
}

void ZREventBus::Take(const std::wstring& json) {
  const ZRMutexLock lock(mutex);
  told.push_back(json);
  if (told.size() > settings.mostTold) {
    told.pop_front();
    ++dropped;
  }
  if (isIdle) changed.NotifyAll();
}

void ZREventBus::ShowState(const uuid& event, bool active) {
  const ZRWString now = ZRDateTime::UTC().ToCompleteWString();
  const ZRMutexLock lock(mutex);
  states[event] = {active, std::wstring(now.View())};
  if (isIdle) changed.NotifyAll();
}

// Until it is to stop and nothing is left.
void ZREventBus::Work() {
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

void ZREventBus::SayWhatIsDropped(std::uint64_t number) {
  if (number == droppedTold) return;
  logger(kLogDelivery, L"event bus: %llu messages came too fast and were dropped",
         static_cast<unsigned long long>(number - droppedTold));
  droppedTold = number;
}

void ZREventBus::Tell(const std::wstring& json) {
  std::string text = Narrow(json);
  const tagJson message = tagJson::parse(text, nullptr, false);
  const uuid event = message.is_object() ? EventOf(message) : uuid::null;
  bool isTold = event != uuid::null;
  if (isTold && Text(message, "type") == kEventCreated) {
    isTold = transport->KeepDefinition(event, std::move(text), Text(message, "name"));
    KeepState(event, {});
  } else if (isTold) {
    isTold = transport->PassTransition(event, std::move(text));
  }
  if (isTold || std::exchange(saidUnreadable, true)) return;
  logger(kLogDelivery,
         L"event bus: a message without the id of an event, or of more than %zu "
         L"bytes, isn't sent",
         transport->MostBytes());
}

void ZREventBus::KeepState(const uuid& event, const tagState& state) {
  tagJson message = {{"type", "eventState"},
                     {"engine", engine},
                     {"id", UuidText(event)},
                     {"state", state.active ? "ON" : "OFF"}};
  if (!state.since.empty()) message["since"] = Narrow(state.since);
  (void)transport->KeepState(event, Written(message));
}
