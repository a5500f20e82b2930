// The calculations of HTTP Digest (RFC 7616, section 3.4).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "host/remote/zrpasswords.h"

// What a client signs besides its password.
struct ZRDigestSubject {
  std::string_view method;
  std::string_view uri;
  std::string_view nonce;
  std::string_view count;  // 8 digits, as sent
  std::string_view clientNonce;
  bool signsBody = false;  // qop is auth-int
  std::string_view body;   // of auth-int
};

// Number of hexadecimal digits of a digest of that kind.
[[nodiscard]] constexpr std::size_t DigestLength(ZRPasswordDigest kind) {
  return kind == ZRPasswordDigest::kSha256 ? 64 : 32;
}

// The digest of `text` in lower-case hexadecimal digits; empty where the system refuses MD5.
[[nodiscard]] std::string DigestText(ZRPasswordDigest kind, std::string_view text);

// What ZRPasswords keeps of a password.
[[nodiscard]] std::string PasswordDigest(ZRPasswordDigest kind, std::string_view user,
                                         std::string_view realm, std::string_view password);

// The response of who knows the password. `passwordDigest` is of the same kind.
[[nodiscard]] std::string DigestResponse(ZRPasswordDigest kind, std::string_view passwordDigest,
                                         const ZRDigestSubject& subject);

// True if both are the same. How long it takes tells their lengths and nothing else.
[[nodiscard]] bool EqualInConstantTime(std::string_view a, std::string_view b);
