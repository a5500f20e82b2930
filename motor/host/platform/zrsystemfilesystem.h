// The system's own disk.
#pragma once

#include "host/platform/zrfilesystem.h"

class ZRSystemFileSystem : public ZRFileSystem {
 public:
  [[nodiscard]] tagHandle OpenFolder(const char* path) override;
  [[nodiscard]] tagHandle OpenFolder(tagHandle folder, const char* below) override;
  [[nodiscard]] tagHandle OpenFile(tagHandle folder, const char* below, tagAccess access) override;
  [[nodiscard]] tagHandle OpenSized(tagHandle folder, const char* below,
                                    std::int64_t& size) override;
  [[nodiscard]] tagHandle OpenStamped(tagHandle folder, const char* below,
                                      tagStamp& stamp) override;
  [[nodiscard]] bool Stamp(tagHandle folder, const char* below, tagStamp& stamp) override;
  [[nodiscard]] tagHandle OpenAlone(tagHandle folder, const char* below, bool& isTaken,
                                    std::int64_t& size) override;
  void Close(tagHandle handle) override;

  [[nodiscard]] std::int64_t Size(tagHandle file) override;
  [[nodiscard]] std::int64_t Read(tagHandle file, void* to, std::size_t count,
                                  std::uint64_t at) override;
  [[nodiscard]] std::int64_t Write(tagHandle file, const void* from, std::size_t count,
                                   std::uint64_t at) override;
  [[nodiscard]] bool Truncate(tagHandle file, std::uint64_t size) override;
  [[nodiscard]] bool TryLock(tagHandle file) override;

  [[nodiscard]] bool Sync(tagHandle file) override;
  [[nodiscard]] bool SyncFolder(tagHandle folder) override;
  [[nodiscard]] bool SyncAll(tagHandle handle) override;

  [[nodiscard]] bool MakeFolder(tagHandle folder, const char* below) override;
  [[nodiscard]] bool Rename(tagHandle folder, const char* from, const char* to) override;
  [[nodiscard]] bool Remove(tagHandle folder, const char* below) override;
};
