// A site of many events as users write them: about 1.2 kB of XML each, two variables in a
// condition, a delay, three texts, an argument, a group.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/driversupport/zrdriver.h"

// How the store is filled.
struct tagPlausibleSite {
  int events = 0;
  int groups = 1;
};

// Writes a site into a temporary folder and reads its settings. The folder goes with the object.
class PlausibleSite {
 public:
  explicit PlausibleSite(const tagPlausibleSite& shape);
  ~PlausibleSite();
  PlausibleSite(const PlausibleSite&) = delete;
  PlausibleSite& operator=(const PlausibleSite&) = delete;

  [[nodiscard]] ZRWString EventsFile() const;
  [[nodiscard]] std::size_t BytesOfXml() const { return bytes; }

 private:
  std::string folder;
  std::size_t bytes = 0;
};

// A driver named "plant" with the variables that the events read.
class PlantDriver final : public ZRDriver {
 public:
  static constexpr int kVariables = 1000;

  PlantDriver();
  // Quiet: no condition holds. Active: every condition holds.
  void ShowQuiet();
  void ShowActive();
  void ShowNothing();  // every variable unavailable

 private:
  void Show(double value);
  std::vector<std::int64_t> numbers;
};
