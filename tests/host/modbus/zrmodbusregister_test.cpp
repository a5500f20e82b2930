#include "host/modbus/zrmodbusregister.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using Type = ZRModbusType;
using Order = ZRModbusOrder;
using Words = std::vector<std::uint16_t>;

ZRModbusRegister About(Type type, Order order = Order::kAbcd) {
  ZRModbusRegister about;
  about.type = type;
  about.order = order;
  about.count = WordsOf(type);
  about.writable = true;
  about.least = -1e18;
  about.most = 1e18;
  return about;
}

struct tagCase {
  Type type;
  Order order;
  Words words;
  double number;
};

// The same value in each order of bytes; the words were worked out by hand.
const std::vector<tagCase> kCases{
    {Type::kInt16, Order::kAbcd, {0xFFFE}, -2},
    {Type::kInt16, Order::kCdab, {0xFFFE}, -2},
    {Type::kInt16, Order::kBadc, {0xFEFF}, -2},
    {Type::kUint16, Order::kAbcd, {0xFFFE}, 65534},
    {Type::kUint16, Order::kDcba, {0x3412}, 0x1234},
    {Type::kUint32, Order::kAbcd, {0x1234, 0x5678}, 0x12345678},
    {Type::kUint32, Order::kCdab, {0x5678, 0x1234}, 0x12345678},
    {Type::kUint32, Order::kBadc, {0x3412, 0x7856}, 0x12345678},
    {Type::kUint32, Order::kDcba, {0x7856, 0x3412}, 0x12345678},
    {Type::kInt32, Order::kAbcd, {0x8000, 0x0000}, -2147483648.0},
    {Type::kInt32, Order::kCdab, {0xFFFF, 0xFFFF}, -1},
    {Type::kUint64, Order::kAbcd, {0x0001, 0x0002, 0x0003, 0x0004}, 281483566841860.0},
    {Type::kUint64, Order::kCdab, {0x0004, 0x0003, 0x0002, 0x0001}, 281483566841860.0},
    {Type::kUint64, Order::kBadc, {0x0100, 0x0200, 0x0300, 0x0400}, 281483566841860.0},
    {Type::kUint64, Order::kDcba, {0x0400, 0x0300, 0x0200, 0x0100}, 281483566841860.0},
    {Type::kInt64, Order::kAbcd, {0xFFFF, 0xFFFF, 0xFFFF, 0xFF00}, -256},
    {Type::kFloat32, Order::kAbcd, {0x4366, 0x8000}, 230.5},
    {Type::kFloat32, Order::kCdab, {0x8000, 0x4366}, 230.5},
    {Type::kFloat32, Order::kBadc, {0x6643, 0x0080}, 230.5},
    {Type::kFloat32, Order::kDcba, {0x0080, 0x6643}, 230.5},
    {Type::kFloat64, Order::kAbcd, {0x406C, 0xD000, 0x0000, 0x0000}, 230.5},
    {Type::kFloat64, Order::kDcba, {0x0000, 0x0000, 0x00D0, 0x6C40}, 230.5},
};

TEST(ModbusRegister, ReadsEachTypeInEachOrder) {
  for (const tagCase& one : kCases)
    EXPECT_EQ(one.number, RawNumber(About(one.type, one.order), one.words)) << one.number;
}

TEST(ModbusRegister, WritesWhatItReads) {
  for (const tagCase& one : kCases)
    EXPECT_EQ(one.words, EncodeNumber(About(one.type, one.order), one.number, 0)) << one.number;
}

TEST(ModbusRegister, ReadsNothingFromAnotherNumberOfRegisters) {
  EXPECT_FALSE(RawNumber(About(Type::kUint32), Words{1}));
  EXPECT_FALSE(RawNumber(About(Type::kUint16), Words{}));
}

TEST(ModbusRegister, ReadsBitsOfARegister) {
  ZRModbusRegister about = About(Type::kBits);
  about.firstBit = 4;
  about.bits = 3;
  EXPECT_EQ(5, RawNumber(about, Words{0xF0DF}));
  about.firstBit = 0;
  about.bits = 16;
  EXPECT_EQ(0xF0DF, RawNumber(about, Words{0xF0DF}));
}

TEST(ModbusRegister, HasNoValueForNumbersThatArentOnes) {
  EXPECT_FALSE(RawNumber(About(Type::kFloat32), Words{0x7FC0, 0}));
  EXPECT_FALSE(RawNumber(About(Type::kFloat32), Words{0x7F80, 0}));
  ZRModbusRegister about = About(Type::kInt16);
  about.missing = -32768;
  EXPECT_FALSE(RawNumber(about, Words{0x8000}));
  EXPECT_EQ(-32767, RawNumber(about, Words{0x8001}));
}

TEST(ModbusRegister, ReadsTexts) {
  ZRModbusRegister about = About(Type::kText);
  EXPECT_EQ("AB", RegisterText(about, Words{0x4142, 0x2020, 0x0041}));
  EXPECT_EQ("A?C", RegisterText(about, Words{0x41FF, 0x4300}));
  EXPECT_EQ("", RegisterText(about, Words{0x0041}));
  EXPECT_EQ("", RegisterText(about, Words{0x2020}));
  about.order = Order::kBadc;
  EXPECT_EQ("AB", RegisterText(about, Words{0x4241}));
}

TEST(ModbusRegister, ScalesWithoutLosingDecimals) {
  ZRModbusRegister about = About(Type::kInt16);
  EXPECT_EQ(230.7, Scaled(about, 2307, -1));
  EXPECT_EQ(2307000.0, Scaled(about, 2307, 3));
  about.scale = 0.5;
  about.offset = -40;
  EXPECT_EQ(10.0, Scaled(about, 100, 0));
}

TEST(ModbusRegister, RefusesPowersThatArentOnes) {
  const ZRModbusRegister about = About(Type::kInt16);
  for (const double exponent : {-11.0, 11.0, 0.5, -32768.0, std::nan(""), HUGE_VAL})
    EXPECT_FALSE(Scaled(about, 1, exponent)) << exponent;
  EXPECT_FALSE(Scaled(about, std::numeric_limits<double>::max(), 10));
}

TEST(ModbusRegister, WritesWithinItsLimitsOnly) {
  ZRModbusRegister about = About(Type::kInt16);
  about.scale = 0.1;
  about.least = -5;
  about.most = 5;
  EXPECT_EQ((Words{50}), EncodeNumber(about, 5, 0));
  EXPECT_EQ((Words{0xFFCE}), EncodeNumber(about, -5, 0));
  EXPECT_EQ((Words{13}), EncodeNumber(about, 1.26, 0)) << "rounded";
  for (const double value : {5.01, -5.01, std::nan(""), HUGE_VAL})
    EXPECT_FALSE(EncodeNumber(about, value, 0)) << value;
  about.writable = false;
  EXPECT_FALSE(EncodeNumber(about, 1, 0));
}

TEST(ModbusRegister, WritesWithinTheRangeOfItsTypeOnly) {
  const struct {
    Type type;
    double good;
    double bad;
  } cases[] = {{Type::kInt16, 32767, 32768},
               {Type::kInt16, -32768, -32769},
               {Type::kUint16, 65535, 65536},
               {Type::kUint16, 0, -1},
               {Type::kInt32, 2147483647, 2147483648.0},
               {Type::kUint32, 4294967295.0, 4294967296.0},
               {Type::kUint64, 0, -1},
               {Type::kFloat32, 3.4e17, 1e19},
               {Type::kBit, 1, 2},
               {Type::kBit, 0, 0.5}};
  for (const auto& one : cases) {
    EXPECT_TRUE(EncodeNumber(About(one.type), one.good, 0)) << one.good;
    EXPECT_FALSE(EncodeNumber(About(one.type), one.bad, 0)) << one.bad;
  }
  EXPECT_FALSE(EncodeNumber(About(Type::kText), 1, 0));
  EXPECT_FALSE(EncodeNumber(About(Type::kBits), 1, 0));
}

TEST(ModbusRegister, WritesWithAPowerOfTen) {
  EXPECT_EQ((Words{2307}), EncodeNumber(About(Type::kInt16), 230.7, -1));
  EXPECT_FALSE(EncodeNumber(About(Type::kInt16), 1, std::nan("")));
}

TEST(ModbusRegister, SplitsReferences) {
  const struct {
    int reference;
    ZRModbusTable table;
    int address;
  } cases[] = {{1, ZRModbusTable::kCoils, 0},         {9999, ZRModbusTable::kCoils, 9998},
               {10001, ZRModbusTable::kDiscrete, 0},  {30010, ZRModbusTable::kInput, 9},
               {40001, ZRModbusTable::kHolding, 0},   {49999, ZRModbusTable::kHolding, 9998},
               {400001, ZRModbusTable::kHolding, 0},  {465536, ZRModbusTable::kHolding, 65535},
               {365536, ZRModbusTable::kInput, 65535}};
  for (const auto& one : cases) {
    ZRModbusTable table{};
    std::uint16_t address = 0;
    ASSERT_TRUE(SplitReference(one.reference, table, address)) << one.reference;
    EXPECT_EQ(one.table, table) << one.reference;
    EXPECT_EQ(one.address, address) << one.reference;
  }
  for (const int reference : {0, 10000, 20001, 40000, 50001, 400000, 465537, 500001, 200001}) {
    ZRModbusTable table{};
    std::uint16_t address = 0;
    EXPECT_FALSE(SplitReference(reference, table, address)) << reference;
  }
}

}  // namespace
