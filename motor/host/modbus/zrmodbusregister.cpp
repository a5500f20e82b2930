#include "host/modbus/zrmodbusregister.h"

#include <bit>
#include <cmath>
#include <limits>

namespace {

constexpr int kWordBits = 16;
constexpr int kByteBits = 8;
constexpr unsigned int kByteMask = 0xFF;
constexpr double kGreatestExponent = 10.0;

using tagWords = std::span<const std::uint16_t>;

constexpr bool LastWordFirst(ZRModbusOrder order) {
  return order == ZRModbusOrder::kCdab || order == ZRModbusOrder::kDcba;
}

constexpr std::uint16_t Arranged(std::uint16_t word, ZRModbusOrder order) {
  const bool exchanged = order == ZRModbusOrder::kBadc || order == ZRModbusOrder::kDcba;
  return exchanged ? static_cast<std::uint16_t>((word << kByteBits) | (word >> kByteBits)) : word;
}

std::uint64_t Joined(tagWords words, ZRModbusOrder order) {
  std::uint64_t joined = 0;
  for (std::size_t at = 0; at < words.size(); ++at) {
    const std::size_t from = LastWordFirst(order) ? words.size() - 1 - at : at;
    joined = (joined << kWordBits) | Arranged(words[from], order);
  }
  return joined;
}

std::vector<std::uint16_t> Divided(std::uint64_t value, std::size_t count, ZRModbusOrder order) {
  std::vector<std::uint16_t> words(count);
  for (std::size_t at = 0; at < count; ++at) {
    const std::size_t into = LastWordFirst(order) ? at : count - 1 - at;
    words[into] = Arranged(static_cast<std::uint16_t>(value), order);
    value >>= kWordBits;
  }
  return words;
}

double NumberIn(const ZRModbusRegister& about, std::uint64_t joined) {
  switch (about.type) {
    case ZRModbusType::kInt16:
      return static_cast<std::int16_t>(joined);
    case ZRModbusType::kInt32:
      return static_cast<std::int32_t>(joined);
    case ZRModbusType::kInt64:
      return static_cast<double>(static_cast<std::int64_t>(joined));
    case ZRModbusType::kFloat32:
      return std::bit_cast<float>(static_cast<std::uint32_t>(joined));
    case ZRModbusType::kFloat64:
      return std::bit_cast<double>(joined);
    case ZRModbusType::kBits:
      return static_cast<double>((joined >> about.firstBit) & ((1U << about.bits) - 1U));
    default:
      return static_cast<double>(joined);
  }
}

// The bits of a whole number within [least, most); nothing outside.
template <typename tagInteger>
std::optional<std::uint64_t> Integer(double raw) {
  using tagLimits = std::numeric_limits<tagInteger>;
  const double whole = std::round(raw);
  const double beyond = std::ldexp(1.0, tagLimits::digits);
  if (!(whole >= static_cast<double>(tagLimits::min()) && whole < beyond)) return std::nullopt;
  return static_cast<std::uint64_t>(static_cast<tagInteger>(whole));
}

std::optional<std::uint64_t> BitsOf(ZRModbusType type, double raw) {
  switch (type) {
    case ZRModbusType::kInt16:
      return Integer<std::int16_t>(raw);
    case ZRModbusType::kUint16:
      return Integer<std::uint16_t>(raw);
    case ZRModbusType::kInt32:
      return Integer<std::int32_t>(raw);
    case ZRModbusType::kUint32:
      return Integer<std::uint32_t>(raw);
    case ZRModbusType::kInt64:
      return Integer<std::int64_t>(raw);
    case ZRModbusType::kUint64:
      return Integer<std::uint64_t>(raw);
    case ZRModbusType::kFloat32: {
      if (!(std::abs(raw) <= static_cast<double>(std::numeric_limits<float>::max())))
        return std::nullopt;
      return std::bit_cast<std::uint32_t>(static_cast<float>(raw));
    }
    case ZRModbusType::kFloat64:
      return std::bit_cast<std::uint64_t>(raw);
    case ZRModbusType::kBit:
      return raw == 0.0 || raw == 1.0 ? Integer<std::uint16_t>(raw) : std::nullopt;
    default:
      return std::nullopt;
  }
}

constexpr bool IsExponent(double exponent) {
  return exponent >= -kGreatestExponent && exponent <= kGreatestExponent &&
         exponent == static_cast<double>(static_cast<int>(exponent));
}

// A power of ten that is exact where doubles are: dividing by 10 isn't multiplying by 0.1.
double Powered(double number, double exponent) {
  constexpr double kBase = 10.0;
  return exponent < 0 ? number / std::pow(kBase, -exponent) : number * std::pow(kBase, exponent);
}

}  // namespace

std::uint16_t WordsOf(ZRModbusType type) {
  switch (type) {
    case ZRModbusType::kInt32:
    case ZRModbusType::kUint32:
    case ZRModbusType::kFloat32:
      return 2;
    case ZRModbusType::kInt64:
    case ZRModbusType::kUint64:
    case ZRModbusType::kFloat64:
      return 4;
    case ZRModbusType::kText:
      return 0;
    default:
      return 1;
  }
}

std::optional<double> RawNumber(const ZRModbusRegister& about, tagWords words) {
  if (about.type == ZRModbusType::kText || words.size() != WordsOf(about.type)) return std::nullopt;
  const double number = NumberIn(about, Joined(words, about.order));
  if (!std::isfinite(number) || (about.missing && number == *about.missing)) return std::nullopt;
  return number;
}

std::string RegisterText(const ZRModbusRegister& about, tagWords words) {
  constexpr char kFirstPrintable = ' ';
  constexpr char kLastPrintable = '~';
  std::string text;
  for (const std::uint16_t word : words) {
    const unsigned int arranged = Arranged(word, about.order);
    text += static_cast<char>(arranged >> kByteBits);
    text += static_cast<char>(arranged & kByteMask);
  }
  text.resize(std::min(text.find('\0'), text.size()));
  text.resize(text.find_last_not_of(' ') + 1);
  for (char& character : text)
    if (character < kFirstPrintable || character > kLastPrintable) character = '?';
  return text;
}

std::optional<double> Scaled(const ZRModbusRegister& about, double raw, double exponent) {
  if (!IsExponent(exponent)) return std::nullopt;
  const double shown = Powered(raw * about.scale, exponent) + about.offset;
  return std::isfinite(shown) ? std::optional(shown) : std::nullopt;
}

std::optional<std::vector<std::uint16_t>> EncodeNumber(const ZRModbusRegister& about, double value,
                                                       double exponent) {
  if (!about.writable || !IsExponent(exponent)) return std::nullopt;
  if (!(value >= about.least && value <= about.most)) return std::nullopt;
  const double raw = Powered((value - about.offset) / about.scale, -exponent);
  const std::optional<std::uint64_t> bits = BitsOf(about.type, raw);
  if (!bits) return std::nullopt;
  return Divided(*bits, about.count, about.order);
}

bool SplitReference(int reference, ZRModbusTable& table, std::uint16_t& address) {
  constexpr int kShort = 10'000;
  constexpr int kLong = 100'000;
  const int unit = reference < kLong ? kShort : kLong;
  const int number = reference % unit;
  if (number < 1 || number - 1 > std::numeric_limits<std::uint16_t>::max()) return false;
  switch (reference / unit) {
    case 0:
      table = ZRModbusTable::kCoils;
      break;
    case 1:
      table = ZRModbusTable::kDiscrete;
      break;
    case 3:
      table = ZRModbusTable::kInput;
      break;
    case 4:
      table = ZRModbusTable::kHolding;
      break;
    default:
      return false;
  }
  address = static_cast<std::uint16_t>(number - 1);
  return true;
}
