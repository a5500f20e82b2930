#include "host/remote/zrnonces.h"

#include <charconv>

#include "host/remote/zrdigestresponse.h"
#include "host/tools/zruuid.h"

namespace {

constexpr std::size_t kNumberDigits = 16;
constexpr std::size_t kHeadDigits = 2 * kNumberDigits;
constexpr std::size_t kSealDigits = 32;  // half of a SHA-256
constexpr std::uint32_t kWindow = 64;    // bits of tagCounts::taken
constexpr std::size_t kHashBlock = 64;   // bytes

// 244 random bits.
std::string NewKey() {
  std::string key;
  for (int part = 0; part < 2; ++part) {
    uuid random;
    NewGUID(&random);
    key.append(reinterpret_cast<const char*>(random.bytes.data()), random.bytes.size());
  }
  return key;
}

std::string Padded(std::string key, char mask) {
  key.resize(kHashBlock);
  for (char& byte : key)
    byte = static_cast<char>(byte ^ mask);
  return key;
}

// After HMAC (RFC 2104), with the digits of the inner digest in place of its bytes.
std::string Seal(const std::string& key, std::string_view text) {
  const std::string inner = DigestText(ZRPasswordDigest::kSha256, Padded(key, 0x36).append(text));
  return DigestText(ZRPasswordDigest::kSha256, Padded(key, 0x5C).append(inner))
      .substr(0, kSealDigits);
}

void AppendNumber(std::string& text, std::uint64_t number) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  for (int shift = 60; shift >= 0; shift -= 4)
    text += kDigits[number >> shift & 0xF];
}

std::uint64_t ReadNumber(std::string_view digits) {
  std::uint64_t number = 0;
  (void)std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
  return number;
}

}  // namespace

ZRNonces::ZRNonces(std::uint64_t toLive, std::size_t atMost)
    : life(toLive), most(atMost), key(NewKey()) {}

std::string ZRNonces::Issue(std::uint64_t now) {
  return Sealed({++last, now});
}

ZRNonces::tagUse ZRNonces::Use(std::string_view nonce, std::uint32_t count, std::uint64_t now) {
  const std::optional<tagHead> head = Opened(nonce);
  if (!head || IsExpired(head->issued, now)) return tagUse::kOld;
  auto place = used.find(head->number);
  if (place == used.end()) {
    if (head->number <= forgotten) return tagUse::kOld;
    place = used.emplace(head->number, tagCounts{head->issued}).first;
  }
  const bool isTaken = Take(place->second, count);
  MakeRoom(now);
  return isTaken ? tagUse::kTaken : tagUse::kRepeated;
}

std::string ZRNonces::Sealed(const tagHead& head) const {
  std::string text;
  text.reserve(kHeadDigits + kSealDigits);
  AppendNumber(text, head.number);
  AppendNumber(text, head.issued);
  text += Seal(key, text);
  return text;
}

std::optional<ZRNonces::tagHead> ZRNonces::Opened(std::string_view nonce) const {
  if (nonce.size() != kHeadDigits + kSealDigits) return std::nullopt;
  if (!EqualInConstantTime(nonce.substr(kHeadDigits), Seal(key, nonce.substr(0, kHeadDigits))))
    return std::nullopt;
  return tagHead{ReadNumber(nonce.substr(0, kNumberDigits)),
                 ReadNumber(nonce.substr(kNumberDigits, kNumberDigits))};
}

bool ZRNonces::Take(tagCounts& counts, std::uint32_t count) {
  if (count == 0) return false;
  if (count > counts.highest) {
    const std::uint32_t step = count - counts.highest;
    counts.taken = step < kWindow ? counts.taken << step : 0;
    counts.taken |= 1;
    counts.highest = count;
    return true;
  }
  const std::uint32_t behind = counts.highest - count;
  const std::uint64_t bit = behind < kWindow ? std::uint64_t{1} << behind : 0;
  if (bit == 0 || (counts.taken & bit) != 0) return false;
  counts.taken |= bit;
  return true;
}

void ZRNonces::MakeRoom(std::uint64_t now) {
  while (!used.empty() && (used.size() > most || IsExpired(used.begin()->second.issued, now))) {
    forgotten = used.begin()->first;
    used.erase(used.begin());
  }
}
