// How numbers are shown.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

#include "host/tools/zrstringtable.h"
#include "host/tools/zrtext.h"

namespace {

constexpr int kMostDigits = 15;  // of "N" and "M"
constexpr int kShortest = -1;
constexpr double kPlainFrom = 1e-5;  // the shortest text is plain from here
constexpr double kPlainBelow = 1e15;
constexpr std::size_t kGroup = 3;

struct tagSeparators {
  wchar_t decimals;
  wchar_t thousands;
};

tagSeparators SeparatorsOfLanguage() {
  if (StringLanguage() == "es") return {L',', L'.'};
  return {L'.', L','};
}

// Takes a number of one or two digits, up to kMostDigits, from the front.
bool TakeNumber(std::wstring_view& text, int& number) {
  std::size_t taken = 0;
  number = 0;
  for (; taken < text.size() && text[taken] >= L'0' && text[taken] <= L'9'; ++taken) {
    if (taken == 2) return false;
    number = number * 10 + (text[taken] - L'0');
  }
  text.remove_prefix(taken);
  return taken > 0 && number <= kMostDigits;
}

bool TakePrefix(std::wstring_view& text, wchar_t prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(1);
  return true;
}

struct tagNumberFormat {
  int digits = 1;
  int decimals = kShortest;
  bool sign = false;
  bool scientific = false;
};

bool Parse(std::wstring_view text, tagNumberFormat& format) {
  format.sign = TakePrefix(text, L'+');
  format.scientific = TakePrefix(text, L'e');
  if (!TakeNumber(text, format.decimals)) return false;
  if (!format.scientific && TakePrefix(text, L'.')) {
    format.digits = format.decimals;
    if (!TakeNumber(text, format.decimals)) return false;
  }
  return text.empty();
}

// The digits of a number without sign, in the C notation. 309 before the point at most.
class ZRDigits {
 public:
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): the buffer is filled as far as shown
  ZRDigits(double size, int decimals, bool scientific) {
    const bool plain = size == 0 || (size >= kPlainFrom && size < kPlainBelow);
    const auto form = scientific || (decimals < 0 && !plain) ? std::chars_format::scientific
                                                             : std::chars_format::fixed;
    end = decimals < 0 ? std::to_chars(buffer, buffer + sizeof buffer, size, form).ptr
                       : std::to_chars(buffer, buffer + sizeof buffer, size, form,
                                       std::min(decimals, kMostDigits))
                             .ptr;
    isScientific = form == std::chars_format::scientific;
  }
  [[nodiscard]] std::string_view View() const {
    return {buffer, static_cast<std::size_t>(end - buffer)};
  }
  [[nodiscard]] bool IsScientific() const { return isScientific; }

 private:
  char buffer[512];
  char* end;
  bool isScientific;
};

bool IsZero(std::string_view digits) {
  const std::string_view mantissa = digits.substr(0, digits.find('e'));
  return mantissa.find_first_of("123456789") == std::string_view::npos;
}

void AppendWhole(ZRWString& out, std::string_view whole, std::size_t least, wchar_t separator) {
  const std::size_t all = std::max(whole.size(), least);
  const std::size_t filling = all - whole.size();
  for (std::size_t at = 0; at < all; ++at) {
    if (separator != L'\0' && at > 0 && (all - at) % kGroup == 0) out.Append(separator);
    out.Append(at < filling ? L'0' : static_cast<wchar_t>(whole[at - filling]));
  }
}

}  // namespace

void ParseFormat(const ZRWString& format, int& digits, int& decimals, bool& sign,
                 bool& scientific) {
  tagNumberFormat read;
  if (!Parse(format.View(), read)) read = tagNumberFormat();
  digits = read.digits;
  decimals = read.decimals;
  sign = read.sign;
  scientific = read.scientific;
}

void FormatDouble(ZRWString& out, double value, int digits, int decimals, bool thousands, bool sign,
                  bool scientific) {
  out.Clear();
  if (std::isnan(value)) return out.Append(L"nan", 3);
  const bool finite = std::isfinite(value);
  const ZRDigits number(finite ? std::fabs(value) : 0, decimals, scientific);
  const std::string_view shown = number.View();
  out.Reserve(2 * (shown.size() + kMostDigits));  // all of it, whatever the separators
  if (!finite || !IsZero(shown)) {
    if (std::signbit(value)) out.Append(L'-');
    if (sign && !std::signbit(value)) out.Append(L'+');
  }
  if (!finite) return out.Append(L"inf", 3);

  const tagSeparators separators = SeparatorsOfLanguage();
  const std::size_t whole = std::min(shown.find_first_of(".e"), shown.size());
  const auto least = static_cast<std::size_t>(std::clamp(digits, 1, kMostDigits));
  AppendWhole(out, shown.substr(0, whole), number.IsScientific() ? 1 : least,
              thousands && !number.IsScientific() ? separators.thousands : L'\0');
  for (const char character : shown.substr(whole)) {
    out.Append(character == '.' ? separators.decimals : static_cast<wchar_t>(character));
  }
}
