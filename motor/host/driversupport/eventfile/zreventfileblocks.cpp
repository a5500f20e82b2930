#include "host/driversupport/eventfile/zreventfileblocks.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

using Layout = ZREventFileLayout;

constexpr std::size_t kPeek = 256;  // bytes that hold most records

constexpr std::size_t kPage = 4096;

constexpr std::size_t kAtOnce = 32;  // records that are summed together

}  // namespace

void ZREventFileBlocks::Attach(const ZREventFileHandle& toRead, std::uint32_t seedOfFile,
                               std::uint64_t endOfFile) {
  const bool hasBegun = file == &toRead && loaded == 0;
  file = &toRead;
  seed = seedOfFile;
  end = endOfFile;
  count = 0;
  gapAfter = gapBefore = 0;
  if (hasBegun) {
    Parse(Layout::kHead, bytes);
  } else {
    Forget();
  }
}

void ZREventFileBlocks::Detach() {
  Forget();
  file = nullptr;
}

void ZREventFileBlocks::SetEnd(std::uint64_t newEnd) {
  if (newEnd > end) Forget();
  end = newEnd;
}

void ZREventFileBlocks::SetCount(int records) {
  count = records;
}

const unsigned char* ZREventFileBlocks::Begin(const ZREventFileHandle& toRead, std::size_t wanted) {
  Detach();
  MakeRoom(wanted);
  if (toRead.Read(buffer.get(), wanted, 0) != static_cast<std::int64_t>(wanted)) return nullptr;
  return BeginWith(toRead, wanted);
}

const unsigned char* ZREventFileBlocks::Begin(const ZREventFileHandle& toRead,
                                              std::string_view all) {
  Detach();
  MakeRoom(all.size());
  std::copy(all.begin(), all.end(), buffer.get());
  return BeginWith(toRead, all.size());
}

// With so many bytes in the buffer.
const unsigned char* ZREventFileBlocks::BeginWith(const ZREventFileHandle& toRead,
                                                  std::size_t read) {
  file = &toRead;
  loaded = 0;
  next = 1;
  bytes = read;
  return buffer.get();
}

bool ZREventFileBlocks::FindLast(tagWhole& last) {
  last = {};
  for (std::uint64_t block = Blocks(); block-- > 0;) {
    if (!Load(block)) return false;
    if (offsets.empty()) continue;
    last.bytes = buffer.get() + offsets.back();
    last.at = block * kBlock + offsets.back();
    last.length = Layout::ClaimedLength(last.bytes);
    return true;
  }
  return true;
}

int ZREventFileBlocks::FirstAtOrAfter(double date) {
  unreadable.clear();
  const tagBetween between = Search([&](const tagKey& key) { return key.highest < date; });
  if (between.before) {
    if (!Load(between.before->block)) return static_cast<int>(between.before->index);
    for (std::size_t i = 0; i < offsets.size(); ++i) {
      if (offsets[i] != kNowhere && !(Layout::Highest(buffer.get() + offsets[i]) < date))
        return static_cast<int>(first + i);
    }
  }
  if (HasUnreadable(between)) return between.before ? static_cast<int>(between.before->index) : 0;
  return between.after ? static_cast<int>(between.after->index) : -1;
}

bool ZREventFileBlocks::ReadAll(tagSum& sum) {
  sum = {};
  for (std::uint64_t block = 0; block < Blocks(); block = next) {
    if (!Load(block)) return false;
    std::size_t at = block == 0 ? Layout::kHead : 0;
    const auto countStray = [&](std::size_t until) {
      for (; at < until; ++at)
        sum.strayBytes += buffer[at] != 0 ? 1u : 0u;
    };
    for (const std::uint32_t offset : offsets) {
      if (offset == kNowhere) continue;
      countStray(offset);
      at += Layout::ClaimedLength(buffer.get() + offset);
      ++sum.records;
    }
    countStray(bytes);
  }
  return true;
}

// --- one block ---

void ZREventFileBlocks::Forget() {
  loaded = kNoBlock;
  offsets.clear();
  bytes = 0;
}

// What the buffer holds is lost.
void ZREventFileBlocks::MakeRoom(std::size_t wanted) {
  if (wanted <= room) return;
  room = (wanted + kPage - 1) / kPage * kPage;
  buffer = std::make_unique_for_overwrite<unsigned char[]>(room);
}

bool ZREventFileBlocks::Load(std::uint64_t block) {
  if (block == loaded) return true;
  Forget();
  const std::uint64_t start = block * kBlock;
  const std::size_t wanted = std::min(end - start, kBlock);
  MakeRoom(wanted);
  const std::int64_t got = file->Read(buffer.get(), wanted, start);
  if (got < 0) {
    unreadable.push_back(block);
    return false;
  }
  loaded = block;
  next = block + 1;
  bytes = static_cast<std::size_t>(got);
  if (block > 0 && bytes == kBlock && Layout::ClaimedLength(buffer.get()) > kBlock) {
    if (LoadLong(start, Layout::ClaimedLength(buffer.get()))) return loaded == block;
  }
  Parse(block == 0 ? Layout::kHead : 0, bytes);
  return true;
}

// A record longer than a block. False if it isn't whole. If it can't be read, nothing is loaded.
bool ZREventFileBlocks::LoadLong(std::uint64_t start, std::size_t length) {
  if (length > Layout::kLargestRecord || length > end - start) return false;
  if (length > room) {
    const auto block = std::move(buffer);
    room = 0;
    MakeRoom(length);
    std::copy_n(block.get(), bytes, buffer.get());
  }
  const std::int64_t got = file->Read(buffer.get() + bytes, length - bytes, start + bytes);
  if (got < 0) {
    unreadable.push_back(loaded);
    Forget();
    return true;
  }
  const auto available = bytes + static_cast<std::size_t>(got);
  if (Layout::WholeRecord(buffer.get(), available, seed, start) == 0) return false;
  bytes = available;
  next = (start + length + kBlock - 1) / kBlock;
  (void)Note(0, 0);
  return true;
}

void ZREventFileBlocks::Parse(std::size_t from, std::size_t until) {
  if (ParseWhole(from, until)) return;
  offsets.clear();
  ParseDamaged(from, until);
}

// Follows the lengths from record to record, and sums some at once. False if anything is amiss.
bool ZREventFileBlocks::ParseWhole(std::size_t from, std::size_t until) {
  const std::uint64_t start = loaded * kBlock;
  const unsigned char* const block = buffer.get();
  std::array<tagCrc32cPiece, kAtOnce> pieces;
  std::size_t waiting = 0;
  const auto areWhole = [&] {
    Crc32c(pieces.data(), waiting);
    bool isWhole = true;
    const std::size_t before = offsets.size() - waiting;
    for (std::size_t i = 0; i < waiting; ++i)
      isWhole = isWhole && pieces[i].sum == Layout::ClaimedSum(block + offsets[before + i]);
    waiting = 0;
    return isWhole;
  };
  offsets.reserve((until - from) / Layout::kSmallestRecord);
  std::size_t at = from;
  while (const std::size_t length = Layout::PlausibleRecord(block + at, until - at, start + at)) {
    if (offsets.empty()) first = Layout::Index(block + at);
    if (Layout::Index(block + at) != first + offsets.size()) return false;
    pieces[waiting++] = Layout::Summed(block + at, length, seed, start + at);
    offsets.push_back(static_cast<std::uint32_t>(at));
    if (waiting == pieces.size() && !areWhole()) return false;
    at += length;
  }
  return areWhole() &&
         std::all_of(block + at, block + until, [](unsigned char c) { return c == 0; });
}

// Finds each whole record between the two, wherever damage has left the ones before.
void ZREventFileBlocks::ParseDamaged(std::size_t from, std::size_t until) {
  const std::uint64_t start = loaded * kBlock;
  std::size_t behindLast = from;
  std::size_t at = from;
  while (at + Layout::kSmallestRecord <= until) {
    const std::size_t length = Layout::WholeRecord(buffer.get() + at, until - at, seed, start + at);
    if (length != 0 && Note(at, behindLast)) {
      at += length;
      behindLast = at;
    } else {
      at += Layout::kAlign;
    }
  }
}

// Enters a whole record. False if there is no room for those that its index leaves out.
bool ZREventFileBlocks::Note(std::size_t at, std::size_t behindLast) {
  const std::uint32_t index = Layout::Index(buffer.get() + at);
  if (offsets.empty()) {
    first = index;
  } else {
    const std::uint32_t expected = LastIndex() + 1;
    if (index < expected || index - expected > (at - behindLast) / Layout::kSmallestRecord)
      return false;
    offsets.resize(offsets.size() + (index - expected), kNowhere);
  }
  offsets.push_back(static_cast<std::uint32_t>(at));
  return true;
}

std::uint32_t ZREventFileBlocks::LastIndex() const {
  return first + static_cast<std::uint32_t>(offsets.size()) - 1;
}

std::uint64_t ZREventFileBlocks::Blocks() const {
  return (end + kBlock - 1) / kBlock;
}

// --- searching ---

const unsigned char* ZREventFileBlocks::Elsewhere(int index) {
  isRead = true;
  if (file == nullptr || index < 0 || index >= count) return nullptr;
  if (index > gapAfter && index < gapBefore) {
    isRead = !isGapUnreadable;
    return nullptr;
  }
  unreadable.clear();
  if (IsInNeighbour(index)) return Record(index);
  const auto wanted = static_cast<std::uint32_t>(index);
  const tagBetween between = Search([&](const tagKey& key) { return key.index <= wanted; });
  const bool isLoaded = !between.before || Load(between.before->block);
  if (IsLoaded(index)) return Record(index);
  gapAfter = -1;
  if (between.before) {
    const bool hasRecords = isLoaded && !offsets.empty();
    gapAfter = static_cast<int>(hasRecords ? LastIndex() : between.before->index - 1);
  }
  gapBefore = between.after ? static_cast<int>(between.after->index) : count;
  isGapUnreadable = !isLoaded || HasUnreadable(between);
  isRead = !isGapUnreadable;
  return nullptr;
}

// A block between the two couldn't be read.
bool ZREventFileBlocks::HasUnreadable(const tagBetween& between) const {
  return std::any_of(unreadable.begin(), unreadable.end(), [&](std::uint64_t block) {
    return (!between.before || block > between.before->block) &&
           (!between.after || block < between.after->block);
  });
}

// Loads the block before or behind the loaded one if the record follows it.
bool ZREventFileBlocks::IsInNeighbour(int index) {
  if (loaded == kNoBlock || offsets.empty()) return false;
  const auto wanted = static_cast<std::uint32_t>(index);
  if (wanted == LastIndex() + 1 && next < Blocks()) return Load(next) && IsLoaded(index);
  if (wanted + 1 == first && loaded > 0) return Load(loaded - 1) && IsLoaded(index);
  return false;
}

// The key of that block, or of the first one behind it and before `limit` that has one.
std::optional<ZREventFileBlocks::tagKey> ZREventFileBlocks::Key(std::uint64_t block,
                                                                std::uint64_t limit) {
  for (; block < limit; ++block) {
    const std::optional<tagKey> key = block != loaded ? Peek(block) : std::nullopt;
    if (key) return key;
    if (Load(block) && !offsets.empty())
      return tagKey{block, first, Layout::Highest(buffer.get() + offsets.front())};
  }
  return std::nullopt;
}

// The key of a block that begins with a short whole record.
std::optional<ZREventFileBlocks::tagKey> ZREventFileBlocks::Peek(std::uint64_t block) const {
  const std::uint64_t start = block * kBlock;
  const std::size_t skip = block == 0 ? Layout::kHead : 0;
  std::array<unsigned char, kPeek> look{};
  const std::int64_t got = file->Read(
      look.data(), std::min<std::uint64_t>(look.size(), end - start - skip), start + skip);
  if (got <= 0) return std::nullopt;
  const bool isWhole =
      Layout::WholeRecord(look.data(), static_cast<std::size_t>(got), seed, start + skip) != 0;
  if (!isWhole) return std::nullopt;
  return tagKey{block, Layout::Index(look.data()), Layout::Highest(look.data())};
}

template <typename IsBefore>
ZREventFileBlocks::tagBetween ZREventFileBlocks::Search(IsBefore isBefore) {
  tagBetween between;
  std::uint64_t low = 0;
  std::uint64_t high = Blocks();
  while (low < high) {
    const std::uint64_t middle = low + (high - low) / 2;
    const std::optional<tagKey> key = Key(middle, high);
    if (key && isBefore(*key)) {
      between.before = key;
      low = key->block + 1;
    } else {
      if (key) between.after = key;
      high = middle;
    }
  }
  return between;
}
