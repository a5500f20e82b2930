#pragma once

#include <cstddef>
#include <vector>

#include "host/tools/zrbasicstring.h"

inline constexpr std::size_t kSmsLength = 160;  // bytes of UTF-8

// One SMS to all numbers of one execution.
//
// Threads   whoever holds the queue's mutex.
struct ZREventSmsMessage {
  ZRString text;                 // UTF-8, at most kSmsLength bytes
  std::vector<ZRString> phones;  // UTF-8
  std::vector<bool> sent;        // for each number: it is done
  int sentCount = 0;

  [[nodiscard]] bool IsComplete() const {
    return static_cast<std::size_t>(sentCount) == phones.size();
  }
};

// Cuts a text into parts of kSmsLength bytes, the last one being shorter; with `forceBreak` only
// the first part is left. It counts bytes: a character may be divided between two parts. An empty
// text is one empty part.
[[nodiscard]] std::vector<ZRString> CutIntoSms(const ZRString& text, bool forceBreak);
