#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/eventactions/eventactionsmssender.h"
#include "host/tools/zrbasicstring.h"

// Sends SMS by a GSM modem that the program gammu drives, a run for each. The name is that of the
// class which its callers create on every system.
//
// Threads   one at a time.
// Promise   a run takes 15 s at most and a call one run, or three when the modem wants its PIN;
//           afterwards neither its files nor its processes exist. A PIN that fails isn't entered
//           again by this object. The PIN stands in a file that this user alone can read, and in
//           no line of the log and of no list of processes. Nothing in number or text is ever
//           read as an option or a command.
class EventActionSmsSendForWindows final : public EventActionSmsSender {
 public:
  static constexpr std::uint32_t kNoPin = 0xFFFFFFFFu;

  // The device of the port and the program are those of the settings now. `atBaudRate` in bits/s.
  EventActionSmsSendForWindows(std::uint32_t atPort, std::uint32_t atBaudRate,
                               std::uint32_t withPin);

  // A number that is none, and a share folder that isn't this user's alone, are failures too. Each
  // failure is a line of the log (kLogDelivery). A character beyond the GSM alphabet makes the
  // message UCS2; one that is longer than the modem's own limit is sent in linked parts.
  [[nodiscard]] bool sendSingleSms(const char* phone, const char* text) override;

 private:
  [[nodiscard]] bool EnterPin();
  // Its exit code; kTimeOut after 15 s, and kNotStarted.
  [[nodiscard]] int Run(const std::vector<std::string>& command) const;

  const std::uint32_t port;
  const std::uint32_t baudRate;
  std::uint32_t pin;  // kNoPin once it has failed
  const ZRString device;
  const ZRString program;
};
