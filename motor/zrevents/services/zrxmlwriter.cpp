#include "zrevents/services/zrxmlwriter.h"

#include <algorithm>
#include <cstring>

#include "host/tools/zrtext.h"

namespace {

constexpr std::size_t kBlock = 16;  // units that are looked at together

// True for all but ASCII that stands for itself in XML. Without branches, so that the compiler
// judges several units at once.
constexpr bool IsSpecial(wchar_t unit) {
  return static_cast<bool>((unit < L' ') | (unit > L'~') | (unit == L'&') | (unit == L'<') |
                           (unit == L'>') | (unit == L'"') | (unit == L'\''));
}

// True if none of the kBlock units at `text` is special.
bool IsPlainBlock(const wchar_t* text) {
  int special = 0;
  for (std::size_t i = 0; i < kBlock; ++i)
    special |= IsSpecial(text[i]) ? 1 : 0;
  return special == 0;
}

// The number of units at the start of `text` that aren't special.
std::size_t PlainLength(std::wstring_view text) {
  std::size_t plain = 0;
  while (plain + kBlock <= text.size() && IsPlainBlock(text.data() + plain))
    plain += kBlock;
  // The last block overlaps the one before.
  if (text.size() >= kBlock && text.size() - plain < kBlock &&
      IsPlainBlock(text.data() + text.size() - kBlock))
    return text.size();
  while (plain < text.size() && !IsSpecial(text[plain]))
    ++plain;
  return plain;
}

bool IsHighSurrogate(wchar_t unit) {
  return unit >= 0xD800 && unit < 0xDC00;
}

}  // namespace

void ZRXmlWriter::Write(std::string_view utf8) {
  while (!utf8.empty()) {
    const std::size_t room = kSize - 1 - used;
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
    if (used == kSize - 1) Flush();
    const std::size_t plain = PlainLength(rest.substr(0, kSize - 1 - used));
    char* const target = buffer.data() + used;
    for (std::size_t i = 0; i < plain; ++i)
      target[i] = static_cast<char>(rest[i]);
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
  response.Write(buffer.data(), static_cast<int>(used));
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
