#include "host/user/zrloginsfile.h"

#include <cerrno>
#include <system_error>

#include "host/platform/zrfilesystem.h"
#include "host/platform/zrplatform.h"
#include "host/support/zrsettingstext.h"
#include "host/tools/zrtext.h"
#include "host/user/zrlogintext.h"

namespace {

// The right to change the logins of a folder, until the object goes. The file stays.
class CLock {
 public:
  CLock() = default;
  ~CLock() { ZRPlatform::Get().Files().Close(file); }
  CLock(const CLock&) = delete;
  CLock& operator=(const CLock&) = delete;

  // False with a reason.
  bool Take(const std::string& folder, std::string& reason) {
    if (Open(folder) && TakeInTime()) return true;
    const int error = errno;
    reason = error == EAGAIN ? "somebody else is changing it"
                             : std::string(ZRLoginsFile::kLockName) +
                                   " can't be made: " + std::generic_category().message(error);
    return false;
  }

 private:
  bool Open(const std::string& folder) {
    using tagAccess = ZRFileSystem::tagAccess;
    ZRFileSystem& files = ZRPlatform::Get().Files();
    const ZRFileSystem::tagHandle place = files.OpenFolder(folder.c_str());
    if (place == ZRFileSystem::kNone) return false;
    file = files.OpenFile(place, ZRLoginsFile::kLockName, tagAccess::kCreate);
    if (file == ZRFileSystem::kNone && errno == EEXIST)
      file = files.OpenFile(place, ZRLoginsFile::kLockName, tagAccess::kReadWrite);
    const int error = errno;
    files.Close(place);
    errno = error;
    return file != ZRFileSystem::kNone;
  }

  bool TakeInTime() const {
    constexpr std::uint32_t kStep = 50;  // ms
    ZRPlatform& platform = ZRPlatform::Get();
    for (std::uint32_t waited = 0;; waited += kStep) {
      if (platform.Files().TryLock(file)) return true;
      if (errno != EAGAIN || waited >= ZRLoginsFile::kPatience) return false;
      platform.Sleep(kStep);
    }
  }

  ZRFileSystem::tagHandle file = ZRFileSystem::kNone;
};

std::string Shown(const ZRSettingProblem& problem) {
  const std::string text(problem.text.View());
  return problem.line == 0 ? text : "line " + std::to_string(problem.line) + ": " + text;
}

}  // namespace

ZRLoginsFile::ZRLoginsFile(const ZRWString& folder)
    : folderUtf8(Utf16ToUtf8(folder.View()).View()), file(folderUtf8, kFileName) {}

bool ZRLoginsFile::Load(ZRLogins& logins, std::vector<ZRSettingProblem>& problems,
                        std::vector<ZRSettingProblem>& warnings) const {
  std::string content;
  std::string reason;
  if (file.Read(kMaximumSettingsSize, content, reason) != ZRSecretFile::tagAnswer::kRefused)
    return ReadLogins(content, logins, problems, warnings);
  logins = {};
  warnings.clear();
  problems.assign(1, {ZRString(std::string_view(reason)), 0, 0});
  return false;
}

bool ZRLoginsFile::Change(const std::function<bool(ZRLogins&)>& change, std::string& reason) const {
  CLock lock;
  if (!lock.Take(folderUtf8, reason)) return false;
  ZRLogins logins;
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRSettingProblem> warnings;
  if (!Load(logins, problems, warnings)) {
    reason = Shown(problems.front());
    return false;
  }
  if (!change(logins)) return true;
  const std::string content = WriteLogins(logins);
  if (content.size() <= kMaximumSettingsSize) return file.Replace(content, reason);
  reason = "it would be larger than 1 MiB";
  return false;
}
