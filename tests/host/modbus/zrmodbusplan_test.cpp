#include "host/modbus/zrmodbusplan.h"

#include <gtest/gtest.h>

#include <string>

namespace {

ZRModbusRegister At(int address, int count = 1, ZRModbusTable table = ZRModbusTable::kHolding,
                    std::uint32_t period = 0) {
  ZRModbusRegister about;
  about.table = table;
  about.address = static_cast<std::uint16_t>(address);
  about.count = static_cast<std::uint16_t>(count);
  about.period = period;
  return about;
}

// "function:address+count" of each block.
std::string Plan(const std::vector<ZRModbusRegister>& registers, ZRModbusLimits limits = {}) {
  std::string text;
  for (const ZRModbusBlock& block : PlanReads(registers, limits, 1000)) {
    text += (text.empty() ? "" : " ") + std::to_string(static_cast<int>(block.table)) + ":" +
            std::to_string(block.address) + "+" + std::to_string(block.count);
    if (block.period != 1000) text += "/" + std::to_string(block.period);
  }
  return text;
}

TEST(ModbusPlan, ReadsNeighboursTogetherInAnyOrder) {
  EXPECT_EQ("3:10+5", Plan({At(13, 2), At(10), At(11, 2)}));
  EXPECT_EQ("", Plan({}));
}

TEST(ModbusPlan, ReadsOverSmallGapsOnly) {
  EXPECT_EQ("3:10+6", Plan({At(10), At(15)}));
  EXPECT_EQ("3:10+1 3:16+1", Plan({At(10), At(16)}));
  EXPECT_EQ("3:10+1 3:12+1", Plan({At(10), At(12)}, {0, 125}));
  EXPECT_EQ("3:10+2", Plan({At(10), At(11)}, {0, 125}));
}

TEST(ModbusPlan, KeepsTablesAndPeriodsApart) {
  EXPECT_EQ("1:1+1 3:1+1 4:1+1",
            Plan({At(1), At(1, 1, ZRModbusTable::kInput), At(1, 1, ZRModbusTable::kCoils)}));
  EXPECT_EQ("3:1+1 3:2+1/5000", Plan({At(1), At(2, 1, ZRModbusTable::kHolding, 5000)}));
}

TEST(ModbusPlan, TakesNoMoreThanTheProtocolAllows) {
  std::vector<ZRModbusRegister> registers;
  for (int at = 0; at < 126; ++at)
    registers.push_back(At(at));
  EXPECT_EQ("3:0+125 3:125+1", Plan(registers));
  EXPECT_EQ("3:0+124 3:124+2", Plan({At(0, 124), At(124, 2)})) << "a value isn't divided";
  EXPECT_EQ("3:0+10 3:10+2", Plan({At(0, 10), At(10, 2)}, {4, 10}));
}

TEST(ModbusPlan, TakesMoreBits) {
  std::vector<ZRModbusRegister> bits;
  for (int at = 0; at < 2001; ++at)
    bits.push_back(At(at, 1, ZRModbusTable::kDiscrete));
  EXPECT_EQ("2:0+2000 2:2000+1", Plan(bits));
}

TEST(ModbusPlan, ReadsOverlapsOnce) {
  EXPECT_EQ("3:10+4", Plan({At(10, 4), At(11), At(10)}));
}

TEST(ModbusPlan, EachRegisterLiesInItsBlock) {
  const std::vector<ZRModbusRegister> registers{At(65535), At(0, 4), At(2, 2), At(300, 2)};
  std::size_t found = 0;
  for (const ZRModbusBlock& block : PlanReads(registers, {}, 1000)) {
    for (const std::size_t index : block.registers) {
      ++found;
      EXPECT_GE(registers[index].address, block.address);
      EXPECT_LE(registers[index].address + registers[index].count, block.address + block.count);
    }
  }
  EXPECT_EQ(registers.size(), found);
}

}  // namespace
