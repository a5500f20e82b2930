// What a driver tells of one of its variables.
#pragma once

#include <cstdint>
#include <vector>

#include "host/tools/zrbasicstring.h"

struct tagSVariableValueInfo {
  static constexpr std::uint8_t kForceable = 0x8;  // of `flags`: it accepts a forced value
  static constexpr std::uint32_t kText = 0x2000;   // of `type`: its values are texts

  std::uint8_t flags = 0;
  std::uint32_t type = 0;
  std::vector<ZRString> labels;  // what its states are called, from 0 on; as text of XML
  ZRString measure{};            // unit of measure; UTF-8, empty if nobody knows it
};
