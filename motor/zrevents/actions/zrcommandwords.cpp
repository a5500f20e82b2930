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

// As numbers are shown: digits first, then whatever one can have.
bool IsNumber(std::wstring_view text) {
  constexpr std::wstring_view kDigits = L"0123456789";
  return !text.empty() && kDigits.find(text.front()) != std::wstring_view::npos &&
         text.find_first_not_of(L"0123456789.,e+-") == std::wstring_view::npos;
}

// The words so far, and the one that is being made.
class CWords {
 public:
  void Add(wchar_t unit, bool isArgument) {
    if (isArgument && leading == word.size()) ++leading;
    word += unit;
    begun = true;
  }
  void Begin() { begun = true; }
  void End() {
    if (begun) words.emplace_back(Utf16ToUtf8(WithoutOption()).View());
    word.clear();
    leading = 0;
    begun = false;
  }
  std::vector<std::string> Take() { return std::move(words); }

 private:
  std::wstring_view WithoutOption() const {
    const std::wstring_view whole(word);
    const std::wstring_view argument = whole.substr(0, leading);
    const std::size_t dashes = std::min(argument.find_first_not_of(kDash), leading);
    return dashes == 1 && IsNumber(argument.substr(1)) ? whole : whole.substr(dashes);
  }

  std::vector<std::string> words;
  std::wstring word;
  std::size_t leading = 0;  // units in front that an argument said
  bool begun = false;
};

}  // namespace

std::vector<std::string> CommandWords(const std::vector<tagCommandPart>& parts) {
  CWords words;
  bool isQuoted = false;
  for (const tagCommandPart& part : parts) {
    for (const wchar_t unit : part.text.View()) {
      if (unit == L'\0') {
        words.End();
        return words.Take();
      }
      if (part.isArgument) {
        words.Add(unit, true);
      } else if (unit == kQuote) {
        isQuoted = !isQuoted;
        words.Begin();
      } else if (!isQuoted && IsDivider(unit)) {
        words.End();
      } else {
        words.Add(unit, false);
      }
    }
  }
  words.End();
  return words.Take();
}
