// What can happen to the system itself. A class says what; the text that goes with it is given
// when it is saved.
#pragma once

#include <string_view>

class SystemEvent {
 public:
  virtual ~SystemEvent() = default;
  SystemEvent(const SystemEvent&) = delete;
  SystemEvent& operator=(const SystemEvent&) = delete;

  // As it is saved and shown.
  [[nodiscard]] virtual std::string_view ClassName() const = 0;

 protected:
  SystemEvent() = default;
};

// A mail of an event was given up, or dropped.
class SystemEventEMailSendMessageError final : public SystemEvent {
 public:
  [[nodiscard]] std::string_view ClassName() const override {
    return "SystemEventEMailSendMessageError";
  }
};

// An SMS of an event was given up, or dropped.
class SystemEventSmsSendMessageError final : public SystemEvent {
 public:
  [[nodiscard]] std::string_view ClassName() const override {
    return "SystemEventSmsSendMessageError";
  }
};

// There are SMS to be sent, and no port of a modem in the settings.
class SystemEventModemPortEmpty final : public SystemEvent {
 public:
  [[nodiscard]] std::string_view ClassName() const override { return "SystemEventModemPortEmpty"; }
};

// Somebody is about to acknowledge an event of this engine.
class SystemEventHttpEventAcknowledge final : public SystemEvent {
 public:
  [[nodiscard]] std::string_view ClassName() const override {
    return "SystemEventHttpEventAcknowledge";
  }
};

// A driver has taken the acknowledgement of a remote engine's event.
class SystemEventHttpRemoteEventAcknowledge final : public SystemEvent {
 public:
  [[nodiscard]] std::string_view ClassName() const override {
    return "SystemEventHttpRemoteEventAcknowledge";
  }
};
