// The memory of a group of records.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <string_view>
#include <vector>

#include "host/platform/zrlargememory.h"
#include "zrevents/history/zreventloggerdata.h"

// Records, numbered in the order of their making, and their texts. Nothing goes before the store
// does, and then all at once.
//
// Threads   one at a time.
// Promise   a record never moves in memory.
class ZRLoggerStore {
 public:
  using CDataRecord = ZREventLoggerData::CDataRecord;
  using tagEvent = CDataRecord::tagEvent;

  ZRLoggerStore() = default;
  ZRLoggerStore(const ZRLoggerStore&) = delete;
  ZRLoggerStore& operator=(const ZRLoggerStore&) = delete;

  // What the records of an event share. Two calls in a row for one event give the same.
  [[nodiscard]] const tagEvent& EventOf(const uuid& eventId) {
    if (events.empty() || events.back().id != eventId) events.push_back({eventId, this});
    return events.back();
  }

  [[nodiscard]] CDataRecord& Make(const tagEvent& event, const uuid& recordId,
                                  const ZRDateTime& time) {
    if (room == 0) AddChunk();
    --room;
    ++made;
    return *new (free++) CDataRecord(event, recordId, time);
  }
  [[nodiscard]] std::uint32_t Made() const { return made; }
  [[nodiscard]] CDataRecord& At(std::uint32_t number) const {
    const std::uint64_t place = std::uint64_t{number} + kFirstChunk;
    const auto chunk = static_cast<unsigned>(std::bit_width(place)) - kFirstChunkBits - 1;
    return First(chunk)[place - (std::uint64_t{kFirstChunk} << chunk)];
  }

  // A copy of a text, with its length in front of it; null for the empty one.
  [[nodiscard]] CDataRecord::tagText Keep(std::string_view text) {
    if (text.empty()) return nullptr;
    const auto length = static_cast<std::uint32_t>(text.size());
    char* const kept = TextRoom(sizeof length + text.size());
    std::memcpy(kept, &length, sizeof length);
    std::memcpy(kept + sizeof length, text.data(), text.size());
    return kept;
  }

 private:
  static constexpr unsigned kFirstChunkBits = 5;
  static constexpr std::uint32_t kFirstChunk = 1u << kFirstChunkBits;  // records; later ones double
  static constexpr std::size_t kChunks = 32 - kFirstChunkBits;
  static constexpr std::size_t kFirstTexts = 4096;  // bytes; later ones double
  static constexpr std::size_t kMostTexts = std::size_t{8} << 20;

  [[nodiscard]] CDataRecord* First(unsigned chunk) const {
    return static_cast<CDataRecord*>(chunks[chunk].Data());
  }
  void AddChunk();
  [[nodiscard]] char* TextRoom(std::size_t bytes) {
    if (bytes > textRoom) AddTexts(bytes);
    textRoom -= bytes;
    return std::exchange(textFree, textFree + bytes);
  }
  void AddTexts(std::size_t bytes);

  std::deque<tagEvent> events;
  std::array<ZRLargeMemory, kChunks> chunks;
  unsigned chunkCount = 0;
  CDataRecord* free = nullptr;  // in the last chunk
  std::uint32_t room = 0;       // records
  std::uint32_t made = 0;
  std::vector<ZRLargeMemory> texts;
  std::size_t nextTexts = kFirstTexts;
  char* textFree = nullptr;  // in the last piece
  std::size_t textRoom = 0;  // bytes
};
