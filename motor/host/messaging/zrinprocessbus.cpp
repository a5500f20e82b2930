#include "host/messaging/zrinprocessbus.h"

#include <utility>

#include "host/platform/zrmutex.h"

using namespace Domain::EventsNS::EngineEventsNS;  // NOLINT(google-build-using-namespace)

// What the publishers share. It outlives the bus for as long as one of them is held.
class ZRInProcessBus::CBus {
 public:
  explicit CBus(tagSubscriber toCall) : subscriber(std::move(toCall)) {}

  bool Deliver(const std::wstring& json) {
    const ZRMutexLock lock(mutex);
    if (!subscriber) return false;
    subscriber(json);
    return true;
  }

  void Close() {
    const ZRMutexLock lock(mutex);
    subscriber = nullptr;
  }

  // A factory of one kind of message, whose publishers deliver to `bus`.
  template <typename Factory, typename Publisher>
  static std::shared_ptr<Factory> MakeFactory(const std::shared_ptr<CBus>& bus) {
    return std::make_shared<CFactory<Factory, Publisher>>(bus);
  }

 private:
  template <typename Publisher>
  class CPublisher final : public Publisher {
   public:
    explicit CPublisher(std::shared_ptr<CBus> toServe) : bus(std::move(toServe)) {}
    bool Publish(const std::wstring& json) override { return bus->Deliver(json); }

   private:
    const std::shared_ptr<CBus> bus;
  };

  template <typename Factory, typename Publisher>
  class CFactory final : public Factory {
   public:
    explicit CFactory(const std::shared_ptr<CBus>& bus)
        : publisher(std::make_shared<CPublisher<Publisher>>(bus)) {}
    std::shared_ptr<Publisher> Create() override { return publisher; }

   private:
    const std::shared_ptr<Publisher> publisher;
  };

  ZRMutex mutex;
  tagSubscriber subscriber ZR_GUARDED_BY(mutex);
};

ZRInProcessBus::ZRInProcessBus(tagSubscriber subscriber)
    : bus(std::make_shared<CBus>(std::move(subscriber))),
      creation(CBus::MakeFactory<EventCreationPublisherFactory, EventCreationPublisher>(bus)),
      triggered(CBus::MakeFactory<EventTriggeredPublisherFactory, EventTriggeredPublisher>(bus)) {
  EventCreationPublisherManager::SetEventCreationPublisherFactory(creation);
  EventTriggeredPublisherManager::SetEventTriggeredPublisherManagerFactory(triggered);
}

ZRInProcessBus::~ZRInProcessBus() {
  if (EventCreationPublisherManager::GetEventCreationPublisherFactory() == creation) {
    EventCreationPublisherManager::SetEventCreationPublisherFactory(nullptr);
  }
  if (EventTriggeredPublisherManager::GetEventTriggeredPublisherManagerFactory() == triggered) {
    EventTriggeredPublisherManager::SetEventTriggeredPublisherManagerFactory(nullptr);
  }
  bus->Close();
}
