#include "host/remote/zrdigestsigner.h"

#include <array>
#include <cstdio>

#include "host/remote/zrasciitext.h"
#include "host/remote/zrauthenticationparameters.h"
#include "host/remote/zrdigestclaim.h"
#include "host/remote/zrdigestresponse.h"
#include "host/tools/zruuid.h"

namespace {

constexpr std::size_t kMostTextBytes = 1024;

std::string ClientNonce() {
  uuid made;
  NewGUID(&made);
  std::array<char, kUuidTextLength + 1> text{};
  guidtoc(made, text.data());
  return text.data();
}

std::string CountText(std::uint32_t count) {
  std::array<char, 9> text{};
  (void)std::snprintf(text.data(), text.size(), "%08x", count);
  return text.data();
}

std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char letter : text) {
    if (letter == '"' || letter == '\\') quoted += '\\';
    quoted += letter;
  }
  return quoted + "\"";
}

std::string TextOf(const ZRAuthenticationParameters& parameters, std::string_view name) {
  const auto* const found = FindParameter(parameters, name);
  return found != nullptr && found->value.size() <= kMostTextBytes ? found->value : std::string();
}

// True if `word` is one of a list with "," between.
bool IsListed(std::string_view list, std::string_view word) {
  while (!list.empty()) {
    const std::size_t end = std::min(list.find(','), list.size());
    std::string_view one = list.substr(0, end);
    while (!one.empty() && one.front() == ' ')
      one.remove_prefix(1);
    while (!one.empty() && one.back() == ' ')
      one.remove_suffix(1);
    if (EqualIgnoringCase(one, word)) return true;
    list.remove_prefix(std::min(end + 1, list.size()));
  }
  return false;
}

// False for an algorithm that can't be answered.
bool KindOf(std::string_view algorithm, ZRPasswordDigest& kind) {
  kind =
      EqualIgnoringCase(algorithm, "sha-256") ? ZRPasswordDigest::kSha256 : ZRPasswordDigest::kMd5;
  return kind == ZRPasswordDigest::kSha256 || algorithm.empty() ||
         EqualIgnoringCase(algorithm, "md5");
}

}  // namespace

void ZRDigestSigner::Take(std::string_view challenge) {
  std::string_view text;
  if (LoginScheme(challenge, text) != ZRLoginScheme::kDigest) return;
  ZRAuthenticationParameters parameters;
  ZRDigestSigner taken;
  if (!ReadParameters(text, parameters) || !KindOf(TextOf(parameters, "algorithm"), taken.kind))
    return;
  const std::string qualities = TextOf(parameters, "qop");
  taken.signsBody = IsListed(qualities, "auth-int");
  taken.realm = TextOf(parameters, "realm");
  taken.nonce = TextOf(parameters, "nonce");
  taken.opaque = TextOf(parameters, "opaque");
  if (taken.nonce.empty() || (!taken.signsBody && !IsListed(qualities, "auth"))) return;
  if (CanSign() && (kind == taken.kind || kind == ZRPasswordDigest::kSha256)) return;
  *this = taken;
}

std::string ZRDigestSigner::Sign(std::string_view method, std::string_view target,
                                 std::string_view body, std::string_view user,
                                 std::string_view password) {
  const std::string clientNonce = ClientNonce();
  const std::string countText = CountText(++count);
  ZRDigestSubject subject;
  subject.method = method;
  subject.uri = target;
  subject.nonce = nonce;
  subject.count = countText;
  subject.clientNonce = clientNonce;
  subject.signsBody = signsBody;
  subject.body = body;
  const std::string response =
      DigestResponse(kind, PasswordDigest(kind, user, realm, password), subject);
  std::string header =
      "Digest username=" + Quoted(user) + ", realm=" + Quoted(realm) + ", uri=" + Quoted(target) +
      ", nonce=" + Quoted(nonce) + ", nc=" + countText + ", cnonce=" + Quoted(clientNonce) +
      ", qop=" + (signsBody ? "auth-int" : "auth") + ", response=" + Quoted(response) +
      ", algorithm=" + (kind == ZRPasswordDigest::kSha256 ? "SHA-256" : "MD5");
  if (!opaque.empty()) header += ", opaque=" + Quoted(opaque);
  return header;
}
