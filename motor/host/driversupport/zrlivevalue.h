// Live values: what a driver knows of a variable at present.
#pragma once

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string_view>

#include "host/platform/zrmutex.h"
#include "host/tools/zrbasicstring.h"

enum class ZRQuality : std::uint8_t {
  kUnknown,      // no driver has this variable
  kUnavailable,  // the driver has no value at present
  kGood,
};

// One variable's value, quality and time. A number and its quality are one word, so a reader
// never sees one without the other. Never moves in memory while somebody holds a reference.
//
// Threads   any; nobody who reads ever waits. Of several writers at once the last one stands.
class ZRLiveValue {
 public:
  static constexpr std::size_t kMaximumText = 255;  // bytes of UTF-8; longer texts are cut whole

  ZRLiveValue() = default;
  ~ZRLiveValue();
  ZRLiveValue(const ZRLiveValue&) = delete;
  ZRLiveValue& operator=(const ZRLiveValue&) = delete;

  // A number that isn't finite counts as unavailable. `utc` in ms since 1970.
  void SetNumber(double value, std::int64_t utc);
  // A text is cut before the first character that doesn't fit.
  void SetText(std::string_view utf8, std::int64_t utc);
  void SetUnavailable();
  // Forgets the time of the last good value too.
  void SetUnknown();

  // True, with the number, if the variable holds one. The fast path of an expression.
  [[nodiscard]] bool Number(double& value) const {
    value = NumberOrNan();
    return value == value;
  }
  // The number; a NaN if the variable holds none.
  [[nodiscard]] double NumberOrNan() const {
    return std::bit_cast<double>(word.load(std::memory_order_relaxed));
  }
  // True, with the text in `buffer` (of kMaximumText bytes) and its length, if it holds a text.
  [[nodiscard]] bool Text(char* buffer, std::size_t& length) const;
  [[nodiscard]] bool HoldsText() const { return word.load(std::memory_order_acquire) == kText; }
  [[nodiscard]] ZRQuality Quality() const {
    const std::uint64_t seen = word.load(std::memory_order_acquire);
    if (seen == kUnknown) return ZRQuality::kUnknown;
    return seen == kUnavailable ? ZRQuality::kUnavailable : ZRQuality::kGood;
  }
  // UTC in ms since 1970 of the last good value; 0 if there never was one. Not older than the
  // value that the same thread saw before.
  [[nodiscard]] std::int64_t LastGood() const { return lastGood.load(std::memory_order_acquire); }

 private:
  struct tagText;

  // What stands in the word when it isn't a number. All are NaN, which no number in it is.
  static constexpr std::uint64_t kUnknown = 0xFFF8'0000'0000'0001;
  static constexpr std::uint64_t kUnavailable = 0xFFF8'0000'0000'0002;
  static constexpr std::uint64_t kText = 0xFFF8'0000'0000'0003;

  [[nodiscard]] tagText& TextSlot();

  std::atomic<std::uint64_t> word{kUnknown};
  std::atomic<std::int64_t> lastGood{0};
  std::atomic<tagText*> text{nullptr};  // owned, made by the first text and kept
};

// Publishes variables that are too many to be published before somebody asks for them.
class ZRLiveSource {
 public:
  // Publishes the variable of that full name, if it has it. From any thread.
  virtual void Bring(const ZRWString& fullName) = 0;

 protected:
  ~ZRLiveSource() = default;
};

// The names of all variables, and who refers to them. A name that an expression refers to before
// any driver has it exists too, with quality kUnknown, until a driver publishes it.
//
// Threads   any; a leaf lock inside, which isn't held while the source is asked. Nothing of it is
// on the path of an evaluation.
class ZRLiveValues {
 public:
  [[nodiscard]] static ZRLiveValues& Get();

  ZRLiveValues();
  ~ZRLiveValues();
  ZRLiveValues(const ZRLiveValues&) = delete;
  ZRLiveValues& operator=(const ZRLiveValues&) = delete;

  // The variable of that full name ("driver.variable"), made if nobody knows it yet, with one
  // more reference. Each Reference is given back by one Release; a variable that is neither
  // referred to nor published is forgotten.
  [[nodiscard]] ZRLiveValue* Reference(std::wstring_view fullName);
  [[nodiscard]] ZRLiveValue* Reference(const ZRWString& fullName) {
    return Reference(fullName.View());
  }
  void Release(ZRLiveValue* value);

  // A driver takes up a name (unavailable until it writes), and gives it up (unknown again, once
  // nobody else has published it). Each counts as a reference.
  [[nodiscard]] ZRLiveValue* Publish(const ZRWString& fullName);
  void Withdraw(ZRLiveValue* value);

  // The value of a published name with one more reference, or null.
  [[nodiscard]] ZRLiveValue* Find(const ZRWString& fullName);
  // The source isn't asked.
  [[nodiscard]] bool IsPublished(const ZRWString& fullName);

  // Who is asked for a name that nobody has published when it is referred to or looked for; at once
  // for all those that are referred to already. Null, as in the beginning: nobody.
  void UseSource(ZRLiveSource* toAsk);

  // Number of names that somebody refers to or has published.
  [[nodiscard]] std::size_t Size();

 private:
  struct tagEntry;
  struct tagNames;

  tagEntry* Enter(std::wstring_view fullName) ZR_REQUIRES(mutex);
  void Leave(tagEntry* entry) ZR_REQUIRES(mutex);

  [[nodiscard]] ZRLiveValue* FindPublished(std::wstring_view fullName);
  void Ask(std::wstring_view fullName);

  std::atomic<ZRLiveSource*> source{nullptr};
  ZRMutex mutex;
  const std::unique_ptr<tagNames> names;  // what it holds is protected by `mutex`
};
