#include "host/driversupport/eventfile/zreventfilecopies.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "host/platform/zrmutex.h"

namespace {

constexpr std::size_t kEach = 256;       // bytes that the keeping of one costs, about
constexpr std::size_t kReads = 1 << 16;  // that are remembered, or fewer

std::uint64_t HashOf(std::string_view path) {
  return std::hash<std::string_view>()(path);
}

}  // namespace

ZREventFileCopies::CCopy::CCopy(const ZRFileSystem& from, std::string_view path,
                                const ZRFileSystem::tagStamp& before, std::string_view bytes)
    : files(&from), stamp(before), pathLength(path.size()) {
  text.reserve(path.size() + bytes.size());
  text.append(path).append(bytes);
}

std::size_t ZREventFileCopies::CCopy::Cost() const {
  return text.size() + kEach;
}

// Copies by the hashes of their paths, in few and small pieces of memory.
class ZREventFileCopies::CTable {
 public:
  [[nodiscard]] std::shared_ptr<const CCopy>* Find(std::uint64_t hash) {
    if (slots.empty()) return nullptr;
    for (std::size_t at = hash & Mask(); slots[at] != kFree; at = (at + 1) & Mask())
      if (kept[slots[at]].hash == hash) return &kept[slots[at]].copy;
    return nullptr;
  }
  // One that isn't there.
  void Add(std::uint64_t hash, std::shared_ptr<const CCopy> copy) {
    kept.push_back({hash, std::move(copy)});
    if (2 * kept.size() > slots.size()) {
      slots.assign(std::max(kFirstSlots, 2 * slots.size()), kFree);
      for (std::uint32_t place = 0; place + 1 < kept.size(); ++place)
        Enter(place);
    }
    Enter(static_cast<std::uint32_t>(kept.size()) - 1);
  }

 private:
  static constexpr std::uint32_t kFree = ~std::uint32_t{0};
  static constexpr std::size_t kFirstSlots = 64;

  struct tagKept {
    std::uint64_t hash;
    std::shared_ptr<const CCopy> copy;
  };

  [[nodiscard]] std::size_t Mask() const { return slots.size() - 1; }
  void Enter(std::uint32_t place) {
    std::size_t at = kept[place].hash & Mask();
    while (slots[at] != kFree)
      at = (at + 1) & Mask();
    slots[at] = place;
  }

  std::vector<tagKept> kept;
  std::vector<std::uint32_t> slots;  // places in `kept`; a power of two, at least half of them free
};

class ZREventFileCopies::CState {
 public:
  // Notes that a file was read. True if it is remembered that it was before.
  [[nodiscard]] bool NoteRead(std::uint64_t hash) ZR_REQUIRES(mutex) {
    reads.resize(kReads);
    return std::exchange(reads[hash % kReads], hash) == hash;
  }

  ZRMutex mutex;
  bool isKeeping ZR_GUARDED_BY(mutex) = false;
  std::size_t bytes ZR_GUARDED_BY(mutex) = 0;
  CTable copies ZR_GUARDED_BY(mutex);
  std::vector<std::uint64_t> reads ZR_GUARDED_BY(mutex);
};

ZREventFileCopies& ZREventFileCopies::Get() {
  static ZREventFileCopies copies;
  return copies;
}

ZREventFileCopies::ZREventFileCopies() : state(std::make_unique<CState>()) {}

ZREventFileCopies::~ZREventFileCopies() = default;

void ZREventFileCopies::Begin() {
  const ZRMutexLock lock(state->mutex);
  state->isKeeping = true;
}

void ZREventFileCopies::End() {
  CTable gone;
  const ZRMutexLock lock(state->mutex);
  state->isKeeping = false;
  state->bytes = 0;
  std::swap(state->copies, gone);
  std::vector<std::uint64_t>().swap(state->reads);
}

ZREventFileCopies::tagFound ZREventFileCopies::Find(const ZRFileSystem& files,
                                                    std::string_view path) {
  const std::uint64_t hash = HashOf(path);
  tagFound found;
  {
    const ZRMutexLock lock(state->mutex);
    if (!state->isKeeping) return found;
    const std::shared_ptr<const CCopy>* const copy = state->copies.Find(hash);
    if (copy != nullptr) found.copy = *copy;
    found.isToKeep = copy != nullptr || state->NoteRead(hash);
  }
  if (found.copy && !found.copy->IsOf(files, path)) found.copy.reset();
  return found;
}

void ZREventFileCopies::Keep(const ZRFileSystem& files, std::string_view path,
                             const ZRFileSystem::tagStamp& stamp, std::string_view bytes) {
  if (bytes.size() > kMostOfFile) return;
  const std::uint64_t hash = HashOf(path);
  auto copy = std::make_shared<const CCopy>(files, path, stamp, bytes);
  CTable gone;
  const ZRMutexLock lock(state->mutex);
  if (!state->isKeeping) return;
  std::shared_ptr<const CCopy>* before = state->copies.Find(hash);
  if (before != nullptr) state->bytes -= (*before)->Cost();
  if (state->bytes + copy->Cost() > kMostBytes) {
    std::swap(state->copies, gone);
    state->bytes = 0;
    before = nullptr;
  }
  state->bytes += copy->Cost();
  if (before != nullptr) {
    before->swap(copy);
  } else {
    state->copies.Add(hash, std::move(copy));
  }
}
