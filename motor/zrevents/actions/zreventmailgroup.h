#pragma once

#include <vector>

#include "host/tools/zrbasicstring.h"

// One message to all recipients of one execution.
//
// Threads   whoever holds the queue's mutex.
struct ZREventMailGroup {
  std::vector<ZRString> addresses;
  ZRString subject;        // UTF-8
  ZRString body;           // UTF-8
  std::vector<bool> sent;  // for each address: it is done
  int sentCount = 0;
  int retries = 0;  // grows by 10 at the end of each pass
  int id = 0;       // the first group's is 1

  [[nodiscard]] bool IsComplete() const {
    return static_cast<std::size_t>(sentCount) == addresses.size();
  }
};
