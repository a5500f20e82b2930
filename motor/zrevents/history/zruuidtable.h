// Finds things by an id that they hold themselves.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "host/platform/zrlargememory.h"
#include "host/tools/zruuid.h"

// Numbers of things, each under the id of its thing, each id once. The table doesn't keep the ids:
// it asks `idOf(number)`, which gives the id of a thing.
//
// Threads   one at a time.
class ZRUuidTable {
 public:
  static constexpr std::uint32_t kNone = 0xFFFFFFFFu;  // no number

  // The number under an id, or kNone.
  template <typename IdOf>
  [[nodiscard]] std::uint32_t Find(const uuid& id, IdOf idOf) const {
    if (used == 0) return kNone;
    const std::uint32_t mark = MarkOf(id);
    for (std::size_t at = mark >> shift;; at = (at + 1) & mask) {
      const tagSlot& slot = Slots()[at];
      if (slot.place == 0) return kNone;
      if (slot.mark == mark && idOf(slot.place - 1) == id) return slot.place - 1;
    }
  }

  // The same; but if there is none, keeps `number` under the id and gives kNone.
  template <typename IdOf>
  std::uint32_t FindOrAdd(const uuid& id, std::uint32_t number, IdOf idOf) {
    if ((used + 1) * kRoom > capacity * kLoad) Grow(capacity == 0 ? kFirstCapacity : capacity * 4);
    const std::uint32_t mark = MarkOf(id);
    for (std::size_t at = mark >> shift;; at = (at + 1) & mask) {
      tagSlot& slot = Slots()[at];
      if (slot.place == 0) {
        slot = {mark, number + 1};
        ++used;
        return kNone;
      }
      if (slot.mark == mark && idOf(slot.place - 1) == id) return slot.place - 1;
    }
  }

  // Puts `number` in the place of the one that is under the id, which must be there.
  template <typename IdOf>
  void Replace(const uuid& id, std::uint32_t number, IdOf idOf) {
    const std::uint32_t mark = MarkOf(id);
    std::size_t at = mark >> shift;
    while (Slots()[at].mark != mark || idOf(Slots()[at].place - 1) != id)
      at = (at + 1) & mask;
    Slots()[at].place = number + 1;
  }

  // Asks the processor to bring near what Find and FindOrAdd will read.
  // Inlined by force: the compiler drops calls of a function that does nothing but this.
  [[gnu::always_inline]] void Prefetch(const uuid& id) const {
    if (used != 0) __builtin_prefetch(&Slots()[MarkOf(id) >> shift], 1);
  }

  void Clear() { *this = ZRUuidTable(); }

 private:
  struct tagSlot {
    std::uint32_t mark;   // of the id; its upper bits say where the slot would be best
    std::uint32_t place;  // the number and one; 0: free
  };
  // Slots are used up to 5 of 8.
  static constexpr std::size_t kLoad = 5;
  static constexpr std::size_t kRoom = 8;
  static constexpr std::size_t kFirstCapacity = 16;
  static constexpr unsigned kMarkBits = 32;

  [[nodiscard]] static std::uint32_t MarkOf(const uuid& id) {
    constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15u;
    return static_cast<std::uint32_t>((std::hash<uuid>()(id) * kSpread) >> kMarkBits);
  }
  [[nodiscard]] tagSlot* Slots() const { return static_cast<tagSlot*>(memory.Data()); }

  // Goes through the old slots and the new ones from front to back, as the marks' upper bits are
  // the places.
  void Grow(std::size_t slotsToHave) {
    const ZRLargeMemory old = std::exchange(memory, ZRLargeMemory(slotsToHave * sizeof(tagSlot)));
    const auto* const slots = static_cast<const tagSlot*>(old.Data());
    const std::size_t count = std::exchange(capacity, slotsToHave);
    mask = capacity - 1;
    shift = kMarkBits - static_cast<unsigned>(std::countr_zero(capacity));
    for (std::size_t i = 0; i < count; ++i)
      if (slots[i].place != 0) Put(slots[i]);
  }
  void Put(const tagSlot& slot) {
    std::size_t at = slot.mark >> shift;
    while (Slots()[at].place != 0)
      at = (at + 1) & mask;
    Slots()[at] = slot;
  }

  ZRLargeMemory memory;
  std::size_t capacity = 0;  // slots; a power of two, or 0
  std::size_t used = 0;
  std::size_t mask = 0;
  unsigned shift = 0;
};
