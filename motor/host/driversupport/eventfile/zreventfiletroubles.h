// What went wrong with data files, for the host to tell: the engine swallows it.
#pragma once

#include <cstdint>
#include <memory>

#include "host/tools/zrbasicstring.h"

enum class ZREventFileTrouble : int {
  kCreate,   // a file or its folder couldn't be made
  kOpen,     // a file that exists couldn't be opened
  kRefused,  // a file of another type, of a newer layout, or with a damaged head
  kWrite,    // a record couldn't be written
  kSync,     // or made durable
  kTorn,     // bytes behind the last whole record were set aside
  kDamaged,  // a record couldn't be read
};
inline constexpr int kEventFileTroubles = 7;

// Counts them, and writes one line into the log for each cause, at the level kLogDelivery: the same
// trouble with the same error number is told again only after a record could be written in between
// and a minute went by (or after an hour), and then with how often it came. kRefused, kTorn and
// kDamaged have a file for their cause: each is told of it at most once in an hour.
//
// Threads   any.
// Order     a leaf but for the log, which is called under no lock of its own.
class ZREventFileTroubles {
 public:
  [[nodiscard]] static ZREventFileTroubles& Get();

  // `error`: an errno, or 0.
  void Add(ZREventFileTrouble trouble, const ZRWString& path, int error);
  // A record was written: what was wrong with writing is over. Cheap if nothing was.
  void Cured();

  [[nodiscard]] std::uint64_t Count(ZREventFileTrouble trouble) const;

 private:
  class CState;
  ZREventFileTroubles();
  ~ZREventFileTroubles();

  const std::unique_ptr<CState> state;
};
