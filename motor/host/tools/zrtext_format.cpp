// printf for wide text.
#include <sys/types.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <string>

#include "host/tools/zrtext.h"

namespace {

constexpr int kMostUnits = 4096;  // of a width and of a precision
constexpr int kDefaultPrecision = 6;
constexpr int kNone = -1;

enum class Length { Int, Long, LongLong, Size };

struct tagConversion {
  bool zeros = false;
  bool left = false;
  bool plus = false;
  int width = 0;
  int precision = kNone;
  Length length = Length::Int;
  wchar_t kind = L'\0';
};

int TakeNumber(const wchar_t*& at) {
  int number = 0;
  for (; *at >= L'0' && *at <= L'9'; ++at) {
    number = std::min(number * 10 + (*at - L'0'), kMostUnits);
  }
  return number;
}

// Reads what stands behind a "%". False if the format ends before the conversion does.
bool TakeConversion(const wchar_t*& at, tagConversion& conversion) {
  for (;; ++at) {
    if (*at == L'0') {
      conversion.zeros = true;
    } else if (*at == L'-') {
      conversion.left = true;
    } else if (*at == L'+') {
      conversion.plus = true;
    } else {
      break;
    }
  }
  conversion.width = TakeNumber(at);
  if (*at == L'.') {
    ++at;
    conversion.precision = TakeNumber(at);
  }
  if (*at == L'z') {
    conversion.length = Length::Size;
    ++at;
  } else if (*at == L'l') {
    conversion.length = at[1] == L'l' ? Length::LongLong : Length::Long;
    at += at[1] == L'l' ? 2 : 1;
  }
  conversion.kind = *at;
  if (*at == L'\0') return false;
  ++at;
  return true;
}

// The arguments, taken one by one.
// NOLINTBEGIN(clang-analyzer-valist.*, cppcoreguidelines-pro-type-member-init): the constructor
// copies the list, and the analyser doesn't follow it into a member.
class ZRArguments {
 public:
  explicit ZRArguments(std::va_list toRead) { va_copy(list, toRead); }
  ~ZRArguments() { va_end(list); }
  ZRArguments(const ZRArguments&) = delete;
  ZRArguments& operator=(const ZRArguments&) = delete;

  long long Signed(Length length) {
    switch (length) {
      case Length::Long:
        return va_arg(list, long);
      case Length::LongLong:
        return va_arg(list, long long);
      case Length::Size:
        return va_arg(list, ssize_t);
      case Length::Int:
        break;
    }
    return va_arg(list, int);
  }

  unsigned long long Unsigned(Length length) {
    switch (length) {
      case Length::Long:
        return va_arg(list, unsigned long);
      case Length::LongLong:
        return va_arg(list, unsigned long long);
      case Length::Size:
        return va_arg(list, std::size_t);
      case Length::Int:
        break;
    }
    return va_arg(list, unsigned int);
  }

  double Double() { return va_arg(list, double); }
  const char* Narrow() { return va_arg(list, const char*); }
  const wchar_t* Wide() { return va_arg(list, const wchar_t*); }

 private:
  std::va_list list;
};
// NOLINTEND(clang-analyzer-valist.*, cppcoreguidelines-pro-type-member-init)

class ZRWideFormatter {
 public:
  ZRWideFormatter(std::wstring& toFill, std::va_list toRead) : out(toFill), arguments(toRead) {}

  void Run(const wchar_t* at) {
    while (*at != L'\0') {
      const wchar_t* const next = std::wcschr(at, L'%');
      if (next == nullptr) {
        out.append(at);
        return;
      }
      out.append(at, next);
      at = next + 1;
      if (*at == L'%') {
        out.push_back(*at++);
        continue;
      }
      tagConversion conversion;
      if (!TakeConversion(at, conversion) || !Convert(conversion)) out.append(next, at);
    }
  }

 private:
  // False for an unknown conversion.
  bool Convert(const tagConversion& conversion) {
    const bool wide = conversion.length == Length::Long;
    switch (conversion.kind) {
      case L'd':
      case L'i':
        PutSigned(conversion);
        return true;
      case L'u':
      case L'x':
      case L'X':
        PutUnsigned(conversion);
        return true;
      case L'f':
      case L'e':
      case L'g':
        if (conversion.length == Length::Int || wide) {
          PutDouble(conversion);
          return true;
        }
        return false;
      case L's':
        if (conversion.length != Length::Int && !wide) return false;
        wide ? PutWide(conversion) : PutNarrow(conversion);
        return true;
      case L'c':
        if (conversion.length != Length::Int && !wide) return false;
        PutCharacter(conversion);
        return true;
      default:
        return false;
    }
  }

  void PutSigned(const tagConversion& conversion) {
    const long long value = arguments.Signed(conversion.length);
    const auto bits = static_cast<unsigned long long>(value);
    PutInteger(conversion, value < 0 ? 0 - bits : bits, Sign(value < 0, conversion));
  }

  void PutUnsigned(const tagConversion& conversion) {
    PutInteger(conversion, arguments.Unsigned(conversion.length), "");
  }

  void PutInteger(const tagConversion& conversion, unsigned long long value, const char* sign) {
    const bool hexadecimal = conversion.kind == L'x' || conversion.kind == L'X';
    char digits[24];
    char* const end =
        std::to_chars(digits, digits + sizeof digits, value, hexadecimal ? 16 : 10).ptr;
    if (conversion.kind == L'X') {
      std::transform(digits, end, digits, [](char digit) {
        return digit >= 'a' ? static_cast<char>(digit - 'a' + 'A') : digit;
      });
    }
    // A precision of 0 shows nothing for the value 0, and a precision ends the zeros of the width.
    const bool nothing = conversion.precision == 0 && value == 0;
    const std::string_view shown(digits, nothing ? 0 : static_cast<std::size_t>(end - digits));
    const auto least = static_cast<std::size_t>(std::max(conversion.precision, 0));
    const std::size_t filling = least > shown.size() ? least - shown.size() : 0;
    PutNumber(conversion, sign, filling, shown, conversion.precision == kNone);
  }

  void PutDouble(const tagConversion& conversion) {
    const double value = arguments.Double();
    if (std::isnan(value)) return PutNumber(conversion, "", 0, "nan", false);
    const char* const sign = Sign(std::signbit(value), conversion);
    if (std::isinf(value)) return PutNumber(conversion, sign, 0, "inf", false);
    const auto form = conversion.kind == L'f'   ? std::chars_format::fixed
                      : conversion.kind == L'e' ? std::chars_format::scientific
                                                : std::chars_format::general;
    const int precision = conversion.precision == kNone ? kDefaultPrecision : conversion.precision;
    char digits[kMostUnits + 512];  // 309 digits before the point at most
    const auto result =
        std::to_chars(digits, digits + sizeof digits, std::fabs(value), form, precision);
    PutNumber(conversion, sign, 0,
              std::string_view(digits, static_cast<std::size_t>(result.ptr - digits)), true);
  }

  static const char* Sign(bool negative, const tagConversion& conversion) {
    if (negative) return "-";
    return conversion.plus ? "+" : "";
  }

  // A sign, `filling` zeros and the digits in their field.
  void PutNumber(const tagConversion& conversion, std::string_view sign, std::size_t filling,
                 std::string_view digits, bool zerosAllowed) {
    const auto width = static_cast<std::size_t>(conversion.width);
    const std::size_t used = sign.size() + filling + digits.size();
    const std::size_t padding = width > used ? width - used : 0;
    const bool zeros = conversion.zeros && !conversion.left && zerosAllowed;
    if (!conversion.left && !zeros) out.append(padding, L' ');
    out.append(sign.begin(), sign.end());
    out.append(filling + (zeros ? padding : 0), L'0');
    out.append(digits.begin(), digits.end());
    if (conversion.left) out.append(padding, L' ');
  }

  void PutNarrow(const tagConversion& conversion) {
    const char* const text = arguments.Narrow();
    if (text == nullptr) return PutText(conversion, L"(null)");
    // No unit takes more than three bytes.
    const std::string_view read(
        text, conversion.precision == kNone
                  ? std::strlen(text)
                  : ::strnlen(text, 3 * (static_cast<std::size_t>(conversion.precision) + 1)));
    PutText(conversion, Utf8ToUtf16(read).View());
  }

  void PutWide(const tagConversion& conversion) {
    const wchar_t* const text = arguments.Wide();
    if (text == nullptr) return PutText(conversion, L"(null)");
    PutText(conversion,
            std::wstring_view(
                text, conversion.precision == kNone
                          ? std::wcslen(text)
                          : ::wcsnlen(text, static_cast<std::size_t>(conversion.precision))));
  }

  void PutText(const tagConversion& conversion, std::wstring_view text) {
    const auto most = static_cast<std::size_t>(conversion.precision);
    if (conversion.precision != kNone && text.size() >= most) {
      text = text.substr(0, most);
      if (!text.empty() && text.back() >= 0xD800 && text.back() <= 0xDBFF) text.remove_suffix(1);
    }
    PutPadded(conversion, text);
  }

  void PutCharacter(const tagConversion& conversion) {
    const auto unit = static_cast<wchar_t>(arguments.Signed(Length::Int) & 0xFFFF);
    PutPadded(conversion, std::wstring_view(&unit, 1));
  }

  void PutPadded(const tagConversion& conversion, std::wstring_view text) {
    const auto width = static_cast<std::size_t>(conversion.width);
    const std::size_t padding = width > text.size() ? width - text.size() : 0;
    if (!conversion.left) out.append(padding, L' ');
    out.append(text);
    if (conversion.left) out.append(padding, L' ');
  }

  std::wstring& out;
  ZRArguments arguments;
};

}  // namespace

void FormatWide(ZRWString& out, const wchar_t* format, std::va_list arguments) {
  std::wstring text;
  if (format != nullptr) ZRWideFormatter(text, arguments).Run(format);
  out.Assign(text.data(), text.size());
}

ZRWString FormatWide(const wchar_t* format, ...) {
  ZRWString out;
  std::va_list arguments;
  va_start(arguments, format);
  FormatWide(out, format, arguments);
  va_end(arguments);
  return out;
}
