#include "tessaly/zrsitelock.h"

#include <cerrno>
#include <system_error>

#include "host/platform/zrplatform.h"

namespace {

ZRFileSystem::tagHandle OpenLockFile(ZRFileSystem& files, const std::string& folder) {
  const ZRFileSystem::tagHandle site = files.OpenFolder(folder.c_str());
  if (site == ZRFileSystem::kNone) return ZRFileSystem::kNone;
  ZRFileSystem::tagHandle file =
      files.OpenFile(site, ZRSiteLock::kFileName, ZRFileSystem::tagAccess::kCreate);
  if (file == ZRFileSystem::kNone && errno == EEXIST)
    file = files.OpenFile(site, ZRSiteLock::kFileName, ZRFileSystem::tagAccess::kReadWrite);
  const int error = errno;
  files.Close(site);
  errno = error;
  return file;
}

}  // namespace

ZRSiteLock::~ZRSiteLock() {
  ZRPlatform::Get().Files().Close(file);
}

ZRSiteLock::tagAnswer ZRSiteLock::Take(const std::string& folder) {
  ZRFileSystem& files = ZRPlatform::Get().Files();
  file = OpenLockFile(files, folder);
  if (file != ZRFileSystem::kNone && files.TryLock(file)) return tagAnswer::kTaken;
  const int error = errno;
  reason = std::generic_category().message(error);
  return file != ZRFileSystem::kNone && error == EAGAIN ? tagAnswer::kBusy : tagAnswer::kImpossible;
}
