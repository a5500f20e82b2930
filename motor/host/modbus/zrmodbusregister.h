// Registers of Modbus devices: what stands in them, as pure functions.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The four tables of a device. The value is the function that reads it.
enum class ZRModbusTable : std::uint8_t { kCoils = 1, kDiscrete = 2, kHolding = 3, kInput = 4 };

enum class ZRModbusType : std::uint8_t {
  kBit,  // of coils and discrete inputs, and only of them
  kInt16,
  kUint16,
  kInt32,
  kUint32,
  kInt64,   // beyond 2^53 the nearest number
  kUint64,  // the same
  kFloat32,
  kFloat64,
  kBits,  // some bits of one register
  kText,  // two characters in each register
};

// How the bytes of a value stand in its registers. A is the most significant one of four; longer
// and shorter values follow: C in front means the last register first, B in front means that the
// two bytes of each register are exchanged.
enum class ZRModbusOrder : std::uint8_t { kAbcd, kCdab, kBadc, kDcba };

// One value of a device.
struct ZRModbusRegister {
  std::string name;
  std::string measure;  // the unit of measure, for people; UTF-8
  ZRModbusTable table = ZRModbusTable::kHolding;
  std::uint16_t address = 0;  // from 0
  std::uint16_t count = 1;    // registers, or bits, that it takes
  ZRModbusType type = ZRModbusType::kUint16;
  ZRModbusOrder order = ZRModbusOrder::kAbcd;
  int firstBit = 0;  // kBits: from the least significant one
  int bits = 1;      // kBits
  double scale = 1.0;
  double offset = 0.0;
  std::optional<std::size_t> scaleFrom;  // the register, by its index, that holds a power of ten
  std::optional<double> missing;         // before scaling: stands for no value
  std::uint32_t period = 0;              // ms; 0: the driver's
  bool writable = false;
  double least = 0.0;  // of what may be written, scaled
  double most = 0.0;
};

[[nodiscard]] constexpr bool IsBitTable(ZRModbusTable table) {
  return table == ZRModbusTable::kCoils || table == ZRModbusTable::kDiscrete;
}

// Registers that a value of that type takes; 0 for kText, which takes what its settings say.
[[nodiscard]] std::uint16_t WordsOf(ZRModbusType type);

// The number in the registers `words`, as many as it takes, before scaling. Nothing for a text, for
// a number that isn't finite, and for the one that stands for no value.
[[nodiscard]] std::optional<double> RawNumber(const ZRModbusRegister& about,
                                              std::span<const std::uint16_t> words);

// The text in the registers, up to the first NUL and without blanks behind it. What isn't printable
// ASCII is shown as "?".
[[nodiscard]] std::string RegisterText(const ZRModbusRegister& about,
                                       std::span<const std::uint16_t> words);

// The number that is shown: raw * scale * 10^exponent + offset. Nothing for an exponent that isn't
// a whole number from -10 to 10, or if the result isn't finite.
[[nodiscard]] std::optional<double> Scaled(const ZRModbusRegister& about, double raw,
                                           double exponent);

// The registers, or the bit, to write so that `value` is shown; integers are rounded. Nothing for a
// number out of the register's limits or its type's range, and for what can't be written.
[[nodiscard]] std::optional<std::vector<std::uint16_t>> EncodeNumber(const ZRModbusRegister& about,
                                                                     double value, double exponent);

// Splits an address of the notation that has the table in its first digit: 40001 is holding
// register 0, 300010 input register 9, 1 coil 0. False for a number that isn't one.
[[nodiscard]] bool SplitReference(int reference, ZRModbusTable& table, std::uint16_t& address);
