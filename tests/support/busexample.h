// The examples of docs/bus.md.
#pragma once

#include <fstream>
#include <string>

#include "support/sourcedir.h"

enum tagBusExample { kDefinitionExample, kStateExample, kTransitionExample, kDiscoveryExample };

// An example, on one line.
inline std::string BusExample(tagBusExample number) {
  std::ifstream page(RepositoryPath("docs/bus.md"));
  std::string example;
  int blocks = 0;
  bool inside = false;
  for (std::string line; std::getline(page, line);) {
    if (line == "```json") {
      inside = blocks++ == number;
    } else if (line == "```") {
      inside = false;
    } else if (inside) {
      example += line.substr(line.find_first_not_of(' '));
    }
  }
  return example;
}
