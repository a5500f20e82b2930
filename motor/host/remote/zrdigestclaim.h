// What an Authorization header says of its sender. Nothing of it has been checked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/remote/zrpasswords.h"

inline constexpr std::size_t kMostAuthorizationBytes = 8192;
inline constexpr std::size_t kMostUserNameBytes = 256;
inline constexpr std::size_t kMostPasswordBytes = 1024;
inline constexpr std::size_t kMostClientNonceBytes = 256;

enum class ZRLoginScheme { kNone, kDigest, kBasic };

// The scheme of the content of an Authorization header, in any case; `credentials` is what stands
// behind it. kNone for any other one, and for a content that is too large.
[[nodiscard]] ZRLoginScheme LoginScheme(std::string_view authorization,
                                        std::string_view& credentials);

// The credentials of Digest (RFC 7616, section 3.4).
struct ZRDigestClaim {
  ZRPasswordDigest algorithm = ZRPasswordDigest::kMd5;
  bool signsBody = false;  // qop is auth-int
  std::string user;        // UTF-8, without controls; of username or username*
  std::string realm;
  std::string uri;
  std::string nonce;
  std::string clientNonce;
  std::string countText;  // 8 lower-case hexadecimal digits
  std::uint32_t count = 0;
  std::string response;  // as many lower-case hexadecimal digits as the algorithm gives
};

// False for credentials that aren't of that form, name a parameter twice, hash the name of the
// user, have no qop, or an algorithm other than MD5 and SHA-256. Texts are quoted; algorithm, qop,
// nc and userhash may be. Parameters of other names are passed over.
[[nodiscard]] bool ParseDigestClaim(std::string_view credentials, ZRDigestClaim& claim);

// The credentials of Basic (RFC 7617). False for what isn't of that form.
[[nodiscard]] bool ParseBasicClaim(std::string_view credentials, std::string& user,
                                   std::string& password);
