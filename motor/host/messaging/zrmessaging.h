// The event bus: who publishes, and the text of the messages.
#pragma once

#include <memory>
#include <string>

namespace Domain::EventsNS::EngineEventsNS {

// Sends one JSON text. Called from several threads, under an event's lock: quick, or queueing.
class EventCreationPublisher {
 public:
  virtual ~EventCreationPublisher() = default;
  virtual bool Publish(const std::wstring& json) = 0;
};
class EventTriggeredPublisher {
 public:
  virtual ~EventTriggeredPublisher() = default;
  virtual bool Publish(const std::wstring& json) = 0;
};

class EventCreationPublisherFactory {
 public:
  virtual ~EventCreationPublisherFactory() = default;
  virtual std::shared_ptr<EventCreationPublisher> Create() = 0;  // may be empty
};
class EventTriggeredPublisherFactory {
 public:
  virtual ~EventTriggeredPublisherFactory() = default;
  virtual std::shared_ptr<EventTriggeredPublisher> Create() = 0;  // may be empty
};

}  // namespace Domain::EventsNS::EngineEventsNS

// Each holds the factory that the host has set; none at first. Safe from any thread.
class EventCreationPublisherManager {
 public:
  using tagFactory = std::shared_ptr<Domain::EventsNS::EngineEventsNS::EventCreationPublisherFactory>;
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

// The messages, as one line of JSON in UTF-16 units (RFC 8259; everything but ASCII and all
// controls escaped): {"type":"eventCreated","engine":…,"id":…,"name":…,"description":…} and
// {"type":"eventTriggered","engine":…,"time":…,"id":…,"transition":…,"annotation":…}.
[[nodiscard]] std::wstring GetPublishThatANewEventHasBeenCreatedJSON(
    const std::wstring& engine, const std::wstring& eventId, const std::wstring& name,
    const std::wstring& description);
[[nodiscard]] std::wstring GetPublishTriggeredEventJSON(const std::wstring& engine,
                                                        const std::wstring& time,
                                                        const std::wstring& eventId,
                                                        const std::wstring& transition,
                                                        const std::wstring& annotation);
