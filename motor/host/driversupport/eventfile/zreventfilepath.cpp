#include "host/driversupport/eventfile/zreventfilepath.h"

#include <algorithm>
#include <cerrno>

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
void Narrow(std::wstring_view path, std::string& narrow) {
  narrow.resize(path.size());
  char* to = narrow.data();
  unsigned all = 0;
  for (const wchar_t unit : path) {
    all |= static_cast<unsigned>(unit);
    *to++ = static_cast<char>(unit);
  }
  if (all < 0x80) return;
  const ZRString converted = Utf16ToUtf8(path);
  const bool isSame = Utf8ToUtf16(converted.View()).View() == path;
  narrow = isSame ? converted.View() : std::string_view();
}

// Where the name begins: behind the last slash.
std::size_t NameAt(const std::string& path) {
  return path.rfind('/') + 1;  // 0 if there is none
}

}  // namespace

ZRWString ZREventFilePath::Wide() const {
  return Utf8ToUtf16(text);
}

bool ZREventFilePath::Set(const wchar_t* path) {
  Narrow(path, text);
  const std::size_t name = NameAt(text);
  constexpr std::size_t kFolders = kYearAndMonth + 1;
  if (name < kFolders || !IsMonth(name - kFolders) || !IsName(Part(name, text.size())))
    return Refuse();
  Divide(name - kFolders, name);
  return true;
}

bool ZREventFilePath::SetCopy(const wchar_t* path) {
  Narrow(path, text);
  const std::size_t name = NameAt(text);
  if (!IsName(Part(name, text.size()))) return Refuse();
  Divide(name, name);
  return true;
}

// True if the folders of a year and of a month begin there.
bool ZREventFilePath::IsMonth(std::size_t at) const {
  return (at == 0 || text[at - 1] == '/') && IsDigits(Part(at, kYear)) && text[at + kYear] == '/' &&
         IsDigits(Part(at + kYear + 1, kMonth));
}

void ZREventFilePath::Divide(std::size_t folder, std::size_t name) {
  constexpr std::string_view kHere = "./";
  const std::size_t added = folder == 0 ? kHere.size() : 0;
  if (added != 0) text.insert(0, kHere);
  below = folder + added;
  nameAt = name + added;
}

bool ZREventFilePath::Refuse() {
  errno = EINVAL;
  text.clear();
  below = nameAt = 0;
  return false;
}
