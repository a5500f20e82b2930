// What is published to force a variable.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/base/zrvalue.h"
#include "host/drivers/zrmqttpayload.h"

struct ZRMqttCommand {
  static constexpr double kLargest = 1e18;

  std::string topic;
  std::string form;  // the payload with "VALUE" for the value; empty: the value alone
  int qos = 1;
  bool retain = false;
  double least = -kLargest;  // of a number
  double most = kLargest;
};

// Whether a form can be filled: it holds "VALUE", and if it begins with "{" or "[" it is JSON with
// any value.
[[nodiscard]] bool IsCommandForm(std::string_view form);

// The payload that makes a variable show `value`, by the rules of its reading backwards: the raw
// number, the first word for 0 or 1, or the text. In a form that is JSON, `"VALUE"` becomes a
// string, and `VALUE` a number, true or false if it can, and else a string too. Nothing for a value
// out of the limits or of the wrong kind, and for a text that is empty or above
// ZRLiveValue::kMaximumText.
[[nodiscard]] std::optional<std::string> CommandPayload(const ZRMqttReading& reading,
                                                        const ZRMqttCommand& command,
                                                        const ZRValue& value);
