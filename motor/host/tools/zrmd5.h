// A digest for old clients only: it can be forged, so nothing is to be signed with it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

inline constexpr std::size_t kMd5Bytes = 16;

// MD5 (RFC 1321) of `length` bytes.
[[nodiscard]] std::array<std::uint8_t, kMd5Bytes> Md5(const void* data, std::size_t length);
