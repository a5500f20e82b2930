// When records reach the disk for good.
#pragma once

#include <cstdint>

// How long a power cut may take back. The end of the process, however rough, takes back nothing.
enum class ZRDurability {
  kStrict,    // each record is durable before Update returns
  kAdaptive,  // the same for the first 50 in a second; those beyond within a second, all at once
  kOff,       // when the system likes
};

// The policy of the process, and the work that it puts off.
//
// Threads   any; Start and Stop on the host's.
// Order     its mutex is taken behind `fileMutex` of an event; under it nothing waits but a sync.
class ZREventFileSync {
 public:
  static constexpr int kAdaptivePerSecond = 50;

  [[nodiscard]] static ZREventFileSync& Get();

  void SetDurability(ZRDurability toUse);
  [[nodiscard]] ZRDurability Durability() const;

  // Begins and ends the thread that makes durable what was put off; Stop leaves nothing undone.
  // While it doesn't run, kAdaptive is kStrict.
  void Start();
  void Stop();

  // Makes durable at once what was put off. False if it can't be: it stays put off, and its bytes
  // are written again before the next attempt.
  bool Flush();

  // Records that were written but may not survive a power cut yet.
  [[nodiscard]] int Pending() const;

 private:
  ZREventFileSync();
  ~ZREventFileSync();
};
