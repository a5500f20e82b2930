// The logins of a site on the disk.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/platform/zrsecretfile.h"
#include "host/support/zrtessalysetup.h"
#include "host/tools/zrbasicstring.h"
#include "host/user/zrlogins.h"

// The logins.toml of docs/logins.md: a file of its owner alone.
//
// Threads   any.
// Promise   no change is lost, however many processes change it at the same time.
class ZRLoginsFile {
 public:
  static constexpr const char* kFileName = "logins.toml";
  static constexpr const char* kLockName = "logins.lock";
  static constexpr std::uint32_t kPatience = 5000;  // ms for another change to end

  // In the configuration folder.
  explicit ZRLoginsFile(const ZRWString& folder);

  // Replaces `logins` by what the file holds; a missing one holds nobody. False, with nobody in
  // `logins`, if the file isn't its owner's alone or isn't as it should be: the problems say why.
  // Both lists are replaced.
  [[nodiscard]] bool Load(ZRLogins& logins, std::vector<ZRSettingProblem>& problems,
                          std::vector<ZRSettingProblem>& warnings) const;

  // Reads the file, lets `change` change what it holds, and writes it if that returns true. Nobody
  // else changes it meanwhile. False with a reason if that couldn't be done; then it is as before.
  [[nodiscard]] bool Change(const std::function<bool(ZRLogins&)>& change,
                            std::string& reason) const;

  [[nodiscard]] ZRSecretFile::tagStamp Stamp() const { return file.Stamp(); }

 private:
  const std::string folderUtf8;
  const ZRSecretFile file;
};
