// Finds the records of a data file, a block at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "host/driversupport/eventfile/zreventfilehandle.h"
#include "host/driversupport/eventfile/zreventfilelayout.h"

// Whatever the bytes of the file are, nothing is read beyond them, a record is only what its sum
// proves, and one search reads each block once at most.
//
// Threads   one at a time.
// Owns      one block, or the longest record read so far.
class ZREventFileBlocks {
 public:
  // A whole record of the loaded block.
  struct tagWhole {
    const unsigned char* bytes = nullptr;  // until the next call; null for none
    std::uint64_t at = 0;
    std::size_t length = 0;
  };

  // What is read from now on: a file up to `end`, whose sums begin with `seed`. The file stays the
  // caller's.
  void Attach(const ZREventFileHandle& toRead, std::uint32_t seedOfFile, std::uint64_t end);
  void Detach();
  // The file has grown, or what lies behind its last whole record isn't looked at any more.
  void SetEnd(std::uint64_t end);
  // How many records it has.
  void SetCount(int records);

  // The first `wanted` bytes of the file, which stay loaded as its block 0; at most one block. Null
  // if they can't be read.
  [[nodiscard]] const unsigned char* Begin(const ZREventFileHandle& toRead, std::size_t wanted);
  // The same with all bytes of the file, which isn't read.
  [[nodiscard]] const unsigned char* Begin(const ZREventFileHandle& toRead, std::string_view all);

  // The last whole record. False if the file can't be read.
  [[nodiscard]] bool FindLast(tagWhole& last);

  // Null if the record isn't whole, or can't be read.
  [[nodiscard]] const unsigned char* Record(int index) {
    const auto place = static_cast<std::uint32_t>(index) - first;
    if (place >= offsets.size()) return Elsewhere(index);
    const std::uint32_t offset = offsets[place];
    if (offset != kNowhere) return buffer.get() + offset;
    isRead = true;
    return nullptr;
  }

  // Whether Record finds it without touching the ones that it gave before.
  [[nodiscard]] bool IsLoaded(int index) const {
    return static_cast<std::uint32_t>(index) - first < offsets.size();
  }

  // Where a record that was just given lies in the file.
  [[nodiscard]] std::uint64_t Offset(const unsigned char* record) const {
    return loaded * kBlock + static_cast<std::uint64_t>(record - buffer.get());
  }

  // The index of the first whole record with a highest date at or after that one; -1 for none. One
  // before it if it may be in a block that can't be read.
  [[nodiscard]] int FirstAtOrAfter(double date);

  // Walks through all blocks: the whole records of each, and the bytes other than zero that belong
  // to none. False if the file can't be read.
  struct tagSum {
    int records = 0;
    std::uint64_t strayBytes = 0;
  };
  [[nodiscard]] bool ReadAll(tagSum& sum);

  // Behind a Record that was null: a block in which the record may be couldn't be read. It isn't
  // tried again before the next Attach.
  [[nodiscard]] bool CouldNotRead() const { return !isRead; }

 private:
  static constexpr std::uint64_t kBlock = ZREventFileLayout::kBlock;
  static constexpr std::uint64_t kNoBlock = ~std::uint64_t{0};
  static constexpr std::uint32_t kNowhere = ~std::uint32_t{0};

  // The first whole record of a block.
  struct tagKey {
    std::uint64_t block = kNoBlock;
    std::uint32_t index = 0;
    double highest = 0;
  };
  // The last block whose key comes before what is looked for, and the first one whose doesn't.
  struct tagBetween {
    std::optional<tagKey> before;
    std::optional<tagKey> after;
  };

  const unsigned char* BeginWith(const ZREventFileHandle& toRead, std::size_t read);
  void Forget();
  void MakeRoom(std::size_t wanted);
  [[nodiscard]] bool Load(std::uint64_t block);
  [[nodiscard]] bool LoadLong(std::uint64_t start, std::size_t length);
  void Parse(std::size_t from, std::size_t until);
  [[nodiscard]] bool ParseWhole(std::size_t from, std::size_t until);
  void ParseDamaged(std::size_t from, std::size_t until);
  [[nodiscard]] bool Note(std::size_t at, std::size_t behindLast);
  [[nodiscard]] std::uint32_t LastIndex() const;
  [[nodiscard]] std::uint64_t Blocks() const;

  [[nodiscard]] const unsigned char* Elsewhere(int index);
  [[nodiscard]] bool IsInNeighbour(int index);
  [[nodiscard]] std::optional<tagKey> Key(std::uint64_t block, std::uint64_t limit);
  [[nodiscard]] std::optional<tagKey> Peek(std::uint64_t block) const;
  template <typename IsBefore>
  [[nodiscard]] tagBetween Search(IsBefore isBefore);
  [[nodiscard]] bool HasUnreadable(const tagBetween& between) const;

  const ZREventFileHandle* file = nullptr;
  std::uint32_t seed = 0;
  std::uint64_t end = 0;
  int count = 0;
  bool isRead = true;                     // all that the last Record had to look at
  std::vector<std::uint64_t> unreadable;  // blocks, of the last search

  std::unique_ptr<unsigned char[]> buffer;
  std::size_t room = 0;

  // The loaded block: its records by index, and the block behind it.
  std::uint64_t loaded = kNoBlock;
  std::uint64_t next = 0;
  std::size_t bytes = 0;
  std::uint32_t first = 0;
  std::vector<std::uint32_t> offsets;

  // No record between these two is whole, or can be read.
  int gapAfter = 0;
  int gapBefore = 0;
  bool isGapUnreadable = false;
};
