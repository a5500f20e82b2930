// What has happened to one event in a period.
#pragma once

#include <cstdint>

#include "tessaly/zrcountperiod.h"

// Counts of marks, and the whole seconds of each time that the event was active, within a period.
// Times are UTC in ms.
//
// Threads   a plain value.
class ZREventCounts {
 public:
  // Nothing has happened from `periodBegin` on; kNever for a period without a beginning.
  explicit ZREventCounts(std::int64_t periodBegin = ZRCountPeriod::kNever) : begin(periodBegin) {}

  // Takes the event for one that was active when the period began, unless a mark tells otherwise.
  void SupposeActive() { since = begin; }
  // A mark of zrevents/zreventstatus.h. One from before the period isn't counted, but an
  // activation's seconds are, from the beginning on.
  void Note(int mark, std::int64_t utc);
  // Adds what the same period held before these counts began. An occurrence that had no end there
  // adds no seconds: it isn't known when that came.
  void Add(const ZREventCounts& earlier);
  // Begins again with nothing. What is active is so from the new beginning on.
  void Restart(std::int64_t periodBegin);

  [[nodiscard]] std::int64_t Begin() const { return begin; }
  [[nodiscard]] std::uint32_t Activations() const { return activations; }
  [[nodiscard]] std::uint32_t Deactivations() const { return deactivations; }
  [[nodiscard]] std::uint32_t Acknowledgements() const { return acknowledgements; }
  // With those of an occurrence that goes on at `utc`.
  [[nodiscard]] std::int64_t Seconds(std::int64_t utc) const { return seconds + Running(utc); }

 private:
  [[nodiscard]] std::int64_t Running(std::int64_t utc) const;

  std::int64_t begin;
  std::int64_t since = ZRCountPeriod::kNever;  // what is active counts from there
  std::int64_t seconds = 0;                    // of what has ended
  std::uint32_t activations = 0;
  std::uint32_t deactivations = 0;
  std::uint32_t acknowledgements = 0;
};
