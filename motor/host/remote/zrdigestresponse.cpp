#include "host/remote/zrdigestresponse.h"

#include <initializer_list>

#include "host/remote/zrhttpauthorization.h"
#include "host/tools/zrmd5.h"

namespace {

constexpr std::string_view kAuth = "auth";
constexpr std::string_view kAuthInt = "auth-int";

std::string WithColons(std::initializer_list<std::string_view> parts) {
  std::string joined;
  for (const std::string_view part : parts) {
    joined += part;
    joined += ':';
  }
  joined.pop_back();
  return joined;
}

}  // namespace

std::string DigestText(ZRPasswordDigest kind, std::string_view text) {
  if (kind == ZRPasswordDigest::kMd5) return Md5Hex(text);
  char digest[ZRHttpAuthorization::kDigestSize];
  ZRHttpAuthorization::H(text.data(), static_cast<unsigned int>(text.size()), digest);
  return digest;
}

std::string PasswordDigest(ZRPasswordDigest kind, std::string_view user, std::string_view realm,
                           std::string_view password) {
  return DigestText(kind, WithColons({user, realm, password}));
}

std::string DigestResponse(ZRPasswordDigest kind, std::string_view passwordDigest,
                           const ZRDigestSubject& subject) {
  const std::string request =
      subject.signsBody ? WithColons({subject.method, subject.uri, DigestText(kind, subject.body)})
                        : WithColons({subject.method, subject.uri});
  const std::string_view quality = subject.signsBody ? kAuthInt : kAuth;
  return DigestText(kind, WithColons({passwordDigest, subject.nonce, subject.count,
                                      subject.clientNonce, quality, DigestText(kind, request)}));
}

bool EqualInConstantTime(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  unsigned int difference = 0;
  for (std::size_t at = 0; at < a.size(); ++at)
    difference |= static_cast<unsigned int>(a[at] ^ b[at]);
  return difference == 0;
}
