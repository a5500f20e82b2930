#include "host/base/zrlogtext.h"

#include <string_view>

#include "host/tools/zrtext.h"

namespace {

struct tagLevel {
  std::string_view name;
  char priority;
};
constexpr tagLevel kLevels[] = {
    {"trace", '7'}, {"warn ", '4'}, {"info ", '5'}, {"error", '3'}, {"crit ", '2'}};
static_assert(std::size(kLevels) == kLogInvariant + 1);

constexpr wchar_t kDelete = 0x7F;
constexpr wchar_t kLastC1 = 0x9F;
constexpr wchar_t kLineSeparator = 0x2028;
constexpr wchar_t kParagraphSeparator = 0x2029;

bool IsControl(wchar_t unit) {
  return unit < L' ' || (unit >= kDelete && unit <= kLastC1) || unit == kLineSeparator ||
         unit == kParagraphSeparator;
}

void AppendEscape(ZRWString& out, wchar_t control) {
  switch (control) {
    case L'\n':
      out += L"\\n";
      return;
    case L'\r':
      out += L"\\r";
      return;
    case L'\t':
      out += L"\\t";
      return;
    default:
      out +=
          FormatWide(control <= kDelete ? L"\\x%02x" : L"\\u%04x", static_cast<unsigned>(control));
  }
}

bool IsHighSurrogate(wchar_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}

// How much of `text` is shown.
std::size_t ShownLength(std::wstring_view text) {
  if (text.size() <= kMaximumLogText) return text.size();
  return IsHighSurrogate(text[kMaximumLogText - 1]) ? kMaximumLogText - 1 : kMaximumLogText;
}

}  // namespace

ZRWString EscapeLogText(const ZRWString& text) {
  const std::wstring_view whole = text.View();
  const std::wstring_view shown = whole.substr(0, ShownLength(whole));
  ZRWString escaped;
  escaped.GrowInSteps();
  for (const wchar_t unit : shown) {
    if (IsControl(unit)) {
      AppendEscape(escaped, unit);
    } else {
      escaped.Append(unit);
    }
  }
  if (shown.size() < whole.size()) escaped += L"...";
  return escaped;
}

ZRString MakeLogLine(ZRLogTarget target, int level, const ZRDateTime& localTime,
                     const ZRWString& escapedText) {
  const tagLevel& shown = kLevels[level];
  ZRString line;
  if (target == ZRLogTarget::kJournal) {
    line.Append('<');
    line.Append(shown.priority);
    line.Append('>');
  } else {
    const ZRDateTime& t = localTime;
    line.Append(Utf16ToUtf8(FormatWide(L"%04d-%02d-%02d %02d:%02d:%02d.%03d [", t.Year(), t.Month(),
                                       t.Day(), t.Hour(), t.Minute(), t.Second(), t.Millisecond())
                                .View())
                    .View());
    line.Append(shown.name);
    line.Append("] ");
  }
  line.Append(Utf16ToUtf8(escapedText.View()).View());
  return line;
}
