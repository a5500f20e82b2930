#include "host/drivervariables/zrdrivervariablenames.h"

#include <string_view>
#include <utility>

namespace {

constexpr wchar_t kSeparator = L'.';
// No driver's name has a bracket in it.
constexpr wchar_t kFilterOpens = L'[';
constexpr wchar_t kFilterCloses = L']';
constexpr wchar_t kArgumentFollows = L':';

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

bool SplitFilterDriverVariable(const ZRWString& name, ZRWString& filter, ZRWString& argument,
                               ZRWString& driver, ZRWString& variable, bool /*reserved*/) {
  std::wstring_view front;
  std::wstring_view rest = name.View();
  const std::size_t closes = rest.find(kFilterCloses);
  if (!rest.empty() && rest.front() == kFilterOpens && closes != std::wstring_view::npos) {
    front = rest.substr(1, closes - 1);
    rest.remove_prefix(closes + 1);
  }
  const std::size_t colon = front.find(kArgumentFollows);
  ZRWString newFilter(front.substr(0, colon));
  ZRWString newArgument(colon == std::wstring_view::npos ? std::wstring_view()
                                                         : front.substr(colon + 1));
  ZRWString newDriver;
  ZRWString newVariable;
  const bool split = SplitDriverVariable(ZRWString(rest), newDriver, newVariable);
  filter = split ? std::move(newFilter) : ZRWString();
  argument = split ? std::move(newArgument) : ZRWString();
  driver = std::move(newDriver);
  variable = std::move(newVariable);
  return split;
}
