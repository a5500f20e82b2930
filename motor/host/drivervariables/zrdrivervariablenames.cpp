#include "host/drivervariables/zrdrivervariablenames.h"

#include <string_view>
#include <utility>

namespace {

constexpr wchar_t kSeparator = L'.';

}  // namespace

void JoinDriverVariable(const ZRWString& driver, const ZRWString& variable, ZRWString& fullName) {
  ZRWString joined(driver.View());
  joined.Append(kSeparator);
  joined.Append(variable.View());
  fullName = std::move(joined);
}

bool SplitDriverVariable(const ZRWString& fullName, ZRWString& driver, ZRWString& variable) {
  const std::wstring_view whole = fullName.View();
  const std::size_t point = whole.find(kSeparator);
  if (point == std::wstring_view::npos) return false;
  ZRWString front(whole.substr(0, point));
  ZRWString behind(whole.substr(point + 1));
  if (front.IsEmpty() || behind.IsEmpty()) return false;
  driver = std::move(front);
  variable = std::move(behind);
  return true;
}
