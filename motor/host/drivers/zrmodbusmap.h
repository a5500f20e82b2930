// Register maps: which registers a kind of device has, as settings say it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/drivers/zrdriversettings.h"
#include "host/modbus/zrmodbusregister.h"

// Of one device.
inline constexpr std::size_t kMostModbusRegisters = 10'000;

// Reads the registers of a table of settings and adds them to `registers`, whose names stay
// different from each other. `base` is added to their addresses; without it the table's own is.
// False, with problems, for anything that is wrong.
[[nodiscard]] bool ReadModbusMap(ZRDriverSettings& settings, std::optional<int> base,
                                 std::vector<ZRSettingProblem>& problems,
                                 std::vector<ZRModbusRegister>& registers);

// The same for the text of a map file, called `file` in problems, which have its lines in their
// texts.
[[nodiscard]] bool ReadModbusProfile(std::string_view toml, const std::string& file,
                                     std::optional<int> base,
                                     std::vector<ZRSettingProblem>& problems,
                                     std::vector<ZRModbusRegister>& registers);
