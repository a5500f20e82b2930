#pragma once

// Something that SMS can be sent with.
//
// Threads   one at a time.
class EventActionSmsSender {
 public:
  // Sends one SMS to one number; true when it is on its way. `text` is UTF-8 of at most 160 bytes,
  // and may begin or end within a character. May take as long as the means of sending does.
  [[nodiscard]] virtual bool sendSingleSms(const char* phone, const char* text) = 0;

  virtual ~EventActionSmsSender() = default;
  EventActionSmsSender(const EventActionSmsSender&) = delete;
  EventActionSmsSender& operator=(const EventActionSmsSender&) = delete;

 protected:
  EventActionSmsSender() = default;
};
