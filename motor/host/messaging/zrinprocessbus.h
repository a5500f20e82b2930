// A bus inside the process: the subscriber sees each message as it is published.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "host/messaging/zrmessaging.h"

// Sets both factories to a bus that calls the subscriber for each message.
//
// Threads   the subscriber is called on the publishing thread, one message at a time; it must be
//           quick, and must neither publish nor destroy the bus.
// Order     a lock is held while the subscriber runs; it comes behind those of the publishers.
// Promise   once the bus is destroyed the subscriber isn't called any more: a message under way
//           is delivered first, publishers that are still held answer false from then on.
class ZRInProcessBus {
 public:
  using tagSubscriber = std::function<void(const std::wstring& json)>;
  explicit ZRInProcessBus(tagSubscriber subscriber);
  ~ZRInProcessBus();  // takes its factories away, unless others have replaced them
  ZRInProcessBus(const ZRInProcessBus&) = delete;
  ZRInProcessBus& operator=(const ZRInProcessBus&) = delete;

 private:
  class CBus;
  std::shared_ptr<CBus> bus;
  EventCreationPublisherManager::tagFactory creation;
  EventTriggeredPublisherManager::tagFactory triggered;
};
