// The event bus: an event was defined, an event has changed.

#include <string>

#include "host/base/zrlogger.h"
#include "host/messaging/zrmessaging.h"
#include "zrevents/zreventdriver.h"

namespace {

std::wstring Standard(const ZRWString& text) {
  return std::wstring(text.View());
}

// Each byte becomes one unit: a bus message carries the bytes of the UTF-8 text.
std::wstring WidenBytes(const ZRString& text) {
  std::wstring wide;
  wide.reserve(text.Length());
  for (const char byte : text.View())
    wide += static_cast<wchar_t>(static_cast<unsigned char>(byte));
  return wide;
}

void LogUnpublished(const wchar_t* what, const ZRWString& name, const wchar_t* missing) {
  const ZRWString line = ZRWString(what) + name + missing;
  logger(kLogTrace, L"%ls", line.Text());
}

constexpr const wchar_t* kCreated = L"Created event '";
constexpr const wchar_t* kUpdated = L"Updated event '";

}  // namespace

void ZREventDriver::PublishThatANewEventHasBeenCreated() {
  const auto factory = EventCreationPublisherManager::GetEventCreationPublisherFactory();
  if (factory == nullptr) {
    return LogUnpublished(kCreated, name,
                          L"' with no EventCreationPublisherFactory set. Nothing published...");
  }
  const auto publisher = factory->Create();
  if (publisher == nullptr) {
    return LogUnpublished(kCreated, name,
                          L"' with no EventCreationPublisher set. Nothing published...");
  }
  (void)publisher->Publish(GetPublishThatANewEventHasBeenCreatedJSON(
      EngineCreationPublisherManager::GetEngineUuid(), Standard(IdStr()), Standard(name),
      Standard(description)));
}

void ZREventDriver::PublishTriggeredEvent(tagSEventRT* transition) {
  const auto factory = EventTriggeredPublisherManager::GetEventTriggeredPublisherManagerFactory();
  if (factory == nullptr) {
    return LogUnpublished(kUpdated, name,
                          L"' with no EventTriggeredPublisherFactory set. Nothing published...");
  }
  const auto publisher = factory->Create();
  if (publisher == nullptr) {
    return LogUnpublished(kUpdated, name,
                          L"' with no EventTriggeredPublisher set. Nothing published...");
  }
  (void)publisher->Publish(GetPublishTriggeredEventJSON(
      EngineCreationPublisherManager::GetEngineUuid(),
      Standard(transition->actived.ToCompleteWString()), Standard(IdStr()),
      TransitionText(transition->status), WidenBytes(transition->annotation)));
}
