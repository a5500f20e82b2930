#include "host/platform/zrlargememory.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <utility>

#include "host/platform/zrmutex.h"

namespace {

constexpr std::size_t kPage = std::size_t{2} << 20;  // bytes of a large page

std::size_t WholePages(std::size_t bytes) {
  return (bytes + kPage - 1) / kPage * kPage;
}

void Unmap(std::uintptr_t from, std::uintptr_t to) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  if (from < to) (void)::munmap(reinterpret_cast<void*>(from), to - from);
}

// Whole large pages: more is mapped than asked for, and what lies around them is given back.
void* TakePages(std::size_t bytes) {
  void* const mapped = ::mmap(nullptr, bytes + kPage, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (mapped == MAP_FAILED) throw std::bad_alloc();
  const auto start = reinterpret_cast<std::uintptr_t>(mapped);
  const std::uintptr_t first = (start + kPage - 1) / kPage * kPage;
  Unmap(start, first);
  Unmap(first + bytes, start + bytes + kPage);
  void* const pages = reinterpret_cast<void*>(first);  // NOLINT(performance-no-int-to-ptr)
  (void)::madvise(pages, bytes, MADV_HUGEPAGE);        // a wish
  return pages;
}

// Pieces that were given back, all of whole pages.
class CKept {
 public:
  // One of that size; null if none waits.
  void* Take(std::size_t bytes) {
    const ZRMutexLock lock(mutex);
    for (tagPiece& piece : pieces) {
      if (piece.data == nullptr || piece.bytes != bytes) continue;
      total -= bytes;
      return std::exchange(piece.data, nullptr);
    }
    return nullptr;
  }
  // The ones that wait longest make room.
  void Keep(void* data, std::size_t bytes) {
    if (bytes > ZRLargeMemory::kMostKept) {
      (void)::munmap(data, bytes);
      return;
    }
    (void)::madvise(data, bytes, MADV_FREE);  // a wish
    const ZRMutexLock lock(mutex);
    do {
      next = (next + 1) % pieces.size();
      Drop(pieces[next]);
    } while (total + bytes > ZRLargeMemory::kMostKept);
    pieces[next] = {data, bytes};
    total += bytes;
  }

 private:
  struct tagPiece {
    void* data = nullptr;
    std::size_t bytes = 0;
  };

  void Drop(tagPiece& piece) ZR_REQUIRES(mutex) {
    if (piece.data == nullptr) return;
    (void)::munmap(piece.data, piece.bytes);
    total -= piece.bytes;
    piece = {};
  }

  ZRMutex mutex;
  std::array<tagPiece, 32> pieces ZR_GUARDED_BY(mutex);
  std::size_t next ZR_GUARDED_BY(mutex) = 0;   // the one that was filled last
  std::size_t total ZR_GUARDED_BY(mutex) = 0;  // bytes
};

CKept& Kept() {
  static CKept kept;
  return kept;
}

}  // namespace

void* ZRLargeMemory::Take(std::size_t bytes) {
  if (bytes == 0) return nullptr;
  if (bytes > SIZE_MAX / 2) throw std::bad_alloc();
  if (bytes >= kLarge) return TakePages(WholePages(bytes));
  void* const taken = std::calloc(bytes, 1);
  if (taken == nullptr) throw std::bad_alloc();
  return taken;
}

void* ZRLargeMemory::TakeAny(std::size_t bytes) {
  void* const kept =
      bytes >= kLarge && bytes <= kMostKept ? Kept().Take(WholePages(bytes)) : nullptr;
  return kept != nullptr ? kept : Take(bytes);
}

void ZRLargeMemory::Give(void* data, std::size_t bytes) noexcept {
  if (bytes >= kLarge) {
    Kept().Keep(data, WholePages(bytes));
  } else {
    std::free(data);  // NOLINT(cppcoreguidelines-no-malloc)
  }
}

void GiveBackWhatIsFreed() {
  constexpr int kPiece = 128 * 1024;  // bytes; said, it doesn't grow by itself
  constexpr long kLeastHeaps = 2;
  constexpr long kMostHeaps = 64;
  const long processors = ::sysconf(_SC_NPROCESSORS_ONLN);
  const auto heaps = static_cast<int>(std::clamp(processors, kLeastHeaps, kMostHeaps));
  // NOLINTBEGIN(concurrency-mt-unsafe): no other thread is there yet
  (void)::mallopt(M_MMAP_THRESHOLD, kPiece);
  (void)::mallopt(M_ARENA_MAX, heaps);
  // NOLINTEND(concurrency-mt-unsafe)
}
