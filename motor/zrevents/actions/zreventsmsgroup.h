#pragma once

#include <memory>
#include <vector>

#include "zrevents/actions/zreventsmsmessage.h"

// All parts of the text of one execution.
//
// Threads   whoever holds the queue's mutex.
struct ZREventSmsGroup {
  std::vector<std::unique_ptr<ZREventSmsMessage>> messages;
  std::vector<bool> sent;  // for each message: it has reached all of its numbers
  int sentCount = 0;
  int retries = 0;  // grows by 10 at the end of each pass
  int id = 0;       // the first group's is 1

  // The messages go; what is known of them stays. So a group of which nothing had been sent is
  // complete afterwards, and one of which something had been sent never will be.
  void Empty() { messages.clear(); }

  [[nodiscard]] bool IsComplete() const { return sentCount == static_cast<int>(messages.size()); }
};
