// What one file holds, on a disk that may lose power.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "support/chance.h"

// The bytes that reads see, in pages, and those that survive, in sectors. A write makes its pages
// dirty; the sectors of a dirty page may reach the disk at any time and in any order, each one
// whole or not at all, and so may the size.
class CrashingContent {
 public:
  using tagBytes = std::vector<std::uint8_t>;
  static constexpr std::size_t kSector = 512;
  static constexpr std::size_t kPage = 4096;

  [[nodiscard]] const tagBytes& Cached() const { return cached; }

  std::size_t Read(void* to, std::size_t count, std::size_t at, Chance& chance) {
    if (at >= cached.size()) return 0;
    const std::size_t moved = std::min(count, cached.size() - at);
    if (moved == 0) return 0;
    for (std::size_t page = at / kPage; page <= (at + moved - 1) / kPage; ++page)
      MayForget(page, chance);
    std::memcpy(to, cached.data() + at, moved);
    return moved;
  }

  void Write(const void* from, std::size_t count, std::size_t at, Chance& chance) {
    if (count == 0) return;
    if (at + count > cached.size()) SetCachedSize(at + count);
    for (std::size_t page = at / kPage; page <= (at + count - 1) / kPage; ++page) {
      MayForget(page, chance);
      MayReachTheDisk(page, chance);
      pages[page] = tagPage::kDirty;
    }
    std::memcpy(cached.data() + at, from, count);
    isDurable = false;
  }

  void Truncate(std::size_t size) {
    if (size == cached.size()) return;
    const bool shrinks = size < cached.size();
    SetCachedSize(size);
    if (shrinks) {
      cutTo = std::min(cutTo, size);
      if (size % kPage != 0) pages.back() = tagPage::kDirty;
    }
    isDurable = false;
  }

  // Everything but the pages that a failed sync has lost is durable.
  void Sync() {
    if (isDurable) return;
    CutDurable();
    durable.resize(cached.size());
    durableSize = cached.size();
    isDurable = true;
    for (std::size_t page = 0; page < pages.size(); ++page) {
      if (pages[page] == tagPage::kDirty) {
        StorePage(page);
        pages[page] = tagPage::kClean;
      }
      isDurable = isDurable && pages[page] == tagPage::kClean;
    }
  }

  // Some sectors may have got through. The pages are marked clean all the same: what a second
  // sync finds to write is what is written after this one.
  void FailSync(Chance& chance) {
    if (isDurable) return;
    const unsigned reaching = chance.Happens(500) ? 250 : 0;
    if (reaching != 0) CutDurable();
    for (std::size_t page = 0; page < pages.size(); ++page) {
      if (pages[page] != tagPage::kDirty) continue;
      StoreSectors(page, reaching, chance);
      pages[page] = tagPage::kLost;
    }
  }

  // What isn't durable yet survives sector by sector, each with that likelihood. Where the size
  // grew but the bytes are missing there are zeros, or rarely anything.
  void PowerCut(unsigned perMille, Chance& chance) {
    if (isDurable) return;
    if (cutTo != kNoCut && chance.Happens(perMille)) CutDurable();
    const bool findsGarbage = chance.Happens(100);
    const std::size_t sizeBefore = durableSize;
    for (std::size_t page = 0; page < pages.size(); ++page) {
      if (pages[page] != tagPage::kDirty) continue;
      if (findsGarbage) StoreGarbage(page, sizeBefore, chance);
      StoreSectors(page, perMille, chance);
    }
    durableSize = SizeAfterPowerCut(perMille, chance);
    durable.resize(durableSize);
    Restore();
  }

  // These bytes, durable.
  void Put(const tagBytes& bytes) {
    durable = bytes;
    durableSize = bytes.size();
    Restore();
  }

 private:
  enum class tagPage : std::uint8_t { kClean, kDirty, kLost };
  static constexpr std::size_t kNoCut = SIZE_MAX;

  void SetCachedSize(std::size_t size) {
    cached.resize(size);
    pages.resize((size + kPage - 1) / kPage, tagPage::kClean);
  }

  void Restore() {
    cached = durable;
    pages.assign((cached.size() + kPage - 1) / kPage, tagPage::kClean);
    cutTo = kNoCut;
    isDurable = true;
  }

  // A truncation reaches the disk.
  void CutDurable() {
    if (cutTo < durable.size()) durable.resize(cutTo);
    durableSize = std::min(durableSize, cutTo);
    cutTo = kNoCut;
  }

  void Store(std::size_t begin, std::size_t end) {
    end = std::min(end, cached.size());
    if (begin >= end) return;
    if (durable.size() < end) durable.resize(end);
    std::memcpy(durable.data() + begin, cached.data() + begin, end - begin);
  }
  void StorePage(std::size_t page) { Store(page * kPage, (page + 1) * kPage); }

  void StoreSectors(std::size_t page, unsigned perMille, Chance& chance) {
    const std::size_t end = std::min((page + 1) * kPage, cached.size());
    for (std::size_t begin = page * kPage; begin < end; begin += kSector) {
      if (chance.Happens(perMille)) Store(begin, begin + kSector);
    }
  }

  // Only where nothing durable was.
  void StoreGarbage(std::size_t page, std::size_t from, Chance& chance) {
    const std::size_t end = std::min((page + 1) * kPage, cached.size());
    const std::size_t firstSector = (from + kSector - 1) / kSector * kSector;
    const std::size_t begin = std::max(page * kPage, firstSector);
    if (begin >= end) return;
    if (durable.size() < end) durable.resize(end);
    for (std::size_t at = begin; at < end; ++at)
      durable[at] = static_cast<std::uint8_t>(chance.Next());
  }

  // A dirty page may be written long before anybody asks for it.
  void MayReachTheDisk(std::size_t page, Chance& chance) {
    if (pages[page] != tagPage::kDirty || cutTo != kNoCut) return;
    if (chance.Happens(125)) StoreSectors(page, 500, chance);
  }

  // A lost page may leave the memory; then reads see what is on the disk.
  void MayForget(std::size_t page, Chance& chance) {
    if (pages[page] != tagPage::kLost || cutTo != kNoCut) return;
    if (!chance.Happens(125)) return;
    const std::size_t end = std::min((page + 1) * kPage, cached.size());
    for (std::size_t at = page * kPage; at < end; ++at)
      cached[at] = at < durable.size() ? durable[at] : std::uint8_t{0};
    pages[page] = tagPage::kClean;
  }

  std::size_t SizeAfterPowerCut(unsigned perMille, Chance& chance) const {
    if (cached.size() <= durableSize || !chance.Happens(perMille)) return durableSize;
    if (!chance.Happens(250)) return cached.size();
    return durableSize + chance.Below(cached.size() - durableSize);
  }

  tagBytes cached;
  tagBytes durable;  // may hold sectors behind durableSize that were written early
  std::vector<tagPage> pages;
  std::size_t durableSize = 0;
  std::size_t cutTo = kNoCut;  // the least size of truncations that aren't durable
  bool isDurable = true;       // as it is cached
};
