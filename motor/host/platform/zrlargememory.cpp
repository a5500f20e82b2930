#include "host/platform/zrlargememory.h"

#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <new>

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

}  // namespace

void* ZRLargeMemory::Take(std::size_t bytes) {
  if (bytes == 0) return nullptr;
  if (bytes > SIZE_MAX / 2) throw std::bad_alloc();
  if (bytes >= kLarge) return TakePages(WholePages(bytes));
  void* const taken = std::calloc(bytes, 1);
  if (taken == nullptr) throw std::bad_alloc();
  return taken;
}

void ZRLargeMemory::Give(void* data, std::size_t bytes) noexcept {
  if (bytes >= kLarge) {
    (void)::munmap(data, WholePages(bytes));
  } else {
    std::free(data);  // NOLINT(cppcoreguidelines-no-malloc)
  }
}
