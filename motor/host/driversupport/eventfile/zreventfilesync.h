// When records reach the disk for good.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/driversupport/eventfile/zreventfile.h"
#include "host/tools/zrbasicstring.h"

// How long a power cut may take back. The end of the process, however rough, takes back nothing.
enum class ZRDurability {
  kStrict,    // each record is durable before Update returns
  kAdaptive,  // the same for the first 50 in a second; those beyond within a second, all at once
  kOff,       // when the system likes
};

// The policy of the process, and the work that it puts off.
//
// Threads   any; Start and Stop on the host's.
// Order     its mutexes are taken behind `fileMutex` of an event; under the one that an append
//           takes nothing waits.
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
  friend class ZREventFile;
  class CState;
  ZREventFileSync();
  ~ZREventFileSync();

  // True if a record needn't be durable at once, which is decided and counted here.
  [[nodiscard]] bool MayPutOff();
  // False if it must be, after all. `root` is the data folder.
  [[nodiscard]] bool PutOff(const ZRWString& path, const char* root,
                            ZREventFile::tagWritten record);
  // Folders of a month whose names are known to be durable since Start.
  [[nodiscard]] bool IsDurableFolder(const std::string& folder) const;
  void NoteDurableFolder(const std::string& folder);
  void ForgetDurableFolder(const std::string& folder);

  const std::unique_ptr<CState> state;
};
