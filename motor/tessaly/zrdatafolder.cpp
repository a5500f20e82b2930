#include "tessaly/zrdatafolder.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "host/platform/zrfilesystem.h"
#include "host/platform/zrplatform.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrsitecheck.h"

namespace {

constexpr const char* kProbe = ".tessaly-probe";

std::string DataFolder(const ZRTessalySetup& setup) {
  return std::string(Utf16ToUtf8(setup.DataPath().View()).View());
}

// An open folder, closed with the object.
class CFolder {
 public:
  explicit CFolder(const std::string& path)
      : files(ZRPlatform::Get().Files()), handle(files.OpenFolder(path.c_str())) {}
  ~CFolder() { files.Close(handle); }
  CFolder(const CFolder&) = delete;
  CFolder& operator=(const CFolder&) = delete;
  [[nodiscard]] bool IsOpen() const { return handle != ZRFileSystem::kNone; }
  [[nodiscard]] bool Make(const std::string& name) const {
    return files.MakeFolder(handle, name.c_str()) || errno == EEXIST;
  }
  [[nodiscard]] bool CanBeWritten() const {
    (void)files.Remove(handle, kProbe);  // of a process that was killed just here
    const ZRFileSystem::tagHandle file =
        files.OpenFile(handle, kProbe, ZRFileSystem::tagAccess::kCreate);
    if (file == ZRFileSystem::kNone) return false;
    files.Close(file);
    return files.Remove(handle, kProbe);
  }

 private:
  ZRFileSystem& files;
  const ZRFileSystem::tagHandle handle;
};

// The folder above, and the last name; `path` ends in a separator.
std::pair<std::string, std::string> Divided(const std::string& path) {
  const std::string whole = path.substr(0, path.find_last_not_of('/') + 1);
  const std::size_t behindParent = whole.rfind('/') + 1;  // 0 without a separator
  const std::string parent = whole.substr(0, behindParent);
  return {parent.empty() ? "." : parent, whole.substr(behindParent)};
}

[[nodiscard]] bool Prepare(const std::string& path) {
  const CFolder there(path);
  if (there.IsOpen()) return there.CanBeWritten();
  if (errno != ENOENT) return false;
  const auto [parent, name] = Divided(path);
  const CFolder above(parent);
  if (!above.IsOpen() || !above.Make(name)) return false;
  const CFolder made(path);
  return made.IsOpen() && made.CanBeWritten();
}

ZRFinding NoHistory(const ZRTessalySetup& setup, int error) {
  return {ZRFinding::tagKind::kDropped, ShownPath(setup, setup.DataPath()), 0, 0,
          "no history can be written: " + std::generic_category().message(error)};
}

bool AreDigits(std::string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// The names in a folder that are so many digits, ascending.
std::vector<std::string> Numbers(const std::string& folder, std::size_t digits) {
  std::vector<std::string> names;
  (void)ZRPlatform::Get().ListFolder(folder, names);
  names.erase(std::remove_if(names.begin(), names.end(),
                             [digits](const std::string& name) {
                               return name.size() != digits || !AreDigits(name);
                             }),
              names.end());
  std::sort(names.begin(), names.end());
  return names;
}

void ListMonth(const std::string& dataFolder, const std::string& month,
               std::vector<ZRDataFile>& files) {
  std::vector<std::string> names;
  (void)ZRPlatform::Get().ListFolder(dataFolder + month, names);
  std::sort(names.begin(), names.end());
  for (const std::string& name : names)
    files.push_back({KindOfDataFile(name), month + name});
}

}  // namespace

void PrepareDataFolder(const ZRTessalySetup& setup, ZRFindings& findings) {
  if (!Prepare(DataFolder(setup))) findings.push_back(NoHistory(setup, errno));
}

void CheckDataFolder(const ZRTessalySetup& setup, ZRFindings& findings) {
  const std::string path = DataFolder(setup);
  const bool isMissing = ::access(path.c_str(), F_OK) != 0 && errno == ENOENT;
  const std::string toWrite = isMissing ? Divided(path).first : path;
  if (::access((toWrite + "/.").c_str(), W_OK | X_OK) != 0) {
    findings.push_back(NoHistory(setup, errno));
  } else if (isMissing) {
    findings.push_back({ZRFinding::tagKind::kHint, ShownPath(setup, setup.DataPath()), 0, 0,
                        "no such folder: the next run makes it"});
  }
}

ZRDataFile::tagKind KindOfDataFile(std::string_view name) {
  constexpr std::string_view kExtension = ".suc";
  constexpr std::string_view kTorn = ".torn-";
  constexpr std::string_view kTemporary = ".tmp-";
  if (name.starts_with(kTemporary)) return ZRDataFile::tagKind::kUnfinished;
  if (name.ends_with(kExtension)) return ZRDataFile::tagKind::kRecords;
  const std::size_t torn = name.rfind(kTorn);
  if (torn != name.npos && name.substr(0, torn).ends_with(kExtension) &&
      AreDigits(name.substr(torn + kTorn.size())))
    return ZRDataFile::tagKind::kTorn;
  return ZRDataFile::tagKind::kOther;
}

bool ListDataFiles(const std::string& dataFolder, std::vector<ZRDataFile>& files) {
  constexpr std::size_t kYearDigits = 4;
  constexpr std::size_t kMonthDigits = 2;
  files.clear();
  std::vector<std::string> names;
  if (!ZRPlatform::Get().ListFolder(dataFolder, names)) return false;
  for (const std::string& year : Numbers(dataFolder, kYearDigits)) {
    for (const std::string& month : Numbers(dataFolder + year, kMonthDigits)) {
      std::string below = year;
      below.append("/").append(month).append("/");
      ListMonth(dataFolder, below, files);
    }
  }
  return true;
}
