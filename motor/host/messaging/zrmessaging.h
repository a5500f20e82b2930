// The event bus: who publishes, and the text of the messages.
#pragma once

#include <memory>
#include <string>

namespace Domain::EventsNS::EngineEventsNS {

// Sends one JSON text; false if it couldn't be sent. Called from several threads, under an event's
// lock: quick, or queueing. Neither a publisher nor a factory may throw.
class EventCreationPublisher {
 public:
  virtual bool Publish(const std::wstring& json) = 0;
  virtual ~EventCreationPublisher() = default;
};
class EventTriggeredPublisher {
 public:
  virtual bool Publish(const std::wstring& json) = 0;
  virtual ~EventTriggeredPublisher() = default;
};

class EventCreationPublisherFactory {
 public:
  virtual std::shared_ptr<EventCreationPublisher> Create() = 0;  // may be empty
  virtual ~EventCreationPublisherFactory() = default;
};
class EventTriggeredPublisherFactory {
 public:
  virtual std::shared_ptr<EventTriggeredPublisher> Create() = 0;  // may be empty
  virtual ~EventTriggeredPublisherFactory() = default;
};

}  // namespace Domain::EventsNS::EngineEventsNS

// Each holds what the host has set: no factory and an empty text at first. Safe from any thread.
class EventCreationPublisherManager {
 public:
  using tagFactory =
      std::shared_ptr<Domain::EventsNS::EngineEventsNS::EventCreationPublisherFactory>;
  [[nodiscard]] static tagFactory GetEventCreationPublisherFactory();
  static void SetEventCreationPublisherFactory(tagFactory factory);
};
class EventTriggeredPublisherManager {
 public:
  using tagFactory =
      std::shared_ptr<Domain::EventsNS::EngineEventsNS::EventTriggeredPublisherFactory>;
  [[nodiscard]] static tagFactory GetEventTriggeredPublisherManagerFactory();
  static void SetEventTriggeredPublisherManagerFactory(tagFactory factory);
};
class EngineCreationPublisherManager {
 public:
  [[nodiscard]] static std::wstring GetEngineUuid();
  static void SetEngineUuid(const std::wstring& uuid);
};

// The messages, as one line of JSON (RFC 8259) in plain ASCII: controls and whatever isn't ASCII
// are written as \uXXXX, one for each UTF-16 unit; a single surrogate becomes \ufffd:
// {"type":"eventCreated","engine":…,"id":…,"name":…,"description":…} and
// {"type":"eventTriggered","engine":…,"time":…,"id":…,"transition":…,"annotation":…,"text":…},
// where `annotation` comes and leaves with one unit for each byte of its UTF-8, and `text` is what
// these bytes say: of an activation ("ON") the text whose escaped form they are.
inline constexpr const char* kEventCreated = "eventCreated";
inline constexpr const char* kEventTriggered = "eventTriggered";
[[nodiscard]] std::wstring GetPublishThatANewEventHasBeenCreatedJSON(
    const std::wstring& engine, const std::wstring& eventId, const std::wstring& name,
    const std::wstring& description);
[[nodiscard]] std::wstring GetPublishTriggeredEventJSON(const std::wstring& engine,
                                                        const std::wstring& time,
                                                        const std::wstring& eventId,
                                                        const std::wstring& transition,
                                                        const std::wstring& annotation);
