#include "tessaly/zrtransitionline.h"

#include <algorithm>

#include "host/tools/zrtext.h"
#include "zrevents/zreventdriver.h"

ZRWString DurationText(double seconds) {
  constexpr long long kMinute = 60;
  constexpr long long kHour = 60 * kMinute;
  constexpr long long kDay = 24 * kHour;
  constexpr double kLongest = 1e15;
  const auto whole = static_cast<long long>(std::clamp(seconds, 0.0, kLongest));
  if (whole < kMinute) return FormatWide(L"%lld s", whole);
  if (whole < kHour) return FormatWide(L"%lld min %lld s", whole / kMinute, whole % kMinute);
  if (whole < kDay) return FormatWide(L"%lld h %lld min", whole / kHour, whole % kHour / kMinute);
  return FormatWide(L"%lld d %lld h", whole / kDay, whole % kDay / kHour);
}

ZRWString TransitionLine(const ZREventDriver& event, bool active, double seconds) {
  if (!active) {
    return FormatWide(L"inactive: %ls, after %ls", event.Name().Text(),
                      DurationText(seconds).Text());
  }
  const ZRWString text = event.Annotation();
  if (text.IsEmpty()) return ZRWString(L"active: ") + event.Name();
  return FormatWide(L"active: %ls - %ls", event.Name().Text(), text.Text());
}
