#include "zrevents/actions/zreventsmsmessage.h"

#include <string_view>

std::vector<ZRString> CutIntoSms(const ZRString& text, bool forceBreak) {
  std::string_view rest = text.View();
  std::vector<ZRString> parts;
  do {
    parts.emplace_back(rest.substr(0, kSmsLength));
    rest.remove_prefix(parts.back().Length());
  } while (!rest.empty() && !forceBreak);
  return parts;
}
