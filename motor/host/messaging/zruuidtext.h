// The id of an engine or an event, as the bus writes it.
#pragma once

#include <array>
#include <string>

#include "host/tools/zruuid.h"

// 36 characters, lower case.
[[nodiscard]] inline std::string UuidText(const uuid& id) {
  std::array<char, kUuidTextLength + 1> text{};
  guidtoc(id, text.data());
  return {text.data(), kUuidTextLength};
}
