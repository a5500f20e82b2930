#include "host/driversupport/eventfile/zreventfilehandle.h"

#include <cerrno>
#include <utility>

ZREventFileHandle& ZREventFileHandle::operator=(ZREventFileHandle&& other) noexcept {
  if (this != &other) {
    Close();
    files = other.files;
    handle = other.Release();
  }
  return *this;
}

void ZREventFileHandle::Close() {
  if (!IsOpen()) return;
  const int error = errno;
  files->Close(Release());
  errno = error;
}

std::int64_t ZREventFileHandle::Read(void* to, std::size_t count, std::uint64_t at) const {
  if (!IsOpen()) {
    errno = EBADF;
    return -1;
  }
  std::size_t done = 0;
  while (done < count) {
    const std::int64_t moved =
        files->Read(handle, static_cast<unsigned char*>(to) + done, count - done, at + done);
    if (moved < 0) return -1;
    if (moved == 0) break;
    done += static_cast<std::size_t>(moved);
  }
  return static_cast<std::int64_t>(done);
}

bool ZREventFileHandle::Write(const void* from, std::size_t count, std::uint64_t at) const {
  std::size_t done = 0;
  while (done < count) {
    const std::int64_t moved = files->Write(handle, static_cast<const unsigned char*>(from) + done,
                                            count - done, at + done);
    if (moved < 0) return false;
    if (moved == 0) {
      errno = EIO;
      return false;
    }
    done += static_cast<std::size_t>(moved);
  }
  return true;
}

ZRFileSystem::tagHandle ZREventFileHandle::Release() {
  return std::exchange(handle, ZRFileSystem::kNone);
}
