// Any content of an Authorization header is read or not, and lets nobody in by chance. What was
// read is read the same again from the plainest way of writing it.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "host/remote/fakepasswords.h"
#include "host/remote/zrdigestauthenticator.h"
#include "host/remote/zrdigestclaim.h"

namespace {

using tagKind = ZRLoginVerdict::tagKind;

constexpr std::string_view kTarget = "/";
constexpr std::string_view kPeer = "127.0.0.1";

void Require(bool holds) {
  if (!holds) std::abort();
}

// One user, whose password nobody knows.
class Site {
 public:
  Site() {
    passwords.realm = "plant";
    passwords.Keep("ana", "2f0a6b1c97d84e53b6a1f0c2d3e4958677869504132f4d5e6a7b8c9d0e1f2a3b");
    ZRDigestSettings settings;
    settings.offersMd5 = true;
    authenticator = std::make_unique<ZRDigestAuthenticator>(passwords, settings);
  }
  ZRDigestAuthenticator& Authenticator() { return *authenticator; }

 private:
  FakePasswords passwords;
  std::unique_ptr<ZRDigestAuthenticator> authenticator;
};

std::string Plain(const ZRDigestClaim& claim) {
  return "username=" + DigestClient::Quoted(claim.user) +
         ",realm=" + DigestClient::Quoted(claim.realm) + ",uri=" + DigestClient::Quoted(claim.uri) +
         ",nonce=" + DigestClient::Quoted(claim.nonce) +
         ",cnonce=" + DigestClient::Quoted(claim.clientNonce) + ",nc=" + claim.countText +
         ",algorithm=" + (claim.algorithm == ZRPasswordDigest::kSha256 ? "SHA-256" : "MD5") +
         ",qop=" + (claim.signsBody ? "auth-int" : "auth") + ",response=\"" + claim.response + "\"";
}

bool IsSame(const ZRDigestClaim& a, const ZRDigestClaim& b) {
  return a.algorithm == b.algorithm && a.signsBody == b.signsBody && a.user == b.user &&
         a.realm == b.realm && a.uri == b.uri && a.nonce == b.nonce &&
         a.clientNonce == b.clientNonce && a.countText == b.countText && a.count == b.count &&
         a.response == b.response;
}

void RequireBounds(std::string_view user) {
  Require(!user.empty() && user.size() <= kMostUserNameBytes);
  Require(std::none_of(user.begin(), user.end(),
                       [](char letter) { return static_cast<unsigned char>(letter) < 0x20; }));
}

void Read(std::string_view text) {
  std::string_view credentials;
  const ZRLoginScheme scheme = LoginScheme(text, credentials);
  if (scheme == ZRLoginScheme::kNone) return;
  ZRDigestClaim claim;
  if (ParseDigestClaim(credentials, claim)) {
    RequireBounds(claim.user);
    Require(claim.response.size() == DigestLength(claim.algorithm));
    ZRDigestClaim again;
    Require(ParseDigestClaim(Plain(claim), again) && IsSame(claim, again));
  }
  std::string user;
  std::string password;
  if (ParseBasicClaim(credentials, user, password)) {
    RequireBounds(user);
    Require(password.size() <= kMostPasswordBytes);
  }
}

void RequireRefusal(const ZRLoginVerdict& verdict) {
  Require(verdict.kind == tagKind::kRefused || verdict.kind == tagKind::kThrottled);
  Require(verdict.user.empty() && verdict.note.find('\n') == std::string::npos);
}

void Judge(std::string_view text, bool isSecure) {
  static Site site;
  const ZRLoginVerdict verdict =
      site.Authenticator().Judge({"GET", kTarget, text, kPeer, isSecure});
  if (verdict.kind == tagKind::kNeedsBody) {
    RequireRefusal(site.Authenticator().JudgeBody(verdict, text));
  } else {
    RequireRefusal(verdict);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(bytes), size);
  Read(text);
  Judge(text, false);
  Judge(text, true);
  return 0;
}
