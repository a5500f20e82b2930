// Live values: what a driver knows of a variable at present.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
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
// Threads   written by one driver at a time, read by any thread without a lock.
class ZRLiveValue {
 public:
  static constexpr std::size_t kMaximumText = 255;  // bytes of UTF-8; longer texts are cut whole

  // A number that isn't finite counts as unavailable. `utc` in ms since 1970.
  void SetNumber(double value, std::int64_t utc);
  void SetText(std::string_view utf8, std::int64_t utc);
  void SetUnavailable();
  void SetUnknown();

  // True, with the number, if the variable holds one. The fast path of an expression.
  [[nodiscard]] bool Number(double& value) const;
  // True, with the text in `buffer` (of kMaximumText bytes) and its length, if it holds a text.
  [[nodiscard]] bool Text(char* buffer, std::size_t& length) const;
  [[nodiscard]] ZRQuality Quality() const;
  // UTC in ms since 1970 of the last good value; 0 if there never was one.
  [[nodiscard]] std::int64_t LastGood() const;

 private:
  // The driver support room completes the representation.
};

// The names of all variables, and who refers to them. A name that an expression refers to before
// any driver has it exists too, with quality kUnknown, until a driver publishes it.
//
// Threads   any; a leaf lock inside. Nothing of it is on the path of an evaluation.
class ZRLiveValues {
 public:
  [[nodiscard]] static ZRLiveValues& Get();

  // The variable of that full name ("driver.variable"), made if nobody knows it yet, with one
  // more reference. Each Reference is given back by one Release; a variable that is neither
  // referred to nor published is forgotten.
  [[nodiscard]] ZRLiveValue* Reference(const ZRWString& fullName);
  void Release(ZRLiveValue* value);

  // A driver takes up a name (unavailable until it writes), and gives it up (unknown again). Each
  // counts as a reference.
  [[nodiscard]] ZRLiveValue* Publish(const ZRWString& fullName);
  void Withdraw(ZRLiveValue* value);

  // The value of a published name with one more reference, or null.
  [[nodiscard]] ZRLiveValue* Find(const ZRWString& fullName);
};
