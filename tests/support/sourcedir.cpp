#include "support/sourcedir.h"

std::string RepositoryPath(const std::string& path) {
  return std::string(ZR_SOURCE_DIR) + "/" + path;
}
