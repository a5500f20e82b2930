#include "host/modbus/zrmodbusplan.h"

#include <algorithm>
#include <numeric>
#include <tuple>

namespace {

// The registers that a block takes if it grows to the end of `next`.
int Grown(const ZRModbusBlock& block, const ZRModbusRegister& next) {
  return std::max<int>(block.count, next.address + next.count - block.address);
}

bool Takes(const ZRModbusBlock& block, const ZRModbusRegister& next, std::uint32_t period,
           const ZRModbusLimits& limits) {
  const int most =
      IsBitTable(block.table) ? ZRModbusLimits::kMostBits : std::max(limits.mostWords, 1);
  return block.table == next.table && block.period == period &&
         next.address <= block.address + block.count + limits.gap && Grown(block, next) <= most;
}

}  // namespace

std::vector<ZRModbusBlock> PlanReads(const std::vector<ZRModbusRegister>& registers,
                                     const ZRModbusLimits& limits, std::uint32_t defaultPeriod) {
  const auto periodOf = [&](std::size_t index) {
    return registers[index].period != 0 ? registers[index].period : defaultPeriod;
  };
  std::vector<std::size_t> order(registers.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    return std::tuple(registers[a].table, periodOf(a), registers[a].address) <
           std::tuple(registers[b].table, periodOf(b), registers[b].address);
  });
  std::vector<ZRModbusBlock> blocks;
  for (const std::size_t index : order) {
    const ZRModbusRegister& next = registers[index];
    if (blocks.empty() || !Takes(blocks.back(), next, periodOf(index), limits))
      blocks.push_back({next.table, next.address, 0, periodOf(index), {}});
    ZRModbusBlock& block = blocks.back();
    block.count = static_cast<std::uint16_t>(Grown(block, next));
    block.registers.push_back(index);
  }
  return blocks;
}
