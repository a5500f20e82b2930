// What the paths of data files are made of.
#pragma once

#include <array>
#include <string_view>

// The size of the buffers for EventFileName, in wchar_t, and its types.
inline constexpr int kEventPathSize = 260;
inline constexpr int kEventHistory = 0;

using ZREventPath = std::array<wchar_t, kEventPathSize>;

// Whether a name can be a part of a path.
[[nodiscard]] inline bool IsPartOfPath(std::wstring_view name) {
  return name.find(L'/') == std::wstring_view::npos && name.find(L'\0') == std::wstring_view::npos;
}
