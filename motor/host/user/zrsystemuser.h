#pragma once

#include <vector>

#include "host/tools/zrbasicstring.h"

// A person of the site, and where messages reach him.
//
// Threads   changed by ZRSystemUsersSupport::Load only.
class ZRSystemUser {
 public:
  static constexpr const char* kMail = "MAIL";
  static constexpr const char* kPhone = "PHONEGSM";

  // The value of a parameter at an index, from 0. False if there is none.
  [[nodiscard]] bool getParameterValueInfo(const char* parameter, int index,
                                           ZRWString& value) const;

 private:
  friend class ZRSystemUsersSupport;

  std::vector<ZRWString> mails;
  std::vector<ZRWString> phones;
};
