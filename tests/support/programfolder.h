// A folder that is the whole of PATH for as long as the object lives.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

class ProgramFolder {
 public:
  ProgramFolder() {
    if (const char* const before = std::getenv("PATH")) former = before;
    std::string pattern = (std::filesystem::temp_directory_path() / "tessaly-path-XXXXXX").string();
    path = ::mkdtemp(pattern.data());
    (void)::setenv("PATH", path.c_str(), 1);
  }
  ~ProgramFolder() {
    (void)::setenv("PATH", former.c_str(), 1);
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  ProgramFolder(const ProgramFolder&) = delete;
  ProgramFolder& operator=(const ProgramFolder&) = delete;

  // Puts a file there, a program unless said otherwise. Its path.
  std::string Add(const std::string& name, const std::string& content = "",
                  bool isExecutable = true) const {
    using std::filesystem::perms;
    std::ofstream(path / name, std::ios::binary) << content;
    std::filesystem::permissions(path / name, isExecutable ? perms::owner_all : perms::owner_read);
    return (path / name).string();
  }

  std::filesystem::path path;

 private:
  std::string former;
};
