// Which registers of a device are read together.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/modbus/zrmodbusregister.h"

// One request: `count` registers, or bits, from `address` on.
struct ZRModbusBlock {
  ZRModbusTable table = ZRModbusTable::kHolding;
  std::uint16_t address = 0;
  std::uint16_t count = 0;
  std::uint32_t period = 0;            // ms
  std::vector<std::size_t> registers;  // by index, those that lie in it
};

struct ZRModbusLimits {
  static constexpr int kMostWords = 125;  // of the protocol, in one request
  static constexpr int kMostBits = 2000;

  int gap = 4;  // registers between two values that are read over
  int mostWords = kMostWords;
};

// The requests that read all of `registers`, those of one table and period in the order of their
// addresses. A value isn't divided between requests: none takes more than `mostWords`.
[[nodiscard]] std::vector<ZRModbusBlock> PlanReads(const std::vector<ZRModbusRegister>& registers,
                                                   const ZRModbusLimits& limits,
                                                   std::uint32_t defaultPeriod);
