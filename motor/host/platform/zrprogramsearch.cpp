#include "host/platform/zrprogramsearch.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace {

constexpr const char* kUsualFolders = "/usr/local/bin:/usr/bin:/bin";

bool CanBeExecuted(const std::string& path) {
  struct stat found {};
  return ::stat(path.c_str(), &found) == 0 && S_ISREG(found.st_mode) &&
         ::access(path.c_str(), X_OK) == 0;
}

}  // namespace

std::string ZRProgramSearch::Find(const std::string& name) {
  const char* const folders = std::getenv("PATH");  // NOLINT(concurrency-mt-unsafe): never set here
  return Find(name, folders != nullptr ? folders : kUsualFolders);
}

std::string ZRProgramSearch::Find(const std::string& name, std::string_view folders) {
  if (name.empty()) return {};
  if (name.find('/') != std::string::npos) return name;
  while (!folders.empty()) {
    const std::size_t end = folders.find(':');
    const std::string_view folder = folders.substr(0, end);
    folders = end == std::string_view::npos ? std::string_view() : folders.substr(end + 1);
    if (!folder.starts_with('/')) continue;
    std::string path = std::string(folder) + "/" + name;
    if (CanBeExecuted(path)) return path;
  }
  return {};
}
