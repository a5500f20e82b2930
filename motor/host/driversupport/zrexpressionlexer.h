// The words, numbers and signs of an expression's text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "host/driversupport/zrexpressionerror.h"

enum class ZRTokenKind : std::uint8_t {
  kEnd,
  kError,
  kNumber,
  kText,
  kReference,
  kWord,  // a function or a constant
  kOpening,
  kClosing,
  kComma,
  kOr,
  kAnd,
  kNot,
  kComparison,
  kPlus,
  kMinus,
  kTimes,
  kOver,
  kPercent,
  kCaret,
};

struct ZRToken {
  ZRTokenKind kind = ZRTokenKind::kEnd;
  ZRExpressionReason reason = ZRExpressionReason::kNone;  // of an error
  unsigned relations = 0;                                 // of a comparison: bits of ZRTest
  std::size_t position = 0;                               // of its first unit in the text
  std::wstring_view content;  // of a reference or a text: between its brackets or quotes; a word
  double number = 0.0;
};

// Reads the text once, forward.
class ZRExpressionLexer {
 public:
  static constexpr std::size_t kMaximumReference = 255;  // units

  explicit ZRExpressionLexer(std::wstring_view toRead) : text(toRead) {}

  // After the last token: kEnd, again and again.
  [[nodiscard]] ZRToken Next();

 private:
  [[nodiscard]] wchar_t Peek(std::size_t ahead = 0) const {
    return at + ahead < text.size() ? text[at + ahead] : L'\0';
  }
  void SkipSpace();
  [[nodiscard]] ZRToken Sign(ZRTokenKind kind, std::size_t length, unsigned relations = 0);
  [[nodiscard]] ZRToken Error(ZRExpressionReason reason, std::size_t position) const;
  [[nodiscard]] ZRToken ReadNumber();
  [[nodiscard]] ZRToken ReadText();
  [[nodiscard]] ZRToken ReadReference();
  [[nodiscard]] ZRToken ReadWord();
  [[nodiscard]] ZRToken ReadSign();
  [[nodiscard]] ZRToken ReadComparison();

  const std::wstring_view text;
  std::size_t at = 0;
};

// True if the word is `lower`, ASCII letters of either case being the same.
[[nodiscard]] bool ZRIsWord(std::wstring_view word, std::string_view lower);
