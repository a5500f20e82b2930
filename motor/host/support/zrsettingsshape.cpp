#include "host/support/zrsettingsshape.h"

#include <algorithm>
#include <string>

#include "host/support/zrtessalysetup.h"

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// Walks over brackets and points, past strings and comments.
class CShape {
 public:
  CShape(std::string_view toScan, int toAllow) : text(toScan), most(toAllow) {
    if (text.starts_with(kByteOrderMark)) at = kByteOrderMark.size();
  }

  // False if it stopped behind something that isn't allowed.
  bool Scan() {
    while (at < text.size() && IsGood()) {
      if (text[at] == '"' || text[at] == '\'') {
        SkipString();
      } else {
        Count(text[at]);
        ++at;
        if (text[at - 1] == '#') SkipLine();
      }
    }
    return IsGood();
  }

  // Of what Scan stopped at.
  [[nodiscard]] ZRSettingProblem Problem() const {
    const std::string_view before = text.substr(0, at - 1);
    const std::size_t lineStart = before.rfind('\n') + 1;  // 0 on the first line
    ZRSettingProblem problem;
    problem.text = isForeign ? ZRString("a character that only texts and comments may hold")
                             : ZRString("nested deeper than ") + std::to_string(most).c_str();
    problem.line = static_cast<int>(std::count(before.begin(), before.end(), '\n')) + 1;
    problem.column = static_cast<int>(before.size() - lineStart) + 1;
    return problem;
  }

 private:
  [[nodiscard]] bool IsGood() const { return !isForeign && open <= most && points <= most; }

  void Count(char character) {
    constexpr unsigned char kFirstForeign = 0x80;
    if (static_cast<unsigned char>(character) >= kFirstForeign) isForeign = true;
    if (character == '.') {
      ++points;
      return;
    }
    if (character == '[' || character == '{') ++open;
    if ((character == ']' || character == '}') && open > 0) --open;
    constexpr std::string_view kEndsOfKeys = "=,[]{}\n";
    if (kEndsOfKeys.find(character) != std::string_view::npos) points = 0;
  }

  void SkipLine() { at = std::min(text.find('\n', at), text.size()); }

  void SkipString() {
    const char quote = text[at];
    const std::string three(3, quote);
    const bool multiline = text.substr(at, 3) == three;
    at += multiline ? 3 : 1;
    while (at < text.size()) {
      if (quote == '"' && text[at] == '\\') {
        at = std::min(at + 2, text.size());
      } else if (multiline && text.substr(at, 3) == three) {
        at += 3;
        // Up to two quotes more belong to the string's end.
        for (int more = 0; more < 2 && at < text.size() && text[at] == quote; ++more)
          ++at;
        return;
      } else if (!multiline && (text[at] == quote || text[at] == '\n')) {
        if (text[at] == quote) ++at;
        return;
      } else {
        ++at;
      }
    }
  }

  const std::string_view text;
  const int most;
  std::size_t at = 0;
  int open = 0;
  int points = 0;  // since the key began
  bool isForeign = false;
};

}  // namespace

bool CheckShape(std::string_view toml, int most, ZRSettingProblem& problem) {
  CShape shape(toml, most);
  if (shape.Scan()) return true;
  problem = shape.Problem();
  return false;
}
