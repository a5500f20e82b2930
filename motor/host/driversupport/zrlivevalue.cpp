#include "host/driversupport/zrlivevalue.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

// Two copies of the text. A writer fills the one that isn't current and then makes it current, so
// a reader starts again only when two whole texts were written while it was reading one.
struct ZRLiveValue::tagText {
  static constexpr std::size_t kWords = (kMaximumText + 8) / 8;

  struct tagCopy {
    std::atomic<std::uint64_t> length{0};
    std::array<std::atomic<std::uint64_t>, kWords> words{};
  };

  ZRMutex mutex;                          // writers only
  std::atomic<std::uint32_t> version{0};  // its lowest bit tells the current copy
  std::array<tagCopy, 2> copies;
};

namespace {

constexpr bool IsContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// The longest beginning of `utf8` within `most` bytes that cuts no character.
std::string_view CutWhole(std::string_view utf8, std::size_t most) {
  if (utf8.size() <= most) return utf8;
  std::size_t end = most;
  while (end > 0 && IsContinuation(utf8[end]))
    --end;
  return utf8.substr(0, end);
}

}  // namespace

ZRLiveValue::~ZRLiveValue() {
  const std::unique_ptr<tagText> owned(text.load(std::memory_order_acquire));
}

void ZRLiveValue::SetNumber(double value, std::int64_t utc) {
  if (!std::isfinite(value)) {
    SetUnavailable();
    return;
  }
  lastGood.store(utc, std::memory_order_release);
  word.store(std::bit_cast<std::uint64_t>(value), std::memory_order_release);
}

void ZRLiveValue::SetText(std::string_view utf8, std::int64_t utc) {
  const std::string_view kept = CutWhole(utf8, kMaximumText);
  tagText& slot = TextSlot();
  {
    const ZRMutexLock lock(slot.mutex);
    const std::uint32_t next = slot.version.load(std::memory_order_relaxed) + 1;
    tagText::tagCopy& copy = slot.copies[next % 2];
    // Released one by one: whoever sees a word of this text also sees that the copy was left.
    copy.length.store(kept.size(), std::memory_order_release);
    for (std::size_t at = 0; at < kept.size(); at += 8) {
      std::uint64_t bytes = 0;
      std::memcpy(&bytes, kept.data() + at, std::min<std::size_t>(8, kept.size() - at));
      copy.words[at / 8].store(bytes, std::memory_order_release);
    }
    slot.version.store(next, std::memory_order_release);
  }
  lastGood.store(utc, std::memory_order_release);
  word.store(kText, std::memory_order_release);
}

void ZRLiveValue::SetUnavailable() {
  word.store(kUnavailable, std::memory_order_release);
}

void ZRLiveValue::SetUnknown() {
  lastGood.store(0, std::memory_order_release);
  word.store(kUnknown, std::memory_order_release);
}

bool ZRLiveValue::Text(char* buffer, std::size_t& length) const {
  if (!HoldsText()) return false;
  const tagText& slot = *text.load(std::memory_order_acquire);
  std::uint32_t version = slot.version.load(std::memory_order_acquire);
  for (;;) {
    const tagText::tagCopy& copy = slot.copies[version % 2];
    length = copy.length.load(std::memory_order_acquire);
    for (std::size_t at = 0; at < length; at += 8) {
      const std::uint64_t bytes = copy.words[at / 8].load(std::memory_order_acquire);
      std::memcpy(buffer + at, &bytes, std::min<std::size_t>(8, length - at));
    }
    const std::uint32_t now = slot.version.load(std::memory_order_acquire);
    if (now == version) return true;
    version = now;
  }
}

ZRLiveValue::tagText& ZRLiveValue::TextSlot() {
  tagText* slot = text.load(std::memory_order_acquire);
  if (slot != nullptr) return *slot;
  auto made = std::make_unique<tagText>();
  if (text.compare_exchange_strong(slot, made.get(), std::memory_order_acq_rel)) {
    slot = made.release();
  }
  return *slot;
}
