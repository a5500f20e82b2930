// Memory for much that is filled at once and goes at once.
#pragma once

#include <cstddef>
#include <utility>

// A piece of memory of a fixed size, all zero. From kLarge on it is asked for in large pages: where
// the system has them, filling it costs a small part of what it does otherwise.
//
// Large pieces that were given back wait for somebody who wants one of their size and doesn't need
// it to be zero: up to kMostKept bytes of the process, which the system may take when it is short
// of memory.
//
// Threads   one at a time; Take, TakeAny and Give: any.
// Order     the mutex of what waits is a leaf.
// Errors    std::bad_alloc.
class ZRLargeMemory {
 public:
  static constexpr std::size_t kLarge = std::size_t{1} << 20;      // bytes
  static constexpr std::size_t kMostKept = std::size_t{64} << 20;  // bytes

  ZRLargeMemory() = default;
  explicit ZRLargeMemory(std::size_t bytes) : data(Take(bytes)), size(bytes) {}
  // The same with anything in it.
  [[nodiscard]] static ZRLargeMemory Any(std::size_t bytes) {
    return ZRLargeMemory(TakeAny(bytes), bytes);
  }
  ~ZRLargeMemory() { Give(data, size); }
  ZRLargeMemory(ZRLargeMemory&& other) noexcept
      : data(std::exchange(other.data, nullptr)), size(std::exchange(other.size, 0)) {}
  ZRLargeMemory& operator=(ZRLargeMemory&& other) noexcept {
    std::swap(data, other.data);
    std::swap(size, other.size);
    return *this;
  }

  [[nodiscard]] void* Data() const { return data; }
  [[nodiscard]] std::size_t Size() const { return size; }  // bytes

  // The same without an owner. Null for 0 bytes; null is given back by Give too.
  [[nodiscard]] static void* Take(std::size_t bytes);
  [[nodiscard]] static void* TakeAny(std::size_t bytes);
  static void Give(void* data, std::size_t bytes) noexcept;

 private:
  ZRLargeMemory(void* toOwn, std::size_t bytes) : data(toOwn), size(bytes) {}

  void* data = nullptr;
  std::size_t size = 0;
};

// From now on the process gives back to the system what it has freed: large pieces at once, and
// there are no more heaps than processors, two at least. What many threads take one after the other
// adds up to little then. Before a thread is started.
void GiveBackWhatIsFreed();

// For containers of the standard library.
template <typename T>
struct ZRLargeAllocator {
  using value_type = T;
  // NOLINTNEXTLINE(bugprone-sizeof-expression): of a pointer, where T is one
  static constexpr std::size_t kEach = sizeof(T);

  ZRLargeAllocator() = default;
  template <typename Other>
  // NOLINTNEXTLINE(google-explicit-constructor): as containers want it
  explicit(false) ZRLargeAllocator(const ZRLargeAllocator<Other>& /*other*/) {}

  [[nodiscard]] T* allocate(std::size_t count) {
    return static_cast<T*>(ZRLargeMemory::TakeAny(count * kEach));
  }
  void deallocate(T* data, std::size_t count) noexcept { ZRLargeMemory::Give(data, count * kEach); }
  bool operator==(const ZRLargeAllocator& /*other*/) const { return true; }
};
