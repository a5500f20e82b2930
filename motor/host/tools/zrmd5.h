// The digest that old clients of HTTP sign with. Good for nothing else.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

inline constexpr std::size_t kMd5Bytes = 16;

// MD5 (RFC 1321) as 32 lower-case hexadecimal digits. Empty where the system's cryptography
// refuses it: never take an empty digest for one that matches.
[[nodiscard]] std::string Md5Hex(std::string_view bytes);
