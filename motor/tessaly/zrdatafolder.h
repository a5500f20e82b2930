// The folder of a site's event data files.
#pragma once

#include <string>
#include <vector>

#include "host/support/zrtessalysetup.h"
#include "tessaly/zrfinding.h"

// Makes the data folder if it is missing, but not the folders on the way to it, and tries to write
// there. kDropped if no history can be kept.
void PrepareDataFolder(const ZRTessalySetup& setup, ZRFindings& findings);
// The same, as far as it can be told without a change: kHint for a folder that would be made.
void CheckDataFolder(const ZRTessalySetup& setup, ZRFindings& findings);

// A file in the folder of a month.
struct ZRDataFile {
  enum class tagKind {
    kRecords,     // an event data file, by its name
    kTorn,        // what was set aside of one
    kUnfinished,  // a file whose making was cut off
    kOther
  };

  tagKind kind = tagKind::kOther;
  std::string name;  // below the data folder, UTF-8: "2026/11/Pump 11-2026.suc"
};

// Every file of every month, ascending by year, month and name. False if the data folder can't be
// read. `dataFolder` ends in its separator.
[[nodiscard]] bool ListDataFiles(const std::string& dataFolder, std::vector<ZRDataFile>& files);

[[nodiscard]] ZRDataFile::tagKind KindOfDataFile(std::string_view name);
