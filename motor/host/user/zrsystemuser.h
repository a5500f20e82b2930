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

  // The index that a text stands for: the number that it begins with, without its fraction; 0
  // without one, -1 for one that no index can be.
  [[nodiscard]] static int IndexOf(const ZRWString& text);

  // The value of a parameter at an index, from 0. False if there is none.
  [[nodiscard]] bool getParameterValueInfo(const char* parameter, int index,
                                           ZRWString& value) const;

 private:
  friend class ZRSystemUsersSupport;

  std::vector<ZRWString> mails;
  std::vector<ZRWString> phones;
};
