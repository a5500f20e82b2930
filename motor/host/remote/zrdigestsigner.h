// A client's side of HTTP Digest (RFC 7616).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/remote/zrpasswords.h"

// Signs requests to one server, with the nonce that it gave, again and again.
//
// Threads   one.
class ZRDigestSigner {
 public:
  // Takes the content of a WWW-Authenticate header. The best challenge stays: SHA-256 before MD5,
  // the first before later ones. One of another scheme, and one that can't be answered, is passed
  // over.
  void Take(std::string_view challenge);
  // Forgets what it has taken.
  void Forget() { *this = ZRDigestSigner(); }
  [[nodiscard]] bool CanSign() const { return !nonce.empty(); }

  // The content of the Authorization header. With the body, if the server takes that. After Take.
  [[nodiscard]] std::string Sign(std::string_view method, std::string_view target,
                                 std::string_view body, std::string_view user,
                                 std::string_view password);

 private:
  ZRPasswordDigest kind = ZRPasswordDigest::kMd5;
  bool signsBody = false;
  std::string realm;
  std::string nonce;
  std::string opaque;
  std::uint32_t count = 0;  // of requests signed with the nonce
};
