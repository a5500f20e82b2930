#include "host/tools/xmldocument_text.h"

#include <algorithm>
#include <cstdint>

#include "host/tools/zrtext.h"

namespace {

constexpr wchar_t kLastAscii = 0x7F;

// Narrows `source` into `target`, which has room for it. False, with rubbish there, if not all of
// it is ASCII. Looks at every unit, so that the compiler can take many at once.
bool Narrow(std::wstring_view source, char* target) {
  constexpr std::uint32_t kAscii = kLastAscii;
  std::uint32_t bits = 0;
  for (std::size_t at = 0; at < source.size(); ++at) {
    const auto unit =
        static_cast<std::uint32_t>(source[at]);  // NOLINT(bugprone-signed-char-misuse)
    bits |= unit;
    target[at] = static_cast<char>(unit);
  }
  return bits <= kAscii;
}

}  // namespace

// NOLINTBEGIN(cppcoreguidelines-pro-type-member-init): to clear the room costs more than to fill it
ZRNarrowText::ZRNarrowText(const wchar_t* source) {
  if (source != nullptr) Take(std::wstring_view(source));
}

ZRNarrowText::ZRNarrowText(std::wstring_view source) {
  Take(source);
}

ZRNarrowText::ZRNarrowText(const char* source) {
  if (source != nullptr) Take(std::string_view(source));
}

ZRNarrowText::ZRNarrowText(std::string_view source) {
  Take(source);
}
// NOLINTEND(cppcoreguidelines-pro-type-member-init)

void ZRNarrowText::Take(std::wstring_view source) {
  if (source.size() <= shortText.size() && Narrow(source, shortText.data())) {
    view = std::string_view(shortText.data(), source.size());
    return;
  }
  longText = Utf16ToUtf8(source);
  view = longText.View();
}

// Text with more than ASCII goes to UTF-16 and back, which mends what isn't UTF-8.
void ZRNarrowText::Take(std::string_view source) {
  const auto isAscii = [](char c) { return static_cast<unsigned char>(c) <= kLastAscii; };
  view = source;
  if (std::all_of(source.begin(), source.end(), isAscii)) return;
  longText = Utf16ToUtf8(Utf8ToUtf16(source).View());
  view = longText.View();
}
