#include "countallocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<long long> allocations{0};
}  // namespace

long long Allocations() {
  return allocations.load(std::memory_order_relaxed);
}

void* operator new(std::size_t size) {
  allocations.fetch_add(1, std::memory_order_relaxed);
  void* const memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
