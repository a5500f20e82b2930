// Users for the tests of logins, and what their client would send.
#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <string_view>

#include "host/remote/zrdigestresponse.h"
#include "host/remote/zrpasswords.h"

// Threads   any, as long as nobody adds users.
class FakePasswords final : public ZRPasswords {
 public:
  // Keeps both digests of a user's password, or that of SHA-256 alone.
  void Add(const std::string& user, std::string_view password, bool keepsMd5 = true) {
    digests[user + "/S"] = PasswordDigest(ZRPasswordDigest::kSha256, user, realm, password);
    if (keepsMd5)
      digests[user + "/M"] = PasswordDigest(ZRPasswordDigest::kMd5, user, realm, password);
  }
  void Keep(const std::string& user, const std::string& digest) { digests[user + "/S"] = digest; }

  bool HasUsers() const override { return !digests.empty(); }
  std::string Realm() const override { return realm; }
  bool DigestOf(std::string_view user, ZRPasswordDigest kind, std::string& digest) const override {
    const char* const suffix = kind == ZRPasswordDigest::kSha256 ? "/S" : "/M";
    const auto place = digests.find(std::string(user) + suffix);
    if (place == digests.end()) return false;
    digest = place->second;
    return true;
  }

  std::string realm = "north \"plant\"";

 private:
  std::map<std::string, std::string> digests;  // by user and kind
};

// What stands behind `name=` in a challenge, without quotes and escapes; empty without it.
inline std::string ChallengeValue(const std::string& challenge, const std::string& name) {
  std::size_t at = challenge.find(' ' + name + '=');
  if (at == std::string::npos) return {};
  at += name.size() + 2;
  const bool isQuoted = challenge[at] == '"';
  std::string value;
  for (at += isQuoted ? 1 : 0; at < challenge.size() && challenge[at] != (isQuoted ? '"' : ',');
       ++at) {
    if (isQuoted && challenge[at] == '\\') ++at;
    value += challenge[at];
  }
  return value;
}

// A client that answers a challenge. What it says may be changed before Header is asked for.
struct DigestClient {
  std::string user = "ana";
  std::string password = "secret";
  std::string method = "GET";
  std::string uri = "/services/events/active.xml?x=1";
  std::string realm = "north \"plant\"";
  std::string nonce;
  std::string clientNonce = "c+/=1";
  std::uint32_t count = 1;
  ZRPasswordDigest algorithm = ZRPasswordDigest::kSha256;
  bool signsBody = false;
  std::string body;
  std::string nameParameter;  // in place of username="..."
  std::string more;           // further parameters, behind a comma

  [[nodiscard]] std::string CountText() const {
    char text[9];
    std::snprintf(text, sizeof text, "%08x", count);
    return text;
  }

  [[nodiscard]] std::string Response() const {
    const std::string countText = CountText();
    return DigestResponse(algorithm, PasswordDigest(algorithm, user, realm, password),
                          {method, uri, nonce, countText, clientNonce, signsBody, body});
  }

  [[nodiscard]] std::string Header() const {
    return "Digest " + (nameParameter.empty() ? "username=" + Quoted(user) : nameParameter) +
           ", realm=" + Quoted(realm) + ", uri=" + Quoted(uri) +
           ", algorithm=" + (algorithm == ZRPasswordDigest::kSha256 ? "SHA-256" : "MD5") +
           ", nonce=" + Quoted(nonce) + ", nc=" + CountText() + ", cnonce=" + Quoted(clientNonce) +
           ", qop=" + (signsBody ? "auth-int" : "auth") + ", response=" + Quoted(Response()) + more;
  }

  [[nodiscard]] static std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char letter : text) {
      if (letter == '"' || letter == '\\') quoted += '\\';
      quoted += letter;
    }
    return quoted + '"';
  }
};
