#pragma once

#include "host/eventactions/eventactionsmssender.h"
#include "host/tools/zrbasicstring.h"

// For a site without a modem: each SMS becomes a file that this user alone can read, called
// "20261121T100005.123Z-" (UTC), a unique number and ".txt", with the lines
//
//   To: +34600123456
//   Date: 2026-11-21T10:00:05.123Z
//
//   the text
//
// A file under way ends in ".part" instead.
//
// Threads   one at a time.
// Promise   no file is ever overwritten; one that ends in ".txt" is complete.
class EventActionSmsSendToFolder final : public EventActionSmsSender {
 public:
  // The folder, with its separator at the end, is there and is this user's alone (0700): else
  // nothing can be sent, and each SMS is a line of the log (kLogDelivery).
  explicit EventActionSmsSendToFolder(const ZRWString& toFill) : folder(toFill) {}

  [[nodiscard]] bool sendSingleSms(const char* phone, const char* text) override;

 private:
  const ZRWString folder;
};
