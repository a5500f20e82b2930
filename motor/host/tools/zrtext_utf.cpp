// Between UTF-8 and UTF-16 units.
#include <cstring>

#include "host/tools/zrtext.h"
#include "host/tools/zrtext_codepoint.h"

namespace {

constexpr std::uint64_t kHighBits = 0x8080808080808080u;

// Number of bytes below 0x80 at the beginning.
std::size_t AsciiRun(const char* at, const char* end) {
  const char* const start = at;
  while (end - at >= 8) {
    std::uint64_t eight;
    std::memcpy(&eight, at, sizeof eight);
    if ((eight & kHighBits) != 0) break;
    at += sizeof eight;
  }
  while (at < end && static_cast<unsigned char>(*at) < 0x80)
    ++at;
  return static_cast<std::size_t>(at - start);
}

// Number of units below 0x80 at the beginning.
std::size_t AsciiRun(const wchar_t* at, const wchar_t* end) {
  const wchar_t* const start = at;
  const auto unit = [&at](int offset) { return static_cast<std::uint32_t>(at[offset]); };
  while (end - at >= 4 && (unit(0) | unit(1) | unit(2) | unit(3)) < 0x80)
    at += 4;
  while (at < end && unit(0) < 0x80)
    ++at;
  return static_cast<std::size_t>(at - start);
}

// Copies ASCII from one width to the other and gives the place behind it.
template <typename From, typename To>
To* CopyAscii(const From* from, std::size_t count, To* to) {
  std::size_t i = 0;
  for (; i + 4 <= count; i += 4) {
    to[i] = static_cast<To>(from[i]);
    to[i + 1] = static_cast<To>(from[i + 1]);
    to[i + 2] = static_cast<To>(from[i + 2]);
    to[i + 3] = static_cast<To>(from[i + 3]);
  }
  for (; i < count; ++i)
    to[i] = static_cast<To>(from[i]);
  return to + count;
}

// What may follow a first byte.
struct tagSequence {
  int more = 0;                           // bytes after the first; 0 for a byte that begins none
  unsigned char low = 0x80, high = 0xBF;  // range of the second
};

constexpr tagSequence SequenceOf(unsigned char first) {
  if (first < 0xC2 || first > 0xF4) return {};
  if (first < 0xE0) return {1};
  if (first < 0xF0) {
    if (first == 0xE0) return {2, 0xA0, 0xBF};
    if (first == 0xED) return {2, 0x80, 0x9F};
    return {2};
  }
  if (first == 0xF0) return {3, 0x90, 0xBF};
  if (first == 0xF4) return {3, 0x80, 0x8F};
  return {3};
}

// Reads one character that isn't ASCII and moves on; U+FFFD for an ill-formed part.
char32_t TakeBeyondAscii(const char*& at, const char* end) {
  const auto first = static_cast<unsigned char>(*at++);
  const tagSequence sequence = SequenceOf(first);
  if (sequence.more == 0) return kReplacement;
  char32_t value = first & (0x3Fu >> sequence.more);
  for (int i = 0; i < sequence.more; ++i) {
    const auto byte = static_cast<unsigned char>(at < end ? *at : 0);
    const bool fits =
        i == 0 ? byte >= sequence.low && byte <= sequence.high : byte >= 0x80 && byte <= 0xBF;
    if (!fits) return kReplacement;
    value = (value << 6) | (byte & 0x3Fu);
    ++at;
  }
  return value;
}

std::size_t UnitsOf(std::string_view narrow) {
  const char* at = narrow.data();
  const char* const end = at + narrow.size();
  std::size_t units = 0;
  while (at < end) {
    const std::size_t run = AsciiRun(at, end);
    units += run;
    at += run;
    if (at < end) units += Utf16Length(TakeBeyondAscii(at, end));
  }
  return units;
}

void WriteUtf16(std::string_view narrow, wchar_t* out) {
  const char* at = narrow.data();
  const char* const end = at + narrow.size();
  while (at < end) {
    const std::size_t run = AsciiRun(at, end);
    for (std::size_t i = 0; i < run; ++i)
      out[i] = static_cast<wchar_t>(at[i]);
    out += run;
    at += run;
    if (at < end) out = PutCodePoint(out, TakeBeyondAscii(at, end));
  }
}

// Reads one character and moves on; U+FFFD for what is none.
inline char32_t Take(const wchar_t*& at, const wchar_t* end) {
  const auto unit = static_cast<char32_t>(*at++);
  if (unit < 0xD800 || (unit > 0xDFFF && unit <= 0xFFFF)) return unit;
  if (unit > 0xDBFF || at == end) return kReplacement;
  const auto second = static_cast<char32_t>(*at);
  if (second < 0xDC00 || second > 0xDFFF) return kReplacement;
  ++at;
  return 0x10000 + ((unit - 0xD800) << 10) + (second - 0xDC00);
}

std::size_t BytesOf(std::wstring_view wide) {
  const wchar_t* at = wide.data();
  const wchar_t* const end = at + wide.size();
  std::size_t bytes = 0;
  while (at < end) {
    const std::size_t run = AsciiRun(at, end);
    bytes += run;
    at += run;
    if (at < end) bytes += Utf8Length(Take(at, end));
  }
  return bytes;
}

void WriteUtf8(std::wstring_view wide, char* out) {
  const wchar_t* at = wide.data();
  const wchar_t* const end = at + wide.size();
  while (at < end) {
    const std::size_t run = AsciiRun(at, end);
    out = CopyAscii(at, run, out);
    at += run;
    if (at < end) out = PutCodePoint(out, Take(at, end));
  }
}

}  // namespace

void AppendUtf16(ZRWString& out, std::string_view narrow) {
  if (AsciiRun(narrow.data(), narrow.data() + narrow.size()) == narrow.size()) {
    out.AppendWritten(narrow.size(),
                      [narrow](wchar_t* to) { (void)CopyAscii(narrow.data(), narrow.size(), to); });
  } else {
    out.AppendWritten(UnitsOf(narrow), [narrow](wchar_t* to) { WriteUtf16(narrow, to); });
  }
}

void AppendUtf8(ZRString& out, std::wstring_view wide) {
  if (AsciiRun(wide.data(), wide.data() + wide.size()) == wide.size()) {
    out.AppendWritten(wide.size(),
                      [wide](char* to) { (void)CopyAscii(wide.data(), wide.size(), to); });
  } else {
    out.AppendWritten(BytesOf(wide), [wide](char* to) { WriteUtf8(wide, to); });
  }
}

void Utf8ToUtf16(ZRWString& wide, const ZRString& narrow) {
  wide.Clear();
  AppendUtf16(wide, narrow.View());
}

void Utf16ToUtf8(ZRString& narrow, const ZRWString& wide) {
  narrow.Clear();
  AppendUtf8(narrow, wide.View());
}

ZRWString Utf8ToUtf16(std::string_view narrow) {
  ZRWString wide;
  AppendUtf16(wide, narrow);
  return wide;
}

ZRString Utf16ToUtf8(std::wstring_view wide) {
  ZRString narrow;
  AppendUtf8(narrow, wide);
  return narrow;
}
