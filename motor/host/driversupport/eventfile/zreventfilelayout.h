// The bytes of a data file: docs/formats/event-data-file.md in code.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

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
};
