#include "host/remote/zrdigestauthenticator.h"

#include <array>
#include <utility>

#include "host/base/zrlogtext.h"
#include "host/platform/zrplatform.h"
#include "host/remote/zrdigestresponse.h"
#include "host/tools/zrtext.h"

namespace {

using tagKind = ZRLoginVerdict::tagKind;

constexpr std::uint64_t kMillisecondsInSecond = 1000;
constexpr const char* kSha256Name = "SHA-256";
constexpr const char* kMd5Name = "MD5";

// What a claim has to say once more when its body has come, a line each.
constexpr std::size_t kProofLines = 5;
using tagProof = std::array<std::string_view, kProofLines>;

std::string WriteProof(const ZRLoginClaim& claim) {
  std::string proof;
  for (const std::string_view line : tagProof{claim.method, claim.target, claim.authorization,
                                              claim.peer, claim.isSecure ? "T" : "F"})
    proof.append(line).append(1, '\n');
  return proof;
}

// False for what WriteProof didn't write, or wrote of texts with line ends.
bool ReadProof(std::string_view proof, ZRLoginClaim& claim) {
  tagProof lines;
  for (std::string_view& line : lines) {
    const std::size_t end = proof.find('\n');
    if (end == std::string_view::npos) return false;
    line = proof.substr(0, end);
    proof.remove_prefix(end + 1);
  }
  claim = {lines[0], lines[1], lines[2], lines[3], lines[4] == "T"};
  return proof.empty();
}

std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char letter : text) {
    if (letter == '"' || letter == '\\') quoted += '\\';
    quoted += letter;
  }
  return quoted += '"';
}

// For a log: 'name' from ADDRESS.
std::string Shown(std::string_view user, std::string_view address) {
  const ZRWString escaped = EscapeLogText(Utf8ToUtf16(user));
  const ZRWString place = EscapeLogText(Utf8ToUtf16(address));
  std::string shown = "'";
  shown.append(Utf16ToUtf8(escaped.View()).View()).append("' from ");
  return shown.append(Utf16ToUtf8(place.View()).View());
}

ZRLoginVerdict Accept(std::string user) {
  ZRLoginVerdict verdict;
  verdict.kind = tagKind::kAccepted;
  verdict.user = std::move(user);
  return verdict;
}

ZRLoginVerdict HoldUp(std::uint32_t seconds, std::string note = {}) {
  ZRLoginVerdict verdict;
  verdict.kind = tagKind::kThrottled;
  verdict.retrySeconds = seconds;
  verdict.note = std::move(note);
  return verdict;
}

}  // namespace

ZRDigestAuthenticator::ZRDigestAuthenticator(const ZRPasswords& passwords,
                                             const ZRDigestSettings& settings)
    : users(passwords),
      offersMd5(settings.offersMd5),
      nonces(settings.nonceSeconds * kMillisecondsInSecond, settings.nonces),
      throttle(settings.wrongPasswords, settings.guessers),
      lastTick(ZRPlatform::Get().TickCount()) {}

ZRLoginVerdict ZRDigestAuthenticator::Judge(const ZRLoginClaim& claim) {
  ZRLoginVerdict verdict;
  verdict.kind = tagKind::kOpen;
  if (!users.HasUsers()) return verdict;
  std::string_view credentials;
  switch (LoginScheme(claim.authorization, credentials)) {
    case ZRLoginScheme::kDigest:
      return JudgeDigest(claim, credentials, nullptr);
    case ZRLoginScheme::kBasic:
      return JudgeBasic(claim, credentials);
    case ZRLoginScheme::kNone:
      break;
  }
  return Refuse(claim.isSecure, false, {});
}

ZRLoginVerdict ZRDigestAuthenticator::JudgeBody(const ZRLoginVerdict& head, std::string_view body) {
  ZRLoginClaim claim;
  std::string_view credentials;
  if (head.kind != tagKind::kNeedsBody || !ReadProof(head.bodyProof, claim) ||
      LoginScheme(claim.authorization, credentials) != ZRLoginScheme::kDigest)
    return Refuse(false, false, {});
  ZRLoginVerdict verdict = JudgeDigest(claim, credentials, &body);
  if (verdict.kind != tagKind::kThrottled) return verdict;
  return Refuse(claim.isSecure, false, std::move(verdict.note));
}

// What costs nothing and tells nothing comes first, then the signature, then its nonce: so only who
// knows a password uses a nonce up.
ZRLoginVerdict ZRDigestAuthenticator::JudgeDigest(const ZRLoginClaim& claim,
                                                  std::string_view credentials,
                                                  const std::string_view* body) {
  ZRDigestClaim signature;
  if (!ParseDigestClaim(credentials, signature) || !IsForThisRequest(signature, claim))
    return Refuse(claim.isSecure, false, {});
  if (const std::uint32_t seconds = HeldUp(signature.user, claim.peer); seconds != 0)
    return HoldUp(seconds);
  if (signature.signsBody && body == nullptr) {
    ZRLoginVerdict verdict;
    verdict.kind = tagKind::kNeedsBody;
    verdict.user = signature.user;
    verdict.bodyProof = WriteProof(claim);
    return verdict;
  }
  if (!IsSignedWell(signature, claim, body != nullptr ? *body : std::string_view()))
    return RefuseWrong(claim, signature.user);
  ZRNonces::tagUse use = ZRNonces::tagUse::kOld;
  {
    const ZRMutexLock lock(mutex);
    use = nonces.Use(signature.nonce, signature.count, Now());
  }
  if (use == ZRNonces::tagUse::kTaken) return Accept(std::move(signature.user));
  const bool isRepeated = use == ZRNonces::tagUse::kRepeated;
  return Refuse(claim.isSecure, true,
                isRepeated ? "a request of " + Shown(signature.user, claim.peer) + " came twice"
                           : std::string());
}

ZRLoginVerdict ZRDigestAuthenticator::JudgeBasic(const ZRLoginClaim& claim,
                                                 std::string_view credentials) {
  std::string user;
  std::string password;
  if (!claim.isSecure || !ParseBasicClaim(credentials, user, password))
    return Refuse(claim.isSecure, false, {});
  if (const std::uint32_t seconds = HeldUp(user, claim.peer); seconds != 0) return HoldUp(seconds);
  if (!IsPassword(user, password)) return RefuseWrong(claim, user);
  return Accept(std::move(user));
}

bool ZRDigestAuthenticator::IsForThisRequest(const ZRDigestClaim& signature,
                                             const ZRLoginClaim& claim) const {
  return (offersMd5 || signature.algorithm != ZRPasswordDigest::kMd5) &&
         signature.realm == users.Realm() && signature.uri == claim.target;
}

bool ZRDigestAuthenticator::IsSignedWell(const ZRDigestClaim& signature, const ZRLoginClaim& claim,
                                         std::string_view body) const {
  std::string digest;
  const bool isKnown = DigestOf(signature.user, signature.algorithm, digest);
  const ZRDigestSubject subject = {claim.method,
                                   claim.target,
                                   signature.nonce,
                                   signature.countText,
                                   signature.clientNonce,
                                   signature.signsBody,
                                   body};
  const std::string response = DigestResponse(signature.algorithm, digest, subject);
  const bool isGood = EqualInConstantTime(response, signature.response);
  return isGood && isKnown;
}

bool ZRDigestAuthenticator::IsPassword(std::string_view user, std::string_view password) const {
  for (const ZRPasswordDigest kind : {ZRPasswordDigest::kSha256, ZRPasswordDigest::kMd5}) {
    if (kind == ZRPasswordDigest::kMd5 && !offersMd5) break;
    std::string digest;
    const bool isKnown = DigestOf(user, kind, digest);
    const bool isGood =
        EqualInConstantTime(PasswordDigest(kind, user, users.Realm(), password), digest);
    if (isGood && isKnown) return true;
  }
  return false;
}

bool ZRDigestAuthenticator::DigestOf(std::string_view user, ZRPasswordDigest kind,
                                     std::string& digest) const {
  const bool isKnown = users.DigestOf(user, kind, digest) && digest.size() == DigestLength(kind);
  if (!isKnown) digest.assign(DigestLength(kind), '0');
  return isKnown;
}

ZRLoginVerdict ZRDigestAuthenticator::Refuse(bool isSecure, bool isStale, std::string note) {
  ZRLoginVerdict verdict;
  verdict.kind = tagKind::kRefused;
  verdict.note = std::move(note);
  verdict.challenges.push_back(Challenge(kSha256Name, isStale));
  if (offersMd5) verdict.challenges.push_back(Challenge(kMd5Name, isStale));
  if (isSecure)
    verdict.challenges.push_back("Basic realm=" + Quoted(users.Realm()) + ", charset=\"UTF-8\"");
  return verdict;
}

ZRLoginVerdict ZRDigestAuthenticator::RefuseWrong(const ZRLoginClaim& claim,
                                                  const std::string& user) {
  std::uint32_t seconds = 0;
  {
    const ZRMutexLock lock(mutex);
    seconds = throttle.CountWrong(user, claim.peer, Now());
  }
  std::string note = "the name or password of " + Shown(user, claim.peer) + " is wrong";
  if (seconds == 0) return Refuse(claim.isSecure, false, std::move(note));
  return HoldUp(seconds, note + ": refused for " + std::to_string(seconds) + " s");
}

std::string ZRDigestAuthenticator::Challenge(const char* algorithm, bool isStale) {
  std::string nonce;
  {
    const ZRMutexLock lock(mutex);
    nonce = nonces.Issue(Now());
  }
  std::string challenge = "Digest realm=" + Quoted(users.Realm()) + ", nonce=\"" + nonce +
                          "\", qop=\"auth, auth-int\", algorithm=" + algorithm +
                          ", charset=UTF-8, userhash=false";
  if (isStale) challenge += ", stale=true";
  return challenge;
}

std::uint32_t ZRDigestAuthenticator::HeldUp(const std::string& user, std::string_view address) {
  const ZRMutexLock lock(mutex);
  return throttle.HeldUp(user, address, Now());
}

// Counted on from tick to tick, which wrap.
std::uint64_t ZRDigestAuthenticator::Now() {
  const std::uint32_t tick = ZRPlatform::Get().TickCount();
  elapsed += tick - lastTick;
  lastTick = tick;
  return elapsed;
}
