// 128-bit identifiers.
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>

#include "host/tools/zrbasicstring.h"

// A value type; all zero when default-constructed. The order is that of its text.
struct uuid {
  std::array<std::uint8_t, 16> bytes{};

  static const uuid null;

  // NOLINTNEXTLINE(modernize-use-nullptr): found in what the compiler makes of the line
  auto operator<=>(const uuid&) const = default;
  friend bool operator==(const uuid& a, const uuid& b) {
    std::uint64_t left[2];
    std::uint64_t right[2];
    std::memcpy(left, a.bytes.data(), sizeof left);
    std::memcpy(right, b.bytes.data(), sizeof right);
    return left[0] == right[0] && left[1] == right[1];
  }

  // 36 characters, lower case, no braces: "22222222-2222-2222-2222-222222222222".
  [[nodiscard]] ZRWString toWString() const;
};

inline constexpr uuid uuid::null{};

inline constexpr std::size_t kUuidTextLength = 36;

// Draws a new random one (RFC 9562, version 4). Safe from any thread; never gives uuid::null.
void NewGUID(uuid* id);

// Reads 36 characters, either case, with or without one pair of braces; uuid::null for anything
// else.
[[nodiscard]] uuid wtouuid(const ZRWString& text);
[[nodiscard]] uuid wtouuid(const wchar_t* text);

// Write the text form with its terminator. `size` counts wchar_t; a buffer too small for all of
// it gets an empty text (nothing at all if `size` is 0).
void guidtow(const uuid& id, wchar_t* buffer, std::size_t size);
void guidtoc(const uuid& id, char* buffer);  // 37 characters

// For unordered containers.
template <>
struct std::hash<uuid> {
  std::size_t operator()(const uuid& id) const noexcept {
    std::uint64_t halves[2];
    std::memcpy(halves, id.bytes.data(), sizeof halves);
    const std::uint64_t mixed = (halves[0] * 0x9E3779B97F4A7C15u) ^ halves[1];
    return mixed ^ (mixed >> 32);
  }
};
