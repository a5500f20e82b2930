// Digests.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

inline constexpr std::size_t kSha256Bytes = 32;

// SHA-256 (FIPS 180-4) of `length` bytes.
[[nodiscard]] std::array<std::uint8_t, kSha256Bytes> Sha256(const void* data, std::size_t length);
