// What `tessaly user` makes of the logins of a site.
#pragma once

#include <string>
#include <string_view>

#include "host/user/zrlogins.h"
#include "tessaly/zrcommandline.h"

struct ZRLoginAnswer {
  bool isDone = false;     // else `text` says what is in the way, and nothing has changed
  bool isChanged = false;  // there is something to write
  std::string text;        // for a person, without a line's end
};

// What can't be used of the words for any logins; empty for nothing.
[[nodiscard]] std::string WrongWithWords(const ZRUserWords& words);

// Does what the words say, kList excepted. `words.resource` is an id. Of the password only the
// digests are kept, that of MD5 with `withMd5`.
[[nodiscard]] ZRLoginAnswer ChangeLogins(const ZRUserWords& words, std::string_view password,
                                         bool withMd5, ZRLogins& logins);
