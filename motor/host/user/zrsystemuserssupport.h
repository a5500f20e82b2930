#pragma once

#include <map>
#include <string_view>
#include <vector>

#include "host/support/zrtessalysetup.h"
#include "host/tools/zrbasicstring.h"
#include "host/user/zrsystemuser.h"

// The users of a site and its lists of addresses, from the users.toml of docs/users.md.
//
// Threads   loaded by the host while nothing runs; read only from then on, by any thread.
// Promise   a Load that fails changes nothing.
class ZRSystemUsersSupport {
 public:
  static constexpr const char* kFileName = "users.toml";

  // The one of the process.
  [[nodiscard]] static ZRSystemUsersSupport& Get();

  // Replaces everything by what the file holds; a missing one holds nothing. False if it can't be
  // read, isn't TOML, or holds what it may not: the problems say where. A key that nobody knows is
  // a problem in `warnings`. Both lists are replaced.
  [[nodiscard]] bool Load(const ZRWString& file, std::vector<ZRSettingProblem>& problems,
                          std::vector<ZRSettingProblem>& warnings);
  // The same with the text of the file.
  [[nodiscard]] bool LoadText(std::string_view toml, std::vector<ZRSettingProblem>& problems,
                              std::vector<ZRSettingProblem>& warnings);

  // The user of that name, owned here until the next Load. False if there is none.
  [[nodiscard]] bool getSystemUser(const ZRWString& name, ZRSystemUser** user);
  // Replace `mails` and `phones` by those of the list of that name. False if there is none.
  [[nodiscard]] bool getMailListMails(const ZRWString& name, std::vector<ZRWString>& mails) const;
  [[nodiscard]] bool getPhoneListPhones(const ZRWString& name,
                                        std::vector<ZRWString>& phones) const;

 private:
  class CReader;
  struct tagList {
    std::vector<ZRWString> mails;
    std::vector<ZRWString> phones;
  };

  std::map<ZRWString, ZRSystemUser> users;
  std::map<ZRWString, tagList> lists;
};
