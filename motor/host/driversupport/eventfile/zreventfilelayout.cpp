#include "host/driversupport/eventfile/zreventfilelayout.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "host/tools/zrcrc32c.h"

static_assert(std::endian::native == std::endian::little, "numbers are copied as they are");

namespace {

// The first byte isn't text, and the others don't survive a change of line ends.
constexpr std::array<unsigned char, 8> kMagic = {0x89, 'Z', 'R', 'E', '\r', '\n', 0x1A, '\n'};

// Offsets in the head.
constexpr std::size_t kVersionAt = 8;
constexpr std::size_t kIncompatibleAt = 12;
constexpr std::size_t kCapacityAt = 20;
constexpr std::size_t kTypeAt = 24;
constexpr std::size_t kIdAt = 40;
constexpr std::size_t kBlockAt = 56;
constexpr std::size_t kHeadSumAt = 60;

// Offsets in a record.
constexpr std::size_t kSumAt = 0;
constexpr std::size_t kLengthAt = 4;
constexpr std::size_t kIndexAt = 8;
constexpr std::size_t kAnnotationLengthAt = 12;
constexpr std::size_t kRecordIdAt = 16;
constexpr std::size_t kDateAt = 32;
constexpr std::size_t kValueAt = 40;
constexpr std::size_t kHighestAt = 48;

template <typename Number>
Number Get(const unsigned char* from) {
  Number number;
  std::memcpy(&number, from, sizeof number);
  return number;
}

template <typename Number>
void Put(unsigned char* to, Number number) {
  std::memcpy(to, &number, sizeof number);
}

std::uint32_t Sum(const unsigned char* record, std::size_t length, std::uint32_t seed,
                  std::uint64_t at) {
  return Crc32c(record + kLengthAt, length - kLengthAt, Crc32c(&at, sizeof at, seed));
}

}  // namespace

void ZREventFileLayout::WriteHead(const tagHead& head, unsigned char* to) {
  std::memset(to, 0, kHead);
  std::copy(kMagic.begin(), kMagic.end(), to);
  Put(to + kVersionAt, kVersion);
  Put(to + kCapacityAt, head.capacity);
  std::copy(head.type.begin(), head.type.end(), to + kTypeAt);
  std::copy(head.id.bytes.begin(), head.id.bytes.end(), to + kIdAt);
  Put(to + kBlockAt, static_cast<std::uint32_t>(kBlock));
  Put(to + kHeadSumAt, Crc32c(to, kHeadSumAt));
}

const char* ZREventFileLayout::ReadHead(const unsigned char* from, tagHead& head) {
  if (!std::equal(kMagic.begin(), kMagic.end(), from)) return "no event data file";
  if (Get<std::uint32_t>(from + kHeadSumAt) != Crc32c(from, kHeadSumAt))
    return "its head is damaged";
  if (Get<std::uint32_t>(from + kVersionAt) != kVersion ||
      Get<std::uint32_t>(from + kIncompatibleAt) != 0 ||
      Get<std::uint32_t>(from + kBlockAt) != kBlock)
    return "of a layout that this program doesn't know";
  const auto* const type = reinterpret_cast<const char*>(from + kTypeAt);
  head.type = std::string_view(type, ::strnlen(type, kType));
  head.capacity = Get<std::uint32_t>(from + kCapacityAt);
  std::copy_n(from + kIdAt, head.id.bytes.size(), head.id.bytes.begin());
  return "";
}

std::uint32_t ZREventFileLayout::Seed(const uuid& file) {
  return Crc32c(file.bytes.data(), file.bytes.size());
}

void ZREventFileLayout::WriteRecord(const tagRecord& record, std::uint32_t seed, std::uint64_t at,
                                    unsigned char* to) {
  const std::size_t length = Length(record.annotation.size());
  std::memset(to + length - kAlign - kLengthAgain, 0, kAlign + kLengthAgain);
  Put(to + kLengthAt, static_cast<std::uint32_t>(length));
  Put(to + kIndexAt, record.index);
  Put(to + kAnnotationLengthAt, static_cast<std::uint32_t>(record.annotation.size()));
  std::copy(record.id.bytes.begin(), record.id.bytes.end(), to + kRecordIdAt);
  Put(to + kDateAt, record.date);
  Put(to + kValueAt, record.value);
  Put(to + kHighestAt, record.highest);
  std::copy(record.annotation.begin(), record.annotation.end(), to + kBeforeAnnotation);
  Put(to + length - kLengthAgain, static_cast<std::uint32_t>(length));
  Put(to + kSumAt, Sum(to, length, seed, at));
}

std::size_t ZREventFileLayout::WholeRecord(const unsigned char* from, std::size_t available,
                                           std::uint32_t seed, std::uint64_t at) {
  if (available < kSmallestRecord) return 0;
  const std::size_t length = ClaimedLength(from);
  if (length < kSmallestRecord || length > available) return 0;
  const std::size_t annotation = Get<std::uint32_t>(from + kAnnotationLengthAt);
  const bool isPlausible = Length(annotation) == length && LengthAgain(from + length) == length &&
                           IsPlace(at, length) && Index(from) <= (at - kHead) / kSmallestRecord;
  if (!isPlausible) return 0;
  return Get<std::uint32_t>(from + kSumAt) == Sum(from, length, seed, at) ? length : 0;
}

void ZREventFileLayout::ReadRecord(const unsigned char* from, tagRecord& record) {
  record.index = Index(from);
  std::memcpy(record.id.bytes.data(), from + kRecordIdAt, record.id.bytes.size());
  record.date = Get<double>(from + kDateAt);
  record.value = Get<double>(from + kValueAt);
  record.highest = Highest(from);
  record.annotation = std::string_view(reinterpret_cast<const char*>(from + kBeforeAnnotation),
                                       Get<std::uint32_t>(from + kAnnotationLengthAt));
}

std::uint32_t ZREventFileLayout::Index(const unsigned char* record) {
  return Get<std::uint32_t>(record + kIndexAt);
}

double ZREventFileLayout::Highest(const unsigned char* record) {
  return Get<double>(record + kHighestAt);
}

std::size_t ZREventFileLayout::ClaimedLength(const unsigned char* record) {
  return Get<std::uint32_t>(record + kLengthAt);
}

std::size_t ZREventFileLayout::LengthAgain(const unsigned char* behindRecord) {
  return Get<std::uint32_t>(behindRecord - kLengthAgain);
}

std::uint64_t ZREventFileLayout::Place(std::uint64_t end, std::size_t last, std::size_t length) {
  const std::uint64_t next = (end + kBlock - 1) / kBlock * kBlock;
  const bool isBehindLong = last > kBlock;
  const bool fits = end % kBlock + length <= kBlock;
  return isBehindLong || !fits ? next : end;
}

bool ZREventFileLayout::IsPlace(std::uint64_t at, std::size_t length) {
  if (at < kHead || at % kAlign != 0 || length > kLargestRecord) return false;
  return at % kBlock == 0 || at % kBlock + length <= kBlock;
}
