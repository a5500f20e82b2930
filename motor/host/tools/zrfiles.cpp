#include "host/tools/zrfiles.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <memory>
#include <string>

#include "host/platform/zrmutex.h"
#include "host/tools/zrtext.h"

namespace {

constexpr wchar_t kSeparator = L'/';
constexpr std::wstring_view kEverything = L"*.*";

// The folder of the running program; empty if the system doesn't say.
ZRWString FolderOfProgram() {
  std::array<char, PATH_MAX> path{};
  const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
  if (length <= 0) return {};
  const std::string_view program(path.data(), static_cast<std::size_t>(length));
  return Utf8ToUtf16(program.substr(0, program.rfind('/') + 1));
}

// The two folders of the installation.
//
// Threads   any; its mutex is a leaf.
class ZRInstallation {
 public:
  ZRWString App() {
    const ZRMutexLock lock(mutex);
    return app;
  }
  ZRWString Share() {
    const ZRMutexLock lock(mutex);
    return share.IsEmpty() ? app + L"share/" : share;
  }
  void SetApp(const ZRWString& path) {
    const ZRMutexLock lock(mutex);
    app = WithSeparator(path);
  }
  void SetShare(const ZRWString& path) {
    const ZRMutexLock lock(mutex);
    share = WithSeparator(path);
  }

 private:
  static ZRWString WithSeparator(const ZRWString& path) {
    const bool ends = !path.IsEmpty() && path[path.Length() - 1] == kSeparator;
    return path.IsEmpty() || ends ? path : path + L"/";
  }

  ZRMutex mutex;
  ZRWString app ZR_GUARDED_BY(mutex) = FolderOfProgram();
  ZRWString share ZR_GUARDED_BY(mutex);  // empty until it is set
};

ZRInstallation& Installation() {
  static ZRInstallation installation;
  return installation;
}

// A path for the platform. False, with errno set, for a text that is none.
bool ToPath(const wchar_t* wide, std::string& path) {
  if (wide == nullptr || *wide == L'\0') {
    errno = ENOENT;
    return false;
  }
  path = Utf16ToUtf8(std::wstring_view(wide)).View();
  return true;
}

bool IsFolder(const ZRString& path) {
  std::vector<std::string> names;
  return ZRPlatform::Get().ListFolder(std::string(path.View()), names);
}

// "*" is any text, "?" one unit. Goes back to the last "*" only, so that no pattern costs more
// than its length times the name's.
bool Matches(std::wstring_view pattern, std::wstring_view name) {
  std::size_t inPattern = 0;
  std::size_t inName = 0;
  std::size_t behindStar = std::wstring_view::npos;
  std::size_t resume = 0;
  while (inName < name.size()) {
    const bool left = inPattern < pattern.size();
    if (left && pattern[inPattern] == L'*') {
      behindStar = ++inPattern;
      resume = inName;
    } else if (left && (pattern[inPattern] == L'?' || pattern[inPattern] == name[inName])) {
      ++inPattern;
      ++inName;
    } else if (behindStar != std::wstring_view::npos) {
      inPattern = behindStar;
      inName = ++resume;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of(L'*', inPattern) == std::wstring_view::npos;
}

// A name that is UTF-8; false for any other.
bool ToWideName(const std::string& name, ZRWString& wide) {
  wide = Utf8ToUtf16(name);
  return Utf16ToUtf8(wide.View()).View() == name;
}

}  // namespace

ZRWString GetAppPath() {
  return Installation().App();
}
ZRWString GetSharePath() {
  return Installation().Share();
}
void SetAppPath(const ZRWString& path) {
  Installation().SetApp(path);
}
void SetSharePath(const ZRWString& path) {
  Installation().SetShare(path);
}

void SplitFileName(const ZRWString& title, ZRWString& first, ZRWString& second) {
  const ZRWString whole(title.View());  // the results may be the title itself
  const std::wstring_view text = whole.View();
  const std::size_t point = std::min(text.find(L'.'), text.size());
  first = ZRWString(text.substr(0, point));
  second = ZRWString(text.substr(std::min(point + 1, text.size())));
}

std::FILE* widefopen(const wchar_t* path, const wchar_t* mode) {
  std::string narrowPath;
  if (!ToPath(path, narrowPath)) return nullptr;
  if (mode == nullptr) {
    errno = EINVAL;
    return nullptr;
  }
  const ZRString narrowMode = Utf16ToUtf8(std::wstring_view(mode));
  return ZRPlatform::Get().OpenFile(narrowPath, narrowMode.Text());
}

std::FILE* widefcreate(const wchar_t* path) {
  std::string narrow;
  return ToPath(path, narrow) ? ZRPlatform::Get().CreatePrivateFile(narrow) : nullptr;
}

int wideremove(const wchar_t* path) {
  std::string narrow;
  return ToPath(path, narrow) && ZRPlatform::Get().RemoveFile(narrow) ? 0 : -1;
}

int widerename(const wchar_t* from, const wchar_t* to) {
  std::string narrowFrom;
  std::string narrowTo;
  if (!ToPath(from, narrowFrom) || !ToPath(to, narrowTo)) return -1;
  return ZRPlatform::Get().RenameFile(narrowFrom, narrowTo) ? 0 : -1;
}

bool ReadWholeFile(const ZRWString& path, std::size_t limit, ZRString& content) {
  content.Clear();
  const auto close = [](std::FILE* open) { (void)std::fclose(open); };
  const std::unique_ptr<std::FILE, decltype(close)> file(widefopen(path.Text(), L"rb"), close);
  if (file == nullptr) return false;
  ZRString whole;
  whole.SetGrowth(ZRString::kGrow | ZRString::kGrowDouble);
  const std::size_t most = std::min<std::size_t>(limit, ZRString::kMaximumLength);
  std::array<char, 16384> piece{};
  std::size_t read = 0;
  do {
    read = std::fread(piece.data(), 1, piece.size(), file.get());
    if (read > most - whole.Length()) return false;
    whole.Append(piece.data(), read);
  } while (read > 0);
  if (std::ferror(file.get()) != 0) return false;
  content = std::move(whole);
  return true;
}

int ZRFileFind::FindFile(const ZRWString& pattern) {
  const std::wstring_view text = pattern.View();
  const std::size_t behindFolder = text.rfind(kSeparator) + 1;  // 0 without a separator
  const ZRWString where(text.substr(0, behindFolder));
  const ZRWString last(text.substr(behindFolder));
  folder = where;
  names.clear();
  next = 0;
  std::vector<std::string> listed;
  const ZRString narrowFolder = Utf16ToUtf8(where.IsEmpty() ? L"./" : where.View());
  if (!ZRPlatform::Get().ListFolder(std::string(narrowFolder.View()), listed)) return 0;

  const bool everything = last.View() == kEverything;
  for (const std::string& name : listed) {
    ZRWString wide;
    if (!ToWideName(name, wide)) continue;
    if (everything || (Matches(last.View(), wide.View()) &&
                       !IsFolder(narrowFolder + ZRString(std::string_view(name))))) {
      names.push_back(std::move(wide));
    }
  }
  std::sort(names.begin(), names.end());
  if (everything && names.empty()) names.emplace_back(L".");
  return names.empty() ? 0 : 1;
}

int ZRFileFind::FindNextFileW() {
  if (next < names.size()) ++next;
  return next < names.size() ? 1 : 0;
}

ZRWString ZRFileFind::GetFileName() const {
  return next > 0 && next <= names.size() ? names[next - 1] : ZRWString();
}

ZRWString ZRFileFind::GetFilePath() const {
  const ZRWString name = GetFileName();
  return name.IsEmpty() ? name : folder + name;
}

ZRWString ZRFileFind::GetFileTitle() const {
  const ZRWString name = GetFileName();
  const std::wstring_view text = name.View();
  return ZRWString(text.substr(0, text.rfind(L'.')));
}
