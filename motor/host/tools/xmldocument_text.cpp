#include "host/tools/xmldocument_text.h"

#include <algorithm>

#include "host/tools/zrtext.h"

namespace {

constexpr wchar_t kLastAscii = 0x7F;

}  // namespace

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

void ZRNarrowText::Take(std::wstring_view source) {
  const auto isAscii = [](wchar_t unit) { return unit >= 0 && unit <= kLastAscii; };
  if (source.size() <= shortText.size() && std::all_of(source.begin(), source.end(), isAscii)) {
    std::transform(source.begin(), source.end(), shortText.begin(),
                   [](wchar_t unit) { return static_cast<char>(unit); });
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
