#include "host/driversupport/eventfile/zreventfilepath.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "host/tools/zrtext.h"

namespace {

bool IsDigits(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// The same path in UTF-8; empty if it can't be said so.
std::string Narrow(std::wstring_view path) {
  const bool isPlain = std::all_of(path.begin(), path.end(),
                                   [](wchar_t c) { return static_cast<unsigned>(c) < 0x80; });
  if (isPlain) {
    std::string narrow(path.size(), '\0');
    std::transform(path.begin(), path.end(), narrow.begin(),
                   [](wchar_t c) { return static_cast<char>(c); });
    return narrow;
  }
  const ZRString narrow = Utf16ToUtf8(path);
  const bool isSame = Utf8ToUtf16(narrow.View()).View() == path;
  return isSame ? std::string(narrow.View()) : std::string();
}

}  // namespace

ZRWString ZREventFilePath::Wide() const {
  return Utf8ToUtf16(std::string(Root()) + Below());
}

bool ZREventFilePath::Set(const wchar_t* path) {
  text = Narrow(path);
  const std::size_t nameAt = text.rfind('/') + 1;  // 0 if there is none
  const bool isDeepEnough = nameAt >= kNameAt && nameAt < text.size();
  const std::size_t at = isDeepEnough ? nameAt - kNameAt : 0;
  const std::string_view folders(text.data() + at, isDeepEnough ? kNameAt : 0);
  const bool isMonth = isDeepEnough && IsDigits(folders.substr(0, kYear)) &&
                       folders[kYear] == '/' && IsDigits(folders.substr(kYear + 1, kMonth)) &&
                       (at == 0 || text[at - 1] == '/');
  const std::string_view name = std::string_view(text).substr(nameAt);
  if (!isMonth || name == "." || name == "..") {
    errno = EINVAL;
    text.clear();
    below = 0;
    return false;
  }
  if (at == 0) {
    text.insert(0, "./");
  }
  below = (at == 0 ? 2 : at) + 1;
  text.insert(below - 1, 1, '\0');
  return true;
}
