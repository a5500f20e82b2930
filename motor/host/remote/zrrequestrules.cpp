#include "host/remote/zrrequestrules.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

#include "host/remote/zrasciitext.h"

namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsNameCharacter(char c) {
  constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";
  return IsDigit(c) || IsLetter(c) || kMarks.find(c) != std::string_view::npos;
}

bool IsControl(char c) {
  constexpr unsigned char kFirstVisible = 0x20;
  constexpr unsigned char kDelete = 0x7F;
  const auto byte = static_cast<unsigned char>(c);
  return (byte < kFirstVisible && c != '\t') || byte == kDelete;
}

bool IsPort(std::string_view text) {
  constexpr std::size_t kMostDigits = 5;
  return text.size() <= kMostDigits && std::all_of(text.begin(), text.end(), IsDigit);
}

// The name or address at the front of a Host, an address of IPv6 in its brackets; empty if what
// stands behind it is no port.
std::string_view NameOfHost(std::string_view host) {
  const std::size_t nameEnd = host.starts_with('[') ? host.find(']') : 0;
  if (nameEnd == std::string_view::npos) return {};
  const std::size_t colon = host.find(':', nameEnd);
  if (colon != std::string_view::npos && !IsPort(host.substr(colon + 1))) return {};
  return host.substr(0, colon);
}

// An address in digits, one of IPv6 in brackets.
bool IsAddress(std::string_view name) {
  std::array<unsigned char, sizeof(in6_addr)> bytes{};
  if (name.find('\0') != std::string_view::npos) return false;
  if (!name.starts_with('[')) {
    return ::inet_pton(AF_INET, std::string(name).c_str(), bytes.data()) == 1;
  }
  if (name.size() < 2 || !name.ends_with(']')) return false;
  return ::inet_pton(AF_INET6, std::string(name.substr(1, name.size() - 2)).c_str(),
                     bytes.data()) == 1;
}

ZRRequestBody BodyOfLength(std::string_view length, std::size_t mostBytes) {
  if (length.empty() || !std::all_of(length.begin(), length.end(), IsDigit)) {
    return ZRRequestBody::kTooLarge;
  }
  std::uint64_t bytes = 0;
  for (const char digit : length) {
    bytes = bytes * 10 + static_cast<std::uint64_t>(digit - '0');
    if (bytes > mostBytes) return ZRRequestBody::kTooLarge;
  }
  return bytes == 0 ? ZRRequestBody::kNone : ZRRequestBody::kSmall;
}

// Of a request to a path without a body.
int RefusalOfReading(const ZRRequestHead& head) {
  if (head.method != "GET" && head.method != "HEAD") return kStatusMethodNotAllowed;
  switch (BodyOf(head)) {
    case ZRRequestBody::kTooLarge:
      return kStatusContentTooLarge;
    case ZRRequestBody::kSmall:
      return kStatusBadRequest;
    case ZRRequestBody::kNone:
      break;
  }
  return 0;
}

// Of a request to a path with one. The head has a single Host.
int RefusalOfWriting(const ZRRequestHead& head, bool isSecure) {
  if (head.method != "PUT" && head.method != "POST") return kStatusMethodNotAllowed;
  const auto isForeign = [&](std::string_view origin) {
    return !IsOwnOrigin(origin, head.hosts.front(), isSecure);
  };
  if (std::any_of(head.origins.begin(), head.origins.end(), isForeign)) return kStatusForbidden;
  if (head.contentLengths.size() > 1) return kStatusBadRequest;
  const bool isTooLarge = BodyOf(head, head.mostBodyBytes) == ZRRequestBody::kTooLarge;
  return isTooLarge ? kStatusContentTooLarge : 0;
}

}  // namespace

bool IsHeader(std::string_view name, std::string_view content) {
  return !name.empty() && std::all_of(name.begin(), name.end(), IsNameCharacter) &&
         std::none_of(content.begin(), content.end(), IsControl);
}

ZRRequestBody BodyOf(const ZRRequestHead& head, std::size_t mostBytes) {
  // One without a stated length may be of any.
  ZRRequestBody largest =
      head.hasTransferEncoding ? ZRRequestBody::kTooLarge : ZRRequestBody::kNone;
  for (const std::string_view length : head.contentLengths)
    largest = std::max(largest, BodyOfLength(length, mostBytes));
  return largest;
}

std::size_t LengthOfBody(const ZRRequestHead& head) {
  std::size_t bytes = 0;
  if (head.contentLengths.empty()) return bytes;
  const std::string_view length = head.contentLengths.front();
  (void)std::from_chars(length.data(), length.data() + length.size(), bytes);
  return bytes;
}

bool IsOwnHost(std::string_view host, const ZRHostRule& rule) {
  const std::string_view name = NameOfHost(host);
  if (name.empty()) return false;
  if (name == "127.0.0.1" || name == "[::1]") return true;
  if (rule.allowsAddresses && IsAddress(name)) return true;
  return EqualIgnoringCase(name, "localhost") ||
         std::any_of(rule.names.begin(), rule.names.end(),
                     [&](const std::string& own) { return IsSameName(name, own); });
}

bool IsOwnOrigin(std::string_view origin, std::string_view host, bool isSecure) {
  for (const std::string_view scheme : {"https://", "http://"}) {
    if (origin.starts_with(scheme)) return IsSameName(origin.substr(scheme.size()), host);
    if (isSecure) break;
  }
  return false;
}

int RefusalOf(const ZRRequestHead& head, const ZRServerRules& rules) {
  if (head.headBytes > rules.mostHeadBytes) return kStatusHeadersTooLarge;
  if (head.isMalformed || head.hosts.size() != 1) return kStatusBadRequest;
  if (!IsOwnHost(head.hosts.front(), rules.host)) return kStatusForbidden;
  if (!head.isKnownPath) return kStatusNotFound;
  return head.takesBody ? RefusalOfWriting(head, rules.isSecure) : RefusalOfReading(head);
}
