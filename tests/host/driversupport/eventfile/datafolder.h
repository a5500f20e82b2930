// A data folder on the disk, that goes with the object, and short forms for the records in it.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "host/driversupport/eventfile/zreventfile.h"
#include "support/text.h"

// What a record holds.
struct tagTransition {
  std::uint64_t occurrence = 0;
  double date = 0;  // the stored form
  double value = 1;
  std::string annotation;
  bool operator==(const tagTransition&) const = default;
};
inline void PrintTo(const tagTransition& transition, std::ostream* out) {
  *out << transition.occurrence << " at " << transition.date << ": " << transition.value << " '"
       << transition.annotation.substr(0, 40) << "'";
}

inline uuid OccurrenceId(std::uint64_t number) {
  uuid id;
  for (std::size_t i = 0; i < 8; ++i)
    id.bytes[i] = static_cast<std::uint8_t>(number >> (8 * i));
  id.bytes[15] = 0xEE;
  return id;
}
inline std::uint64_t Occurrence(const uuid& id) {
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < 8; ++i)
    number |= std::uint64_t{id.bytes[i]} << (8 * i);
  return number;
}

// Seconds behind the begin of March 2024.
inline double Date(double seconds) {
  constexpr std::int64_t kMarch = 1'709'251'200'000;
  return static_cast<double>(
      ZRDateTime::FromUtcMilliseconds(kMarch + static_cast<std::int64_t>(seconds * 1000)));
}

inline void Fill(ZREventFile& file, const tagTransition& transition) {
  ZRDateTime date(transition.date);
  file.SetEventId(OccurrenceId(transition.occurrence));
  file.SetDateValue(date);
  file.SetEventValue(transition.value);
  file.SetEventAnnotation(ZRString(transition.annotation));
}

inline tagTransition Current(const ZREventFile& file) {
  uuid id;
  file.EventId(id);
  return {Occurrence(id), file.DateValue(), file.EventValue(),
          std::string(file.EventAnnotationView())};
}

inline const ZREventFile::CNewFileTemplate kNewFile(ZREventFile::kType, ZREventFile::kCapacity);

// Appends as the engine does. False if the record is to be tried again.
inline bool Save(const ZRWString& path, const tagTransition& transition) {
  ZREventFile file(true);
  const bool isOpen = file.Open(path.Text(), false) ||
                      (ZREventFile::Create(path.Text(), kNewFile) && file.Open(path.Text(), false));
  if (!isOpen) return false;
  (void)file.NewRecord();
  Fill(file, transition);
  return file.Update();
}

// All records by index; a damaged one is of no occurrence and has the value -1.
inline const tagTransition kDamaged{0, 0, -1, ""};
inline std::vector<tagTransition> Load(const ZRWString& path) {
  std::vector<tagTransition> found;
  ZREventFile file(true);
  EXPECT_TRUE(file.Open(path.Text(), true)) << Narrow(path);
  for (int i = 0; i < file.numRecords; ++i)
    found.push_back(file.GoRecord(i) ? Current(file) : kDamaged);
  return found;
}

class DataFolder {
 public:
  DataFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tessaly-data-XXXXXX").string();
    path = ::mkdtemp(pattern.data());
  }
  ~DataFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  DataFolder(const DataFolder&) = delete;
  DataFolder& operator=(const DataFolder&) = delete;

  [[nodiscard]] ZRWString Path(const std::string& name = "Boiler 03-2024.suc",
                               const std::string& month = "2024/03") const {
    return Wide((path / month / name).string());
  }
  [[nodiscard]] std::string Bytes(const std::string& name = "Boiler 03-2024.suc") const {
    std::ifstream file(path / "2024/03" / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }
  void SetBytes(const std::string& bytes, const std::string& name = "Boiler 03-2024.suc") const {
    std::filesystem::create_directories(path / "2024/03");
    std::ofstream(path / "2024/03" / name, std::ios::binary) << bytes;
  }
  // Names in the month's folder, in order.
  [[nodiscard]] std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path / "2024/03"))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }

  std::filesystem::path path;
};
