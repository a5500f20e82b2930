#include "host/user/zrlogins.h"

#include <algorithm>

#include "host/tools/zrmd5.h"
#include "host/tools/zrsha256.h"
#include "host/tools/zrtext.h"

namespace {

constexpr std::size_t kMostBytes = 100;
constexpr wchar_t kReplacement = 0xFFFD;  // also for what isn't UTF-8

bool IsPlain(const ZRWString& text) {
  const auto isOdd = [](wchar_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit <= 0x9F) || unit == kReplacement;
  };
  return std::none_of(text.View().begin(), text.View().end(), isOdd);
}

bool IsShortPlainText(std::string_view text) {
  return !text.empty() && text.size() <= kMostBytes && IsPlain(Utf8ToUtf16(text));
}

std::size_t Characters(const ZRWString& text) {
  const auto isSecondHalf = [](wchar_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; };
  const std::wstring_view units = text.View();
  return units.size() -
         static_cast<std::size_t>(std::count_if(units.begin(), units.end(), isSecondHalf));
}

std::string Sha256Hex(std::string_view text) {
  constexpr const char* kDigits = "0123456789abcdef";
  std::string hexadecimal;
  for (const std::uint8_t byte : Sha256(text.data(), text.size())) {
    hexadecimal += kDigits[byte >> 4];
    hexadecimal += kDigits[byte & 0xF];
  }
  return hexadecimal;
}

}  // namespace

bool IsLoginName(std::string_view name) {
  return IsShortPlainText(name) && name.find(':') == std::string_view::npos &&
         !name.starts_with(' ') && !name.ends_with(' ');
}

bool IsResourceId(std::string_view id) {
  return IsShortPlainText(id);
}

bool IsPassword(std::string_view password) {
  if (password.size() > kMostPassword) return false;
  const ZRWString wide = Utf8ToUtf16(password);
  return IsPlain(wide) && Characters(wide) >= kLeastPassword;
}

bool IsRealm(std::string_view realm) {
  const auto isBad = [](char c) {
    return c < ' ' || c > '~' || c == ':' || c == '"' || c == '\\' || c == '\'';
  };
  return !realm.empty() && realm.size() <= kMostBytes &&
         std::none_of(realm.begin(), realm.end(), isBad);
}

bool IsHexadecimal(std::string_view text, std::size_t digits) {
  return text.size() == digits &&
         text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

void SetPassword(ZRLogins& logins, const std::string& name, std::string_view password,
                 bool withMd5) {
  ZRLogin& login = logins.users.at(name);
  const std::string text = name + ":" + logins.realm + ":" + std::string(password);
  login.sha256 = Sha256Hex(text);
  login.md5 = withMd5 ? Md5Hex(text) : std::string();
}
