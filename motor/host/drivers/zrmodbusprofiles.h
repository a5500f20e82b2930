// The register maps that come with the program: the files of the repository's folder `profiles`.
#pragma once

#include <span>
#include <string_view>

struct ZRModbusProfile {
  std::string_view name;  // of the file, without ".toml"
  std::string_view toml;
};

[[nodiscard]] std::span<const ZRModbusProfile> ModbusProfiles();
