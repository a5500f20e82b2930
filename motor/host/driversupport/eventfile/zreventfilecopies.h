// Small data files that were read before.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "host/platform/zrfilesystem.h"

// What questions about many events read of their files again and again: to ask the system whether
// a file has changed costs less than half of opening, reading and closing it. A file is kept when
// it is asked for again. Keeps nothing before Begin and behind End, and at most kMostBytes of the
// process: with more it begins anew.
//
// Threads   any.
// Order     its mutex is a leaf.
class ZREventFileCopies {
 public:
  static constexpr std::size_t kMostOfFile = 8192;                  // bytes
  static constexpr std::size_t kMostBytes = std::size_t{32} << 20;  // with what each costs besides

  class CCopy {
   public:
    CCopy(const ZRFileSystem& from, std::string_view path, const ZRFileSystem::tagStamp& before,
          std::string_view bytes);
    [[nodiscard]] bool IsOf(const ZRFileSystem& from, std::string_view path) const {
      return files == &from && std::string_view(text).substr(0, pathLength) == path;
    }
    // From before it was read.
    [[nodiscard]] const ZRFileSystem::tagStamp& Stamp() const { return stamp; }
    [[nodiscard]] std::string_view Bytes() const {
      return std::string_view(text).substr(pathLength);
    }
    [[nodiscard]] std::size_t Cost() const;  // bytes of memory, about

   private:
    const ZRFileSystem* files;
    ZRFileSystem::tagStamp stamp;
    std::size_t pathLength;
    std::string text;  // the path, and behind it the file
  };

  [[nodiscard]] static ZREventFileCopies& Get();

  void Begin();
  void End();

  struct tagFound {
    std::shared_ptr<const CCopy> copy;  // null for none
    bool isToKeep = false;              // what is read now, as it was read before
  };
  // What is kept of a file that is about to be read.
  [[nodiscard]] tagFound Find(const ZRFileSystem& files, std::string_view path);
  // Replaces what is kept of a file; one that is too large is left out.
  void Keep(const ZRFileSystem& files, std::string_view path, const ZRFileSystem::tagStamp& stamp,
            std::string_view bytes);

 private:
  class CTable;
  class CState;
  ZREventFileCopies();
  ~ZREventFileCopies();

  const std::unique_ptr<CState> state;
};
