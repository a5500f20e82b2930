#include "host/driversupport/zrexpressionlexer.h"

#include <charconv>
#include <string>
#include <system_error>

#include "host/driversupport/zrexpressioncode.h"

namespace {

constexpr wchar_t kNoBreakSpace = 0xA0;

constexpr bool IsDigit(wchar_t unit) {
  return unit >= L'0' && unit <= L'9';
}
constexpr bool IsLetter(wchar_t unit) {
  return (unit >= L'a' && unit <= L'z') || (unit >= L'A' && unit <= L'Z') || unit == L'_';
}
constexpr bool IsControl(wchar_t unit) {
  return unit < L' ' || (unit >= 0x7F && unit < 0xA0);
}
constexpr bool IsSpace(wchar_t unit) {
  return unit == L' ' || unit == L'\t' || unit == L'\n' || unit == L'\r' || unit == kNoBreakSpace;
}
constexpr wchar_t Lower(wchar_t unit) {
  return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit + (L'a' - L'A')) : unit;
}

// `digits` has the form of a number already.
bool ToNumber(std::wstring_view digits, double& number) {
  const std::string narrow(digits.begin(), digits.end());
  const auto [end, error] = std::from_chars(narrow.data(), narrow.data() + narrow.size(), number);
  return error == std::errc() && end == narrow.data() + narrow.size();
}

}  // namespace

bool ZRIsWord(std::wstring_view word, std::string_view lower) {
  if (word.size() != lower.size()) return false;
  for (std::size_t i = 0; i < word.size(); ++i) {
    if (Lower(word[i]) != static_cast<wchar_t>(lower[i])) return false;
  }
  return true;
}

ZRToken ZRExpressionLexer::Next() {
  SkipSpace();
  if (at >= text.size()) return Sign(ZRTokenKind::kEnd, 0);
  const wchar_t first = Peek();
  if (IsDigit(first) || (first == L'.' && IsDigit(Peek(1)))) return ReadNumber();
  if (IsLetter(first)) return ReadWord();
  if (first == L'"') return ReadText();
  if (first == L'[') return ReadReference();
  return ReadSign();
}

void ZRExpressionLexer::SkipSpace() {
  while (at < text.size() && IsSpace(text[at]))
    ++at;
}

ZRToken ZRExpressionLexer::Sign(ZRTokenKind kind, std::size_t length, unsigned relations) {
  ZRToken token;
  token.kind = kind;
  token.position = at;
  token.relations = relations;
  at += length;
  return token;
}

ZRToken ZRExpressionLexer::Error(ZRExpressionReason reason, std::size_t position) const {
  ZRToken token;
  token.kind = ZRTokenKind::kError;
  token.reason = reason;
  token.position = position;
  return token;
}

ZRToken ZRExpressionLexer::ReadNumber() {
  ZRToken token;
  token.kind = ZRTokenKind::kNumber;
  token.position = at;
  while (IsDigit(Peek()))
    ++at;
  if (Peek() == L'.') {
    ++at;
    while (IsDigit(Peek()))
      ++at;
  }
  if (Lower(Peek()) == L'e') {
    const std::size_t sign = Peek(1) == L'+' || Peek(1) == L'-' ? 1 : 0;
    if (!IsDigit(Peek(1 + sign))) return Error(ZRExpressionReason::kBadNumber, token.position);
    at += 1 + sign;
    while (IsDigit(Peek()))
      ++at;
  }
  if (!ToNumber(text.substr(token.position, at - token.position), token.number)) {
    return Error(ZRExpressionReason::kNumberOutOfRange, token.position);
  }
  return token;
}

ZRToken ZRExpressionLexer::ReadText() {
  ZRToken token;
  token.kind = ZRTokenKind::kText;
  token.position = at;
  const std::size_t begin = ++at;
  for (; at < text.size() && text[at] != L'"'; ++at) {
    if (IsControl(text[at])) return Error(ZRExpressionReason::kControlCharacter, at);
    if (text[at] != L'\\') continue;
    if (Peek(1) != L'"' && Peek(1) != L'\\') return Error(ZRExpressionReason::kUnknownEscape, at);
    ++at;
  }
  if (at >= text.size()) return Error(ZRExpressionReason::kUnendedText, token.position);
  token.content = text.substr(begin, at - begin);
  ++at;
  return token;
}

ZRToken ZRExpressionLexer::ReadReference() {
  ZRToken token;
  token.kind = ZRTokenKind::kReference;
  token.position = at;
  const std::size_t begin = ++at;
  for (; at < text.size() && text[at] != L']'; ++at) {
    if (IsControl(text[at])) return Error(ZRExpressionReason::kControlCharacter, at);
  }
  if (at >= text.size()) return Error(ZRExpressionReason::kUnendedReference, token.position);
  token.content = text.substr(begin, at - begin);
  ++at;
  if (token.content.empty()) return Error(ZRExpressionReason::kEmptyReference, token.position);
  if (token.content.size() > kMaximumReference) {
    return Error(ZRExpressionReason::kReferenceTooLong, token.position);
  }
  return token;
}

ZRToken ZRExpressionLexer::ReadWord() {
  ZRToken token;
  token.kind = ZRTokenKind::kWord;
  token.position = at;
  while (IsLetter(Peek()) || IsDigit(Peek()))
    ++at;
  token.content = text.substr(token.position, at - token.position);
  if (ZRIsWord(token.content, "and")) token.kind = ZRTokenKind::kAnd;
  if (ZRIsWord(token.content, "or")) token.kind = ZRTokenKind::kOr;
  if (ZRIsWord(token.content, "not")) token.kind = ZRTokenKind::kNot;
  return token;
}

ZRToken ZRExpressionLexer::ReadSign() {
  switch (Peek()) {
    case L'(':
      return Sign(ZRTokenKind::kOpening, 1);
    case L')':
      return Sign(ZRTokenKind::kClosing, 1);
    case L',':
      return Sign(ZRTokenKind::kComma, 1);
    case L'+':
      return Sign(ZRTokenKind::kPlus, 1);
    case L'-':
      return Sign(ZRTokenKind::kMinus, 1);
    case L'*':
      return Sign(ZRTokenKind::kTimes, 1);
    case L'/':
      return Sign(ZRTokenKind::kOver, 1);
    case L'%':
      return Sign(ZRTokenKind::kPercent, 1);
    case L'^':
      return Sign(ZRTokenKind::kCaret, 1);
    case L'&':
      return Sign(ZRTokenKind::kAnd, Peek(1) == L'&' ? 2 : 1);
    case L'|':
      return Sign(ZRTokenKind::kOr, Peek(1) == L'|' ? 2 : 1);
    default:
      return ReadComparison();
  }
}

ZRToken ZRExpressionLexer::ReadComparison() {
  using tagKind = ZRTokenKind;
  const wchar_t second = Peek(1);
  switch (Peek()) {
    case L'=':
      return Sign(tagKind::kComparison, second == L'=' ? 2 : 1, ZRTest::kEqual);
    case L'!':
      if (second != L'=') return Sign(tagKind::kNot, 1);
      return Sign(tagKind::kComparison, 2, ZRTest::kLess | ZRTest::kGreater);
    case L'<':
      if (second == L'>') {
        return Sign(tagKind::kComparison, 2, ZRTest::kLess | ZRTest::kGreater);
      }
      if (second == L'=') return Sign(tagKind::kComparison, 2, ZRTest::kLess | ZRTest::kEqual);
      return Sign(tagKind::kComparison, 1, ZRTest::kLess);
    case L'>':
      if (second == L'=') return Sign(tagKind::kComparison, 2, ZRTest::kGreater | ZRTest::kEqual);
      return Sign(tagKind::kComparison, 1, ZRTest::kGreater);
    default:
      return Error(ZRExpressionReason::kUnexpectedCharacter, at);
  }
}
