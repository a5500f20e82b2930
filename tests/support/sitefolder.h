// A site on the disk, in a folder of its own that goes with the object.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "support/text.h"

class SiteFolder {
 public:
  explicit SiteFolder(const std::string& settings = "name = \"Test\"\n") {
    std::string pattern = (std::filesystem::temp_directory_path() / "tessaly-test-XXXXXX").string();
    path = ::mkdtemp(pattern.data());
    std::filesystem::create_directory(path / "config");
    std::filesystem::create_directory(path / "data");
    Write("tessaly.toml", settings);
  }
  ~SiteFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  SiteFolder(const SiteFolder&) = delete;
  SiteFolder& operator=(const SiteFolder&) = delete;

  void Write(const std::string& name, const std::string& content) const {
    std::ofstream(path / name, std::ios::binary) << content;
  }
  void Remove(const std::string& name) const { std::filesystem::remove(path / name); }
  [[nodiscard]] ZRWString WidePath() const { return Wide(path.string()); }

  std::filesystem::path path;
};
