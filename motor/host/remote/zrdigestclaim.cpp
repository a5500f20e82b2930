#include "host/remote/zrdigestclaim.h"

#include <algorithm>
#include <charconv>

#include "host/remote/zrasciitext.h"
#include "host/remote/zrauthenticationparameters.h"
#include "host/remote/zrdigestresponse.h"
#include "host/tools/zrtext.h"

namespace {

constexpr std::size_t kMostRealmBytes = 256;
constexpr std::size_t kMostNonceBytes = 256;
constexpr std::size_t kCountDigits = 8;
constexpr char kDelete = 0x7F;

using tagParameter = ZRAuthenticationParameter;
using tagParameters = ZRAuthenticationParameters;

bool IsBlank(char letter) {
  return letter == ' ' || letter == '\t';
}

bool IsControl(char letter) {
  return static_cast<unsigned char>(letter) < 0x20 || letter == kDelete;
}

// The value of a hexadecimal digit; -1 for anything else.
int DigitValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

bool IsLowerHexadecimal(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char digit) {
    return DigitValue(digit) >= 0 && (digit < 'A' || digit > 'F');
  });
}

// Names are kept and shown as text: UTF-8 without controls.
bool IsUserName(std::string_view name) {
  return !name.empty() && name.size() <= kMostUserNameBytes &&
         std::none_of(name.begin(), name.end(), &IsControl) &&
         Utf16ToUtf8(Utf8ToUtf16(name).View()).View() == name;
}

// A text that has to be there, in quotes.
bool ReadText(const tagParameters& parameters, std::string_view name, std::size_t mostBytes,
              std::string& text) {
  const tagParameter* const found = FindParameter(parameters, name);
  if (found == nullptr || !found->isQuoted || found->value.empty() ||
      found->value.size() > mostBytes)
    return false;
  text = found->value;
  return true;
}

// "UTF-8'en'J%C3%A4s" of RFC 8187 is "Jäs".
bool ReadExtendedText(std::string_view coded, std::string& text) {
  const std::size_t language = coded.find('\'');
  const std::size_t start = coded.find('\'', language + 1);
  if (language == std::string_view::npos || start == std::string_view::npos ||
      !EqualIgnoringCase(coded.substr(0, language), "utf-8"))
    return false;
  for (std::size_t at = start + 1; at < coded.size(); ++at) {
    if (coded[at] != '%') {
      if (coded[at] == '\'' || coded[at] == '*') return false;
      text += coded[at];
      continue;
    }
    if (coded.size() - at < 3) return false;
    const int high = DigitValue(coded[at + 1]);
    const int low = DigitValue(coded[at + 2]);
    if (high < 0 || low < 0) return false;
    text += static_cast<char>(high * 16 + low);
    at += 2;
  }
  return true;
}

bool ReadUser(const tagParameters& parameters, std::string& user) {
  const tagParameter* const hashed = FindParameter(parameters, "userhash");
  if (hashed != nullptr && !EqualIgnoringCase(hashed->value, "false")) return false;
  const tagParameter* const extended = FindParameter(parameters, "username*");
  if (extended == nullptr)
    return ReadText(parameters, "username", kMostUserNameBytes, user) && IsUserName(user);
  return FindParameter(parameters, "username") == nullptr && !extended->isQuoted &&
         ReadExtendedText(extended->value, user) && IsUserName(user);
}

bool ReadAlgorithm(const tagParameters& parameters, ZRPasswordDigest& algorithm) {
  const tagParameter* const found = FindParameter(parameters, "algorithm");
  algorithm = ZRPasswordDigest::kMd5;
  if (found == nullptr || EqualIgnoringCase(found->value, "md5")) return true;
  algorithm = ZRPasswordDigest::kSha256;
  return EqualIgnoringCase(found->value, "sha-256");
}

bool ReadQuality(const tagParameters& parameters, bool& signsBody) {
  const tagParameter* const found = FindParameter(parameters, "qop");
  if (found == nullptr) return false;
  signsBody = EqualIgnoringCase(found->value, "auth-int");
  return signsBody || EqualIgnoringCase(found->value, "auth");
}

bool ReadCount(const tagParameters& parameters, ZRDigestClaim& claim) {
  const tagParameter* const found = FindParameter(parameters, "nc");
  if (found == nullptr || found->value.size() != kCountDigits || !IsLowerHexadecimal(found->value))
    return false;
  claim.countText = found->value;
  const char* const end = found->value.data() + kCountDigits;
  return std::from_chars(found->value.data(), end, claim.count, 16).ptr == end;
}

bool ReadResponse(const tagParameters& parameters, ZRDigestClaim& claim) {
  const std::size_t length = DigestLength(claim.algorithm);
  return ReadText(parameters, "response", length, claim.response) &&
         claim.response.size() == length && IsLowerHexadecimal(claim.response);
}

// The value of a digit of Base64; -1 for anything else.
int Base64Value(char digit) {
  if (digit >= 'A' && digit <= 'Z') return digit - 'A';
  if (digit >= 'a' && digit <= 'z') return digit - 'a' + 26;
  if (digit >= '0' && digit <= '9') return digit - '0' + 52;
  if (digit == '+') return 62;
  return digit == '/' ? 63 : -1;
}

// False for what isn't the one padded form of some bytes.
bool ReadBase64(std::string_view coded, std::string& bytes) {
  if (coded.empty() || coded.size() % 4 != 0) return false;
  for (int padding = 0; padding < 2 && coded.back() == '='; ++padding)
    coded.remove_suffix(1);
  unsigned int bits = 0;
  int count = 0;
  for (const char digit : coded) {
    const int value = Base64Value(digit);
    if (value < 0) return false;
    bits = (bits << 6 | static_cast<unsigned int>(value)) & 0xFFFF;
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes += static_cast<char>(bits >> count & 0xFF);
  }
  return (bits & ((1u << count) - 1)) == 0;
}

}  // namespace

ZRLoginScheme LoginScheme(std::string_view authorization, std::string_view& credentials) {
  if (authorization.size() > kMostAuthorizationBytes) return ZRLoginScheme::kNone;
  const std::size_t blank = authorization.find(' ');
  if (blank == std::string_view::npos) return ZRLoginScheme::kNone;
  credentials = authorization.substr(blank);
  while (!credentials.empty() && credentials.front() == ' ')
    credentials.remove_prefix(1);
  const std::string_view scheme = authorization.substr(0, blank);
  if (EqualIgnoringCase(scheme, "digest")) return ZRLoginScheme::kDigest;
  return EqualIgnoringCase(scheme, "basic") ? ZRLoginScheme::kBasic : ZRLoginScheme::kNone;
}

bool ParseDigestClaim(std::string_view credentials, ZRDigestClaim& claim) {
  claim = ZRDigestClaim();
  tagParameters parameters;
  return ReadParameters(credentials, parameters) && ReadAlgorithm(parameters, claim.algorithm) &&
         ReadQuality(parameters, claim.signsBody) && ReadUser(parameters, claim.user) &&
         ReadText(parameters, "realm", kMostRealmBytes, claim.realm) &&
         ReadText(parameters, "uri", kMostAuthorizationBytes, claim.uri) &&
         ReadText(parameters, "nonce", kMostNonceBytes, claim.nonce) &&
         ReadText(parameters, "cnonce", kMostClientNonceBytes, claim.clientNonce) &&
         ReadCount(parameters, claim) && ReadResponse(parameters, claim);
}

bool ParseBasicClaim(std::string_view credentials, std::string& user, std::string& password) {
  while (!credentials.empty() && IsBlank(credentials.back()))
    credentials.remove_suffix(1);
  std::string both;
  if (!ReadBase64(credentials, both)) return false;
  const std::size_t colon = both.find(':');
  if (colon == std::string::npos) return false;
  user = both.substr(0, colon);
  password = both.substr(colon + 1);
  return IsUserName(user) && password.size() <= kMostPasswordBytes;
}
