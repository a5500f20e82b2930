#include "host/driversupport/eventfile/zreventfilelayout.h"

#include <algorithm>
#include <array>
#include <cstring>

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

template <typename Number>
void Put(unsigned char* to, Number number) {
  std::memcpy(to, &number, sizeof number);
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
  tagCrc32cPiece piece = Summed(to, length, seed, at);
  Crc32c(&piece, 1);
  Put(to + kSumAt, piece.sum);
}

std::size_t ZREventFileLayout::WholeRecord(const unsigned char* from, std::size_t available,
                                           std::uint32_t seed, std::uint64_t at) {
  const std::size_t length = PlausibleRecord(from, available, at);
  if (length == 0) return 0;
  tagCrc32cPiece piece = Summed(from, length, seed, at);
  Crc32c(&piece, 1);
  return piece.sum == ClaimedSum(from) ? length : 0;
}
