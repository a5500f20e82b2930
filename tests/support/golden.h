// Files of the repository that answers are compared with.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include "support/sourcedir.h"

// A file of the repository, byte for byte; its absence is a failure of the test.
inline std::string RepositoryFile(const std::string& path) {
  std::ifstream file(RepositoryPath(path), std::ios::binary);
  EXPECT_TRUE(file.is_open()) << path;
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}
inline std::string Golden(const std::string& name) {
  return RepositoryFile("tests/golden/" + name);
}

// The example of a page of the documentation: its first block of XML, without the last line end.
inline std::string PageExample(const std::string& path) {
  const std::string page = RepositoryFile(path);
  const std::string opening = "```xml\n";
  const std::size_t start = page.find(opening);
  EXPECT_NE(start, std::string::npos) << path;
  if (start == std::string::npos) return "";
  const std::size_t from = start + opening.size();
  return page.substr(from, page.find("\n```", from) - from);
}
