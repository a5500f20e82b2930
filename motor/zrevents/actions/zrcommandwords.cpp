#include "zrevents/actions/zrcommandwords.h"

#include <algorithm>
#include <utility>

#include "host/tools/zrtext.h"

namespace {

constexpr wchar_t kDash = L'-';
constexpr wchar_t kQuote = L'"';

bool IsDivider(wchar_t unit) {
  return unit == L' ' || unit == L'\t';
}

// As numbers are shown, without a sign: a digit, more of them with separators, an exponent.
bool IsNumber(std::wstring_view text) {
  constexpr std::wstring_view kDigits = L"0123456789";
  constexpr std::size_t kNone = std::wstring_view::npos;
  if (text.empty() || kDigits.find(text.front()) == kNone) return false;
  const std::size_t mantissa = text.find_first_not_of(L"0123456789.,");
  if (mantissa == kNone) return true;
  if (text[mantissa] != L'e') return false;
  std::wstring_view exponent = text.substr(mantissa + 1);
  if (exponent.starts_with(L'+') || exponent.starts_with(kDash)) exponent.remove_prefix(1);
  return !exponent.empty() && exponent.find_first_not_of(kDigits) == kNone;
}

// The words so far, and the one that is being made.
class CWords {
 public:
  void Add(wchar_t unit, bool isArgument) {
    if ((isArgument || isBehindArgument) && leading == word.size()) ++leading;
    word += unit;
    begun = true;
  }
  void Begin() { begun = true; }
  // Who said the divider, an argument or the line itself.
  void End(bool byArgument) {
    if (begun) words.emplace_back(Utf16ToUtf8(WithoutOption()).View());
    isBehindArgument = byArgument;
    word.clear();
    leading = 0;
    begun = false;
  }
  std::vector<std::string> Take() {
    End(false);
    return std::move(words);
  }

 private:
  std::wstring_view WithoutOption() const {
    const std::wstring_view whole(word);
    const std::wstring_view argument = whole.substr(0, leading);
    const std::size_t dashes = std::min(argument.find_first_not_of(kDash), leading);
    return dashes == 1 && IsNumber(argument.substr(1)) ? whole : whole.substr(dashes);
  }

  std::vector<std::string> words;
  std::wstring word;
  std::size_t leading = 0;  // units in front that count as an argument's
  bool isBehindArgument = false;
  bool begun = false;
};

}  // namespace

std::vector<std::string> CommandWords(const std::vector<tagCommandPart>& parts) {
  CWords words;
  bool isQuoted = false;
  for (const tagCommandPart& part : parts) {
    for (const wchar_t unit : part.text.View()) {
      if (unit == L'\0') return words.Take();
      if (unit == kQuote && !part.isArgument) {
        isQuoted = !isQuoted;
        words.Begin();
      } else if (!isQuoted && IsDivider(unit)) {
        words.End(part.isArgument);
      } else {
        words.Add(unit, part.isArgument);
      }
    }
  }
  return words.Take();
}
