// Who sends a request, by HTTP Digest and, over TLS, Basic.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/platform/zrmutex.h"
#include "host/remote/zrauthenticator.h"
#include "host/remote/zrdigestclaim.h"
#include "host/remote/zrloginthrottle.h"
#include "host/remote/zrnonces.h"
#include "host/remote/zrpasswords.h"

struct ZRDigestSettings {
  bool offersMd5 = false;            // for clients that can't sign with SHA-256
  std::uint32_t nonceSeconds = 300;  // then a client has to sign a new one
  std::size_t nonces = 65'536;       // in use at once
  int wrongPasswords = 5;            // tolerated for a user and address in a minute
  std::size_t guessers = 16'384;     // pairs of user and address that are counted at once
};

// Digest as in RFC 7616, with SHA-256 and perhaps MD5, for the request alone (qop auth) or with
// its body (auth-int). A signature is good for the very target, realm and nonce that were asked
// for, and once. A good one whose nonce is too old, or whose count has been used, is refused with
// a challenge that says "stale", so that the client signs again without asking its user.
//
// Threads   any, several at a time.
// Order     its mutex is a leaf: nothing is called under it.
// Promise   an unknown user and a wrong password are the same to who asks. Basic is looked at and
//           offered over TLS only.
class ZRDigestAuthenticator final : public ZRAuthenticator {
 public:
  // `passwords` outlives it.
  explicit ZRDigestAuthenticator(const ZRPasswords& passwords,
                                 const ZRDigestSettings& settings = {});

  // With auth-int, kNeedsBody says only that the head is well formed: the signature needs the body
  // to be judged, and JudgeBody uses it up.
  [[nodiscard]] ZRLoginVerdict Judge(const ZRLoginClaim& claim) override;
  [[nodiscard]] ZRLoginVerdict JudgeBody(const ZRLoginVerdict& head,
                                         std::string_view body) override;

 private:
  // `body` is null while only the head is known.
  [[nodiscard]] ZRLoginVerdict JudgeDigest(const ZRLoginClaim& claim, std::string_view credentials,
                                           const std::string_view* body);
  [[nodiscard]] ZRLoginVerdict JudgeBasic(const ZRLoginClaim& claim, std::string_view credentials);
  [[nodiscard]] bool IsForThisRequest(const ZRDigestClaim& signature,
                                      const ZRLoginClaim& claim) const;
  [[nodiscard]] bool IsSignedWell(const ZRDigestClaim& signature, const ZRLoginClaim& claim,
                                  std::string_view body) const;
  [[nodiscard]] bool IsPassword(std::string_view user, std::string_view password) const;
  // False for an unknown user, with a digest that costs the same work.
  [[nodiscard]] bool DigestOf(std::string_view user, ZRPasswordDigest kind,
                              std::string& digest) const;

  [[nodiscard]] ZRLoginVerdict Refuse(bool isSecure, bool isStale, std::string note);
  [[nodiscard]] ZRLoginVerdict RefuseWrong(const ZRLoginClaim& claim, const std::string& user);
  [[nodiscard]] std::string Challenge(const char* algorithm, bool isStale) ZR_EXCLUDES(mutex);
  [[nodiscard]] std::uint32_t HeldUp(const std::string& user, std::string_view address)
      ZR_EXCLUDES(mutex);
  [[nodiscard]] std::uint64_t Now() ZR_REQUIRES(mutex);

  const ZRPasswords& users;
  const bool offersMd5;
  ZRMutex mutex;
  ZRNonces nonces ZR_GUARDED_BY(mutex);
  ZRLoginThrottle throttle ZR_GUARDED_BY(mutex);
  std::uint32_t lastTick ZR_GUARDED_BY(mutex);
  std::uint64_t elapsed ZR_GUARDED_BY(mutex) = 0;  // milliseconds since the start
};
