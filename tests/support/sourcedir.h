// Files of the repository.
#pragma once

#include <string>

// The whole path of a file or folder of the repository: "docs/settings.md".
std::string RepositoryPath(const std::string& path);
