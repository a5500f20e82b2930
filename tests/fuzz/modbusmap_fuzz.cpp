// Any text as a register map: it is refused with a reason or read, and the requests that are made
// of it read each register and keep to the limits of the protocol.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "host/drivers/zrmodbusmap.h"
#include "host/modbus/zrmodbusplan.h"

namespace {

void Require(bool promise) {
  if (!promise) std::abort();
}

void CheckPlan(const std::vector<ZRModbusRegister>& registers) {
  std::size_t planned = 0;
  for (const ZRModbusBlock& block : PlanReads(registers, {}, 1000)) {
    Require(block.count >= 1 && block.address + block.count <= 65536);
    Require(block.count <= (IsBitTable(block.table) ? 2000 : 125));
    for (const std::size_t index : block.registers) {
      const ZRModbusRegister& one = registers[index];
      Require(one.address >= block.address &&
              one.address + one.count <= block.address + block.count);
      ++planned;
    }
  }
  Require(planned == registers.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view toml(reinterpret_cast<const char*>(data), size);
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRModbusRegister> registers;
  if (!ReadModbusProfile(toml, "map.toml", std::nullopt, problems, registers)) {
    Require(!problems.empty());
    return 0;
  }
  Require(!registers.empty());
  for (const ZRModbusRegister& one : registers)
    Require(!one.scaleFrom || *one.scaleFrom < registers.size());
  CheckPlan(registers);
  return 0;
}
