// What the paths of data files are made of.
#pragma once

#include <array>

// The size of the buffers for EventFileName, in wchar_t, and its types.
inline constexpr int kEventPathSize = 260;
inline constexpr int kEventHistory = 0;

using ZREventPath = std::array<wchar_t, kEventPathSize>;
