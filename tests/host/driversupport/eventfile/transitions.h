// Short forms for the records of a data file.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
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
inline const tagTransition kSpoiled{0, 0, -1, ""};
// Reading several at once gives the same, from wherever and in whatever pieces.
inline void ExpectTheSameInPieces(ZREventFile& file, std::vector<tagTransition> records) {
  const int from = file.numRecords / 3;
  records.erase(records.begin(), records.begin() + from);
  records.erase(std::remove(records.begin(), records.end(), kSpoiled), records.end());
  std::vector<tagTransition> found;
  std::array<ZREventFile::tagFields, 7> piece;
  int index = from;
  while (const std::size_t count = file.ReadFrom(index, piece.data(), piece.size())) {
    for (std::size_t i = 0; i != count; ++i)
      found.push_back({Occurrence(piece[i].id), piece[i].date, piece[i].value,
                       std::string(piece[i].annotation)});
  }
  EXPECT_EQ(found, records);
  EXPECT_EQ(index, file.numRecords);
}

inline std::vector<tagTransition> Load(const ZRWString& path) {
  std::vector<tagTransition> found;
  ZREventFile file(true);
  EXPECT_TRUE(file.Open(path.Text(), true)) << Narrow(path);
  for (int i = 0; i < file.numRecords; ++i)
    found.push_back(file.GoRecord(i) ? Current(file) : kSpoiled);
  ExpectTheSameInPieces(file, found);
  return found;
}
