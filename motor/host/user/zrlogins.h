// Who may log in at a site.
#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "host/user/zrrights.h"

// Texts are UTF-8. Digests are secrets.
struct ZRLogin {
  std::string sha256;  // of "user:realm:password", 64 lower-case hexadecimal digits; empty: none
  std::string md5;     // the same with 32 digits, for clients that know nothing better
  std::set<std::string> roles;
  ZRGrants grants;  // of the user's own

  bool operator==(const ZRLogin&) const = default;
};

// Users and roles by their names, which are compared byte by byte.
struct ZRLogins {
  std::string realm = "Tessaly";
  std::map<std::string, ZRLogin> users;
  std::map<std::string, ZRGrants> roles;

  bool operator==(const ZRLogins&) const = default;
};

inline constexpr std::size_t kMostRolesOfAUser = 32;
inline constexpr std::size_t kLeastPassword = 8;    // characters
inline constexpr std::size_t kMostPassword = 1024;  // bytes

// Of users and roles, and what is said of one that is none.
[[nodiscard]] bool IsLoginName(std::string_view name);
inline constexpr std::string_view kLoginNameRule =
    "must have 1 to 100 bytes of UTF-8, no control characters, no \":\", and no blank at its ends";

// Of the ids of groups and drivers.
[[nodiscard]] bool IsResourceId(std::string_view id);
inline constexpr std::string_view kResourceIdRule =
    "must hold texts of 1 to 100 bytes of UTF-8 without control characters";

[[nodiscard]] bool IsPassword(std::string_view password);
inline constexpr std::string_view kPasswordRule =
    "must have at least 8 characters and at most 1024 bytes of UTF-8, and no control characters";

// It stands in a header in quotes.
[[nodiscard]] bool IsRealm(std::string_view realm);
inline constexpr std::string_view kRealmRule =
    "must have 1 to 100 characters of ASCII, and no \":\", \"\\\" or quotes";

// True for exactly so many lower-case hexadecimal digits.
[[nodiscard]] bool IsHexadecimal(std::string_view text, std::size_t digits);

// Replaces the digests of the user `name`, who is there. Without `withMd5` he has none of MD5
// afterwards.
void SetPassword(ZRLogins& logins, const std::string& name, std::string_view password,
                 bool withMd5);
