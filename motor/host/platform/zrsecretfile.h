// A file that holds secrets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// A regular file that belongs to the user of this process and that nobody else may read or change.
// Paths are UTF-8; only the way to the folder may go through symbolic links.
//
// Threads   any; writers one at a time, which is the caller's matter.
// Promise   whoever reads gets the content before a Replace or the one after it, whole. So does
//           who reads after a power cut.
class ZRSecretFile {
 public:
  enum class tagAnswer { kDone, kMissing, kRefused };

  // Differs after the file has been replaced or written, and after its mode or owner has changed.
  struct tagStamp {
    std::uint64_t device = 0;
    std::uint64_t number = 0;
    std::int64_t size = -1;  // -1: there is no such file
    std::int64_t seconds = 0;
    std::int64_t nanoseconds = 0;
    bool operator==(const tagStamp&) const = default;
  };

  ZRSecretFile(std::string itsFolder, std::string itsName);

  // kRefused with a reason ("its mode must be 0600: ...") if it isn't such a file, is larger than
  // `limit` bytes, or can't be read. The reason quotes nothing of the file.
  [[nodiscard]] tagAnswer Read(std::size_t limit, std::string& content, std::string& reason) const;
  // Makes or replaces it. False with a reason; then the file is as before.
  [[nodiscard]] bool Replace(std::string_view content, std::string& reason) const;
  [[nodiscard]] tagStamp Stamp() const;

 private:
  [[nodiscard]] bool ReplaceIn(int opened, std::string_view content) const;

  const std::string folder;
  const std::string name;
};
