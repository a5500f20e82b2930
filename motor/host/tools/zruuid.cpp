#include "host/tools/zruuid.h"

#include <sys/random.h>

#include <cerrno>
#include <cstdlib>

namespace {

constexpr std::array<std::size_t, 4> kDashes{8, 13, 18, 23};

constexpr bool IsDash(std::size_t at) {
  for (const std::size_t dash : kDashes) {
    if (at == dash) return true;
  }
  return false;
}

// The value of a hexadecimal digit; -1 for anything else.
constexpr int DigitValue(wchar_t digit) {
  if (digit >= L'0' && digit <= L'9') return digit - L'0';
  if (digit >= L'a' && digit <= L'f') return digit - L'a' + 10;
  if (digit >= L'A' && digit <= L'F') return digit - L'A' + 10;
  return -1;
}

// kUuidTextLength characters and the terminator.
template <typename Char>
void Write(const uuid& id, Char* buffer) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::size_t at = 0;
  for (const std::uint8_t byte : id.bytes) {
    if (IsDash(at)) buffer[at++] = Char('-');
    buffer[at++] = static_cast<Char>(kDigits[byte >> 4]);
    buffer[at++] = static_cast<Char>(kDigits[byte & 0xF]);
  }
  buffer[at] = Char();
}

uuid Parse(std::wstring_view text) {
  if (text.size() == kUuidTextLength + 2 && text.front() == L'{' && text.back() == L'}') {
    text = text.substr(1, kUuidTextLength);
  }
  if (text.size() != kUuidTextLength) return uuid::null;
  uuid id;
  std::size_t digits = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (IsDash(at)) {
      if (text[at] != L'-') return uuid::null;
      continue;
    }
    const int value = DigitValue(text[at]);
    if (value < 0) return uuid::null;
    std::uint8_t& byte = id.bytes[digits++ / 2];
    byte = static_cast<std::uint8_t>((byte << 4) | value);
  }
  return id;
}

// Random bytes of the system, drawn for several ids at once. One for each thread.
class ZRRandomIds {
 public:
  uuid Next() {
    if (next == ids.size()) Refill();
    return ids[next++];
  }

 private:
  void Refill() {
    // The system gives up to 256 bytes whole or not at all.
    static_assert(sizeof(ids) == 256);
    while (::getrandom(ids.data(), sizeof(ids), 0) != static_cast<ssize_t>(sizeof(ids))) {
      if (errno != EINTR) std::abort();  // ids that repeat would damage the history
    }
    next = 0;
  }

  std::array<uuid, 16> ids;
  std::size_t next = ids.size();
};

}  // namespace

ZRWString uuid::toWString() const {
  ZRWString text;
  text.Reserve(kUuidTextLength);
  wchar_t buffer[kUuidTextLength + 1];
  Write(*this, buffer);
  text.Append(buffer, kUuidTextLength);
  return text;
}

void NewGUID(uuid* id) {
  thread_local ZRRandomIds random;
  *id = random.Next();
  constexpr std::size_t kVersionByte = 6;
  constexpr std::size_t kVariantByte = 8;
  id->bytes[kVersionByte] = static_cast<std::uint8_t>((id->bytes[kVersionByte] & 0x0F) | 0x40);
  id->bytes[kVariantByte] = static_cast<std::uint8_t>((id->bytes[kVariantByte] & 0x3F) | 0x80);
}

uuid wtouuid(const ZRWString& text) {
  return Parse(text.View());
}

uuid wtouuid(const wchar_t* text) {
  return text != nullptr ? Parse(std::wstring_view(text)) : uuid::null;
}

void guidtow(const uuid& id, wchar_t* buffer, std::size_t size) {
  if (size > kUuidTextLength) {
    Write(id, buffer);
  } else if (size > 0) {
    buffer[0] = L'\0';
  }
}

void guidtoc(const uuid& id, char* buffer) {
  Write(id, buffer);
}
