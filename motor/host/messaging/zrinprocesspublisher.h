// A bus inside the process: subscribers see each message as it is published.
#pragma once

#include <functional>
#include <memory>
#include <string>

// Sets both factories to a bus that calls the subscriber for each message.
//
// Threads   the subscriber is called on the publishing thread, one message at a time; it must be
//           quick, and must not publish.
class ZRInProcessBus {
 public:
  using tagSubscriber = std::function<void(const std::wstring& json)>;
  explicit ZRInProcessBus(tagSubscriber subscriber);
  ~ZRInProcessBus();  // takes the factories away; messages under way still reach the subscriber
  ZRInProcessBus(const ZRInProcessBus&) = delete;
  ZRInProcessBus& operator=(const ZRInProcessBus&) = delete;

 private:
  class CBus;
  std::shared_ptr<CBus> bus;
};
