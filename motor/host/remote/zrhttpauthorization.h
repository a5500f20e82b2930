#pragma once

#include <cstddef>

#include "host/tools/zrbasicstring.h"

// Who sends a request.
class ZRHttpAuthorization {
 public:
  ZRHttpAuthorization() = default;
  ZRHttpAuthorization(const ZRString& headerContent, const ZRString& userName)
      : header(headerContent), user(userName) {}

  // The content of the Authorization header; empty without one. A claim that nobody has checked.
  [[nodiscard]] const ZRString& Header() const { return header; }
  // The name, in UTF-8, of the user who was found to send the request: never a mere claim. Empty
  // as long as nobody has logged in.
  [[nodiscard]] const ZRString& User() const { return user; }

  // Writes the digest of `length` bytes: SHA-256 as 64 lower-case hexadecimal digits, and a
  // terminator. `digest` has room for kDigestSize characters.
  static constexpr std::size_t kDigestSize = 65;
  static void H(const void* data, unsigned int length, char* digest);

 private:
  ZRString header;
  ZRString user;
};
