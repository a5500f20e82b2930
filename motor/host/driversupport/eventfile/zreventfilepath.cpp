#include "host/driversupport/eventfile/zreventfilepath.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "host/tools/zrtext.h"

namespace {

bool IsDigits(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Of a file.
bool IsName(std::string_view text) {
  return !text.empty() && text != "." && text != "..";
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
  nameAt = kNameAt;
  text = Narrow(path);
  const std::size_t last = text.rfind('/') + 1;  // 0 if there is none
  const bool isDeepEnough = last >= kNameAt && last < text.size();
  const std::size_t at = isDeepEnough ? last - kNameAt : 0;
  const std::string_view folders(text.data() + at, isDeepEnough ? kNameAt : 0);
  const bool isMonth = isDeepEnough && IsDigits(folders.substr(0, kYear)) &&
                       folders[kYear] == '/' && IsDigits(folders.substr(kYear + 1, kMonth)) &&
                       (at == 0 || text[at - 1] == '/');
  if (!isMonth || !IsName(std::string_view(text).substr(last))) return Refuse();
  Divide(at);
  return true;
}

bool ZREventFilePath::SetCopy(const wchar_t* path) {
  nameAt = 0;
  text = Narrow(path);
  const std::size_t last = text.rfind('/') + 1;
  if (!IsName(std::string_view(text).substr(last))) return Refuse();
  Divide(last);
  return true;
}

bool ZREventFilePath::Refuse() {
  errno = EINVAL;
  text.clear();
  below = 0;
  return false;
}

void ZREventFilePath::Divide(std::size_t at) {
  if (at == 0) text.insert(0, "./");
  below = (at == 0 ? 2 : at) + 1;
  text.insert(below - 1, 1, '\0');
}
