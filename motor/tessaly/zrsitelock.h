// Who works on a site.
#pragma once

#include <string>

#include "host/platform/zrfilesystem.h"

// The lock of a site: whoever writes its history holds it, so that no two do. The end of the
// process gives it back, however rough.
//
// Threads   one.
// Owns      the lock, until it is destroyed. The file `tessaly.lock` in the site's folder stays.
class ZRSiteLock {
 public:
  static constexpr const char* kFileName = "tessaly.lock";

  enum class tagAnswer {
    kTaken,
    kBusy,       // another process has it, or another object
    kImpossible  // the file can't be made or opened: Reason says why
  };

  ZRSiteLock() = default;
  ~ZRSiteLock();
  ZRSiteLock(const ZRSiteLock&) = delete;
  ZRSiteLock& operator=(const ZRSiteLock&) = delete;

  // Takes the lock of the site in `folder`, once.
  [[nodiscard]] tagAnswer Take(const std::string& folder);
  [[nodiscard]] const std::string& Reason() const { return reason; }

 private:
  ZRFileSystem::tagHandle file = ZRFileSystem::kNone;
  std::string reason;
};
