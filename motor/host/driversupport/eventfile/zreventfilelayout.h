// The bytes of a data file: docs/formats/event-data-file.md in code.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "host/tools/zrcrc32c.h"
#include "host/tools/zruuid.h"

// Pure functions of bytes. Numbers are little endian, offsets and lengths in bytes.
class ZREventFileLayout {
 public:
  static constexpr std::uint64_t kHead = 64;
  static constexpr std::uint64_t kBlock = 65536;
  static constexpr std::size_t kAlign = 8;
  static constexpr std::size_t kBeforeAnnotation = 56;
  static constexpr std::size_t kLengthAgain = 4;  // at the end of a record
  static constexpr std::size_t kSmallestRecord = 64;
  static constexpr std::size_t kLargestRecord = std::size_t{1} << 24;
  static constexpr std::uint64_t kLargestFile = std::uint64_t{1} << 36;
  static constexpr std::size_t kType = 16;
  static constexpr std::uint32_t kVersion = 1;

  struct tagHead {
    std::uint32_t capacity = 0;
    std::string_view type;  // without the zeros behind it
    uuid id;
  };
  // Writes kHead bytes. The type has at most kType bytes.
  static void WriteHead(const tagHead& head, unsigned char* to);
  // Reads kHead bytes, in which the type then lies. "" if this program can use the file; else what
  // is wrong with it.
  [[nodiscard]] static const char* ReadHead(const unsigned char* from, tagHead& head);

  struct tagRecord {
    std::uint32_t index = 0;
    uuid id;
    double date = 0;
    double value = 0;
    double highest = 0;
    std::string_view annotation;
  };
  // Where the sum of every record of a file begins.
  [[nodiscard]] static std::uint32_t Seed(const uuid& file);
  // Of a record with an annotation of that length.
  [[nodiscard]] static std::size_t Length(std::size_t annotation) {
    return (kBeforeAnnotation + annotation + kLengthAgain + kAlign - 1) & ~(kAlign - 1);
  }
  // Writes Length bytes, for the offset `at` of the file.
  static void WriteRecord(const tagRecord& record, std::uint32_t seed, std::uint64_t at,
                          unsigned char* to);
  // The length of the whole record that begins at `from`, of which `available` bytes are there; 0
  // if there is none.
  [[nodiscard]] static std::size_t WholeRecord(const unsigned char* from, std::size_t available,
                                               std::uint32_t seed, std::uint64_t at);
  // The two halves of WholeRecord: the length if the fields of a record fit each other, 0
  // otherwise; and the sum that it must have then.
  [[nodiscard]] static std::size_t PlausibleRecord(const unsigned char* from, std::size_t available,
                                                   std::uint64_t at);
  [[nodiscard]] static tagCrc32cPiece Summed(const unsigned char* record, std::size_t length,
                                             std::uint32_t seed, std::uint64_t at);
  [[nodiscard]] static std::uint32_t ClaimedSum(const unsigned char* record);
  // Of a whole record; the annotation lies in it.
  static void ReadRecord(const unsigned char* from, tagRecord& record);
  [[nodiscard]] static std::uint32_t Index(const unsigned char* record);
  [[nodiscard]] static double Highest(const unsigned char* record);
  // The length that a record claims at its beginning.
  [[nodiscard]] static std::size_t ClaimedLength(const unsigned char* record);
  // The last bytes of a record.
  [[nodiscard]] static std::size_t LengthAgain(const unsigned char* behindRecord);

  // Where a record of `length` bytes begins if the last one ends at `end` and has `last` bytes.
  [[nodiscard]] static std::uint64_t Place(std::uint64_t end, std::size_t last, std::size_t length);
  [[nodiscard]] static bool IsPlace(std::uint64_t at, std::size_t length);

 private:
  // Offsets in a record.
  static constexpr std::size_t kSumAt = 0;
  static constexpr std::size_t kLengthAt = 4;
  static constexpr std::size_t kIndexAt = 8;
  static constexpr std::size_t kAnnotationLengthAt = 12;
  static constexpr std::size_t kRecordIdAt = 16;
  static constexpr std::size_t kDateAt = 32;
  static constexpr std::size_t kValueAt = 40;
  static constexpr std::size_t kHighestAt = 48;

  template <typename Number>
  [[nodiscard]] static Number Get(const unsigned char* from) {
    static_assert(std::endian::native == std::endian::little, "numbers are copied as they are");
    Number number;
    std::memcpy(&number, from, sizeof number);
    return number;
  }
};

// --- in the loops of who reads ---

inline std::uint32_t ZREventFileLayout::Index(const unsigned char* record) {
  return Get<std::uint32_t>(record + kIndexAt);
}

inline double ZREventFileLayout::Highest(const unsigned char* record) {
  return Get<double>(record + kHighestAt);
}

inline std::size_t ZREventFileLayout::ClaimedLength(const unsigned char* record) {
  return Get<std::uint32_t>(record + kLengthAt);
}

inline std::uint32_t ZREventFileLayout::ClaimedSum(const unsigned char* record) {
  return Get<std::uint32_t>(record + kSumAt);
}

inline std::size_t ZREventFileLayout::LengthAgain(const unsigned char* behindRecord) {
  return Get<std::uint32_t>(behindRecord - kLengthAgain);
}

inline bool ZREventFileLayout::IsPlace(std::uint64_t at, std::size_t length) {
  if (at < kHead || at % kAlign != 0 || length > kLargestRecord) return false;
  return at % kBlock == 0 || at % kBlock + length <= kBlock;
}

inline std::size_t ZREventFileLayout::PlausibleRecord(const unsigned char* from,
                                                      std::size_t available, std::uint64_t at) {
  if (available < kSmallestRecord) return 0;
  const std::size_t length = ClaimedLength(from);
  if (length < kSmallestRecord || length > available) return 0;
  const std::size_t annotation = Get<std::uint32_t>(from + kAnnotationLengthAt);
  const bool isPlausible = Length(annotation) == length && LengthAgain(from + length) == length &&
                           IsPlace(at, length) && Index(from) <= (at - kHead) / kSmallestRecord;
  return isPlausible ? length : 0;
}

inline tagCrc32cPiece ZREventFileLayout::Summed(const unsigned char* record, std::size_t length,
                                                std::uint32_t seed, std::uint64_t at) {
  const std::uint32_t before = seed ^ static_cast<std::uint32_t>(at / kAlign);
  return {record + kLengthAt, length - kLengthAt, before, 0};
}

inline void ZREventFileLayout::ReadRecord(const unsigned char* from, tagRecord& record) {
  record.index = Index(from);
  std::memcpy(record.id.bytes.data(), from + kRecordIdAt, record.id.bytes.size());
  record.date = Get<double>(from + kDateAt);
  record.value = Get<double>(from + kValueAt);
  record.highest = Highest(from);
  record.annotation = std::string_view(reinterpret_cast<const char*>(from + kBeforeAnnotation),
                                       Get<std::uint32_t>(from + kAnnotationLengthAt));
}

inline std::uint64_t ZREventFileLayout::Place(std::uint64_t end, std::size_t last,
                                              std::size_t length) {
  const std::uint64_t next = (end + kBlock - 1) / kBlock * kBlock;
  const bool isBehindLong = last > kBlock;
  const bool fits = end % kBlock + length <= kBlock;
  return isBehindLong || !fits ? next : end;
}
