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

  // A copy of a text, with its length in front of it; null for the empty one. It never changes:
  // records with equal texts may share one.
  [[nodiscard]] CDataRecord::tagText Keep(std::string_view text) {
    if (text.empty()) return nullptr;
    const std::uint32_t mark = MarkOf(text);
    tagKnownText& known = knownTexts[mark % knownTexts.size()];
    if (known.kept != nullptr && known.mark == mark && CDataRecord::ViewOf(known.kept) == text)
      return known.kept;
    known = {Copy(text), mark};
    return known.kept;
  }

 private:
  static constexpr unsigned kFirstChunkBits = 5;
  static constexpr std::uint32_t kFirstChunk = 1u << kFirstChunkBits;  // records; later ones double
  static constexpr std::size_t kChunks = 32 - kFirstChunkBits;
  static constexpr std::size_t kFirstTexts = 4096;  // bytes; later ones double
  static constexpr std::size_t kMostTexts = std::size_t{8} << 20;

  // A text that was kept lately.
  struct tagKnownText {
    CDataRecord::tagText kept = nullptr;
    std::uint32_t mark = 0;
  };
  static constexpr std::size_t kKnownTexts = 512;

  // Made of the length, and of the first, the middle and the last bytes.
  [[nodiscard]] static std::uint32_t MarkOf(std::string_view text) {
    constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15u;
    constexpr std::size_t kWord = sizeof(std::uint64_t);
    std::uint64_t begin = 0;
    std::uint64_t middle = 0;
    std::uint64_t end = 0;
    if (text.size() < kWord) {
      for (const char c : text)
        begin = begin << 8 | static_cast<unsigned char>(c);
    } else {
      const std::size_t last = text.size() - kWord;
      std::memcpy(&begin, text.data(), kWord);
      std::memcpy(&middle, text.data() + last / 2, kWord);
      std::memcpy(&end, text.data() + last, kWord);
    }
    const std::uint64_t mixed =
        ((begin ^ text.size()) * kSpread) ^ std::rotl(middle * kSpread, 21) ^ end;
    return static_cast<std::uint32_t>((mixed ^ mixed >> 32) * kSpread >> 32);
  }
  [[nodiscard]] CDataRecord::tagText Copy(std::string_view text) {
    const auto length = static_cast<std::uint32_t>(text.size());
    char* const kept = TextRoom(sizeof length + text.size());
    std::memcpy(kept, &length, sizeof length);
    std::memcpy(kept + sizeof length, text.data(), text.size());
    return kept;
  }
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
  std::array<tagKnownText, kKnownTexts> knownTexts;
  std::vector<ZRLargeMemory> texts;
  std::size_t nextTexts = kFirstTexts;
  char* textFree = nullptr;  // in the last piece
  std::size_t textRoom = 0;  // bytes
};
