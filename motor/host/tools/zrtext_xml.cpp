// Text inside XML: entities and references, and counting.
#include <algorithm>
#include <array>
#include <climits>

#include "host/tools/zrtext.h"
#include "host/tools/zrtext_codepoint.h"

namespace {

struct tagEntity {
  char character;
  std::string_view name;
};
constexpr std::array<tagEntity, 5> kEntities{
    {{'&', "amp"}, {'<', "lt"}, {'>', "gt"}, {'"', "quot"}, {'\'', "apos"}}};

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";    // U+FFFD
constexpr std::string_view kNonCharacters = "\xEF\xBF\xBE";  // U+FFFE; U+FFFF is one more

constexpr bool IsForbiddenControl(char character) {
  return static_cast<unsigned char>(character) < 0x20 && character != '\t' && character != '\n' &&
         character != '\r';
}

// Which bytes can't be copied as they stand.
constexpr std::array<bool, 256> SpecialBytes() {
  std::array<bool, 256> special{};
  for (const tagEntity& entity : kEntities) {
    special[static_cast<unsigned char>(entity.character)] = true;
  }
  for (char control = 0; control < 0x20; ++control) {
    special[static_cast<unsigned char>(control)] = IsForbiddenControl(control);
  }
  special[static_cast<unsigned char>(kNonCharacters.front())] = true;
  return special;
}

bool BeginsWithNonCharacter(std::string_view text) {
  return text.size() >= kNonCharacters.size() && text.substr(0, 2) == kNonCharacters.substr(0, 2) &&
         static_cast<unsigned char>(text[2]) >= static_cast<unsigned char>(kNonCharacters[2]);
}

// Writes what stands at the front of a text and can't be copied; the number of bytes that it has.
std::size_t AppendSpecial(ZRString& out, std::string_view text) {
  for (const tagEntity& entity : kEntities) {
    if (entity.character != text.front()) continue;
    out.Append('&');
    out.Append(entity.name);
    out.Append(';');
    return 1;
  }
  const bool isNonCharacter = BeginsWithNonCharacter(text);
  if (isNonCharacter || IsForbiddenControl(text.front())) {
    out.Append(kReplacement);
  } else {
    out.Append(text.front());  // of a longer character
  }
  return isNonCharacter ? kNonCharacters.size() : 1;
}

// A reference at the beginning of a text.
struct tagReference {
  char32_t character = 0;  // 0 if there is none
  std::size_t length = 0;  // from "&" to ";"
};

template <typename Char>
int DigitOf(Char digit, unsigned base) {
  if (digit >= Char('0') && digit <= Char('9')) return static_cast<int>(digit - Char('0'));
  if (base != 16) return -1;
  if (digit >= Char('a') && digit <= Char('f')) return static_cast<int>(digit - Char('a')) + 10;
  if (digit >= Char('A') && digit <= Char('F')) return static_cast<int>(digit - Char('A')) + 10;
  return -1;
}

// `text` begins with "&#".
template <typename Char>
tagReference NumericReference(std::basic_string_view<Char> text) {
  std::size_t at = 2;
  unsigned base = 10;
  if (at < text.size() && text[at] == Char('x')) {
    base = 16;
    ++at;
  }
  char32_t value = 0;
  for (; at < text.size() && value <= kLastCodePoint; ++at) {
    const int digit = DigitOf(text[at], base);
    if (digit < 0) break;
    value = value * base + static_cast<char32_t>(digit);
  }
  const bool isSurrogate = value >= 0xD800 && value <= 0xDFFF;
  const bool isComplete = at < text.size() && text[at] == Char(';');
  if (!isComplete || isSurrogate || value > kLastCodePoint) return {};
  return {value, at + 1};
}

template <typename Char>
tagReference ReferenceAt(std::basic_string_view<Char> text) {
  if (text.size() > 1 && text[1] == Char('#')) return NumericReference(text);
  for (const tagEntity& entity : kEntities) {
    const std::size_t length = entity.name.size() + 2;
    if (text.size() < length || text[length - 1] != Char(';')) continue;
    const bool same = std::equal(entity.name.begin(), entity.name.end(), text.begin() + 1,
                                 [](char a, Char b) { return static_cast<Char>(a) == b; });
    if (same) return {static_cast<char32_t>(entity.character), length};
  }
  return {};
}

template <typename Char>
void Undo(ZRBasicString<Char>& out, const ZRBasicString<Char>& in) {
  if (&out == &in) {
    const ZRBasicString<Char> copy(in.View());
    return Undo(out, copy);
  }
  out.Clear();
  out.Reserve(in.Length());
  std::basic_string_view<Char> rest = in.View();
  while (!rest.empty()) {
    const std::size_t plain = std::min(rest.find(Char('&')), rest.size());
    out.Append(rest.substr(0, plain));
    rest.remove_prefix(plain);
    if (rest.empty()) return;
    const tagReference reference = ReferenceAt(rest);
    if (reference.character == 0) {
      out.Append(Char('&'));
      rest.remove_prefix(1);
      continue;
    }
    Char units[4];
    out.Append(units, static_cast<std::size_t>(PutCodePoint(units, reference.character) - units));
    rest.remove_prefix(reference.length);
  }
}

template <typename Char>
int Count(std::basic_string_view<Char> text, std::basic_string_view<Char> piece) {
  if (piece.empty()) return 0;
  int count = 0;
  for (std::size_t at = text.find(piece); at != text.npos && count < INT_MAX;
       at = text.find(piece, at + piece.size())) {
    ++count;
  }
  return count;
}

}  // namespace

void Text2Xml(ZRString& out, const ZRString& in) {
  if (&out == &in) return Text2Xml(out, ZRString(in));
  static constexpr std::array<bool, 256> kSpecial = SpecialBytes();
  const auto isSpecial = [](char byte) { return kSpecial[static_cast<unsigned char>(byte)]; };
  out.Clear();
  out.Reserve(in.Length());
  const char* at = in.Text();
  const char* const end = at + in.Length();
  while (at < end) {
    const char* const special = std::find_if(at, end, isSpecial);
    out.Append(at, static_cast<std::size_t>(special - at));
    if (special == end) return;
    at = special + AppendSpecial(out, {special, static_cast<std::size_t>(end - special)});
  }
}

void Xml2Text(ZRString& out, const ZRString& in) {
  Undo(out, in);
}
void Xml2Text(ZRWString& out, const ZRWString& in) {
  Undo(out, in);
}

void ParseXMLText(ZRWString& wide, const ZRString& narrow) {
  Utf8ToUtf16(wide, narrow);
  if (wide.View().find(L'&') != std::wstring_view::npos) Xml2Text(wide, wide);
}

int CountSubstring(const ZRWString& text, const ZRWString& piece) {
  return Count(text.View(), piece.View());
}
int CountSubstring(const ZRString& text, const ZRString& piece) {
  return Count(text.View(), piece.View());
}
