#include "host/user/zrsystemuser.h"

#include <cwchar>
#include <limits>

int ZRSystemUser::IndexOf(const ZRWString& text) {
  const double number = std::wcstod(text.Text(), nullptr);
  const bool fits = number > -1.0 && number < std::numeric_limits<int>::max();
  return fits ? static_cast<int>(number) : -1;
}

bool ZRSystemUser::getParameterValueInfo(const char* parameter, int index, ZRWString& value) const {
  const bool isMail = ZRChar::Compare(parameter, kMail) == 0;
  if (!isMail && ZRChar::Compare(parameter, kPhone) != 0) return false;
  const std::vector<ZRWString>& values = isMail ? mails : phones;
  if (index < 0 || static_cast<std::size_t>(index) >= values.size()) return false;
  value = values[static_cast<std::size_t>(index)];
  return true;
}
