#include "zrevents/services/zrxmlwriter.h"

#include <algorithm>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "host/tools/zrtext.h"

namespace {

// True for all but ASCII that stands for itself in XML.
constexpr bool IsSpecial(wchar_t unit) {
  return unit < L' ' || unit > L'~' || unit == L'&' || unit == L'<' || unit == L'>' ||
         unit == L'"' || unit == L'\'';
}

#if defined(__SSE2__)

constexpr std::size_t kBlock = 16;

// Narrows 16 units into `target`. False, with rubbish there, if one of them is special.
bool CopyPlainBlock(char* target, const wchar_t* units) {
  const auto load = [units](std::size_t at) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + at));
  };
  // What doesn't fit a byte saturates to 0xFF, which is no ASCII.
  const __m128i low = _mm_packs_epi32(load(0), load(4));
  const __m128i high = _mm_packs_epi32(load(8), load(12));
  const __m128i bytes = _mm_packus_epi16(low, high);
  __m128i special = _mm_cmplt_epi8(bytes, _mm_set1_epi8(' '));  // 0x80 and above are negative
  for (const char character : {'\x7F', '&', '<', '>', '"', '\''})
    special = _mm_or_si128(special, _mm_cmpeq_epi8(bytes, _mm_set1_epi8(character)));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(target), bytes);
  return _mm_movemask_epi8(special) == 0;
}

#else

constexpr std::size_t kBlock = 1;

bool CopyPlainBlock(char* target, const wchar_t* units) {
  *target = static_cast<char>(*units);
  return !IsSpecial(*units);
}

#endif

// Narrows `text` into `target`, which has room for all of it, up to the first special unit. The
// number of units that were taken.
std::size_t CopyPlain(char* target, std::wstring_view text) {
  std::size_t at = 0;
  while (at + kBlock <= text.size() && CopyPlainBlock(target + at, text.data() + at))
    at += kBlock;
  const std::size_t rest = text.size() - at;
  // The last block overlaps the one before.
  if (rest != 0 && rest < kBlock && text.size() >= kBlock &&
      CopyPlainBlock(target + text.size() - kBlock, text.data() + text.size() - kBlock))
    return text.size();
  for (; at < text.size() && !IsSpecial(text[at]); ++at)
    target[at] = static_cast<char>(text[at]);
  return at;
}

bool IsHighSurrogate(wchar_t unit) {
  return unit >= 0xD800 && unit < 0xDC00;
}

}  // namespace

void ZRXmlWriter::Write(std::string_view utf8) {
  while (!utf8.empty()) {
    const std::size_t room = kRoom - used;
    const std::size_t part = std::min(room, utf8.size());
    std::memcpy(buffer.data() + used, utf8.data(), part);
    used += part;
    utf8.remove_prefix(part);
    if (!utf8.empty()) Flush();
  }
}

void ZRXmlWriter::WriteText(const ZRWString& text) {
  std::wstring_view rest = text.View();
  while (!rest.empty()) {
    if (used == kRoom) Flush();
    const std::size_t plain = CopyPlain(buffer.data() + used, rest.substr(0, kRoom - used));
    used += plain;
    rest.remove_prefix(plain);
    if (rest.empty() || !IsSpecial(rest.front())) continue;
    const std::size_t units = IsHighSurrogate(rest.front()) ? 2 : 1;
    WriteSpecial(rest.substr(0, units));
    rest.remove_prefix(std::min(units, rest.size()));
  }
}

// One character, or a surrogate and whatever follows it.
void ZRXmlWriter::WriteSpecial(std::wstring_view units) {
  ZRString escaped;
  Text2Xml(escaped, Utf16ToUtf8(units));
  Write(escaped.View());
}

void ZRXmlWriter::Flush() {
  if (used == 0) return;
  buffer[used] = '\0';
  if (response != nullptr) {
    response->Write(buffer.data(), static_cast<int>(used));
  } else {
    collected->Append(buffer.data(), used);
  }
  used = 0;
}

std::array<char, kDateDigits> FourteenDigits(const ZRDateTime& date) {
  std::array<char, kDateDigits> digits{};
  std::size_t end = 0;
  const auto append = [&](int number, std::size_t width) {
    constexpr int kBase = 10;
    end += width;
    for (std::size_t at = end; at > end - width; --at) {
      digits[at - 1] = static_cast<char>('0' + number % kBase);
      number /= kBase;
    }
  };
  constexpr std::size_t kTwo = 2;
  constexpr std::size_t kFour = 4;
  append(date.Day(), kTwo);
  append(date.Month(), kTwo);
  append(date.Year(), kFour);
  append(date.Hour(), kTwo);
  append(date.Minute(), kTwo);
  append(date.Second(), kTwo);
  return digits;
}
