// Data files on a disk in memory, in virtual time.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/driversupport/eventfile/transitions.h"
#include "host/driversupport/eventfile/zreventfilesync.h"
#include "host/platform/zrvirtualtime.h"
#include "support/crashingdisk.h"

class DataFolder {
 public:
  using tagBytes = ZRCrashingDisk::tagBytes;
  static constexpr const char* kFile = "2024/03/Boiler 03-2024.suc";

  explicit DataFolder(std::uint64_t seed = 1) : disk(seed) {
    time.SetFiles(&disk);
    ZREventFileSync::Get().SetDurability(ZRDurability::kStrict);
  }
  ~DataFolder() {
    ZREventFileSync::Get().Stop();
    ZREventFileSync::Get().SetDurability(ZRDurability::kAdaptive);
  }
  DataFolder(const DataFolder&) = delete;
  DataFolder& operator=(const DataFolder&) = delete;

  // The bytes of a file; none if there is no such file.
  [[nodiscard]] tagBytes Bytes(const std::string& below = kFile) const {
    const tagBytes* const content = disk.Content(below);
    return content != nullptr ? *content : tagBytes();
  }
  // The paths of all files, in order.
  [[nodiscard]] std::vector<std::string> Files() const {
    std::vector<std::string> files;
    for (const auto& found : disk.Snapshot())
      if (!found.isFolder) files.push_back(found.path);
    return files;
  }

  ZRVirtualTime time;
  ZRCrashingDisk disk;
  const ZRWString path = L"/data/2024/03/Boiler 03-2024.suc";
};
