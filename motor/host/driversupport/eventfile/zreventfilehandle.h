// An open file or folder that is closed in the end, and whole transfers.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/platform/zrfilesystem.h"

// Owns a handle of a file system, or none.
class ZREventFileHandle {
 public:
  ZREventFileHandle() = default;
  ZREventFileHandle(ZRFileSystem& of, ZRFileSystem::tagHandle toOwn) : files(&of), handle(toOwn) {}
  ~ZREventFileHandle() { Close(); }
  ZREventFileHandle(ZREventFileHandle&& other) noexcept
      : files(other.files), handle(other.Release()) {}
  ZREventFileHandle& operator=(ZREventFileHandle&& other) noexcept;

  [[nodiscard]] bool IsOpen() const { return handle != ZRFileSystem::kNone; }
  [[nodiscard]] ZRFileSystem::tagHandle Get() const { return handle; }
  [[nodiscard]] ZRFileSystem& Files() const { return *files; }  // of an open one
  // Leaves errno as it is.
  void Close();

  // Transfer all of `count` bytes. Read gives how many there are before the end of the file; -1 on
  // failure, with errno.
  [[nodiscard]] std::int64_t Read(void* to, std::size_t count, std::uint64_t at) const;
  [[nodiscard]] bool Write(const void* from, std::size_t count, std::uint64_t at) const;

 private:
  ZRFileSystem::tagHandle Release();

  ZRFileSystem* files = nullptr;
  ZRFileSystem::tagHandle handle = ZRFileSystem::kNone;
};
