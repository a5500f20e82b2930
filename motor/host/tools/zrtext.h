// Conversion, escaping and formatting of text.
#pragma once

#include <cstdarg>

#include "host/tools/zrbasicstring.h"

// Between UTF-8 and UTF-16 units, replacing the target. What can't be converted (bad or overlong
// sequences, encoded surrogates, single surrogates, units above 0xFFFF) becomes U+FFFD, one for
// each maximal ill-formed part as Unicode 15, section 3.9 recommends.
void Utf8ToUtf16(ZRWString& wide, const ZRString& narrow);
void Utf16ToUtf8(ZRString& narrow, const ZRWString& wide);
[[nodiscard]] ZRWString Utf8ToUtf16(std::string_view narrow);
[[nodiscard]] ZRString Utf16ToUtf8(std::wstring_view wide);

// Replaces `out` by `in` with & < > " ' written as entities.
void Text2Xml(ZRString& out, const ZRString& in);

// Undoes Text2Xml, decimal and hexadecimal character references included. What isn't a complete
// reference stays as it is.
void Xml2Text(ZRString& out, const ZRString& in);
void Xml2Text(ZRWString& out, const ZRWString& in);

// Text of an XML document (UTF-8, references undone) as a wide string.
void ParseXMLText(ZRWString& wide, const ZRString& narrow);

// Number of occurrences of `piece`, not overlapping; 0 for an empty piece.
[[nodiscard]] int CountSubstring(const ZRWString& text, const ZRWString& piece);
[[nodiscard]] int CountSubstring(const ZRString& text, const ZRString& piece);

// printf for wide text, without a locale and without undefined corners: %% %c %s %ls %d %i %u %x
// %X %f %e %g with the flags "0", "-", "+", width, precision and the lengths l, ll, z. %s takes
// UTF-8, %ls takes UTF-16 units; null prints "(null)". An unknown conversion is copied as it
// stands and takes no argument.
void FormatWide(ZRWString& out, const wchar_t* format, std::va_list arguments);
[[nodiscard]] ZRWString FormatWide(const wchar_t* format, ...);

// How a number is shown. `format` is "N" (N decimals, 0 to 15), "N.M" (at least N digits before the
// point, zero-filled, and M decimals) or "eN" (scientific, N decimals), each with "+" in front to
// show the sign of positive numbers too. Anything else, and "", means the shortest text that gives
// the same number.
//
//   digits    at least that many digits before the point
//   decimals  digits behind it; -1 for the shortest form
void ParseFormat(const ZRWString& format, int& digits, int& decimals, bool& sign, bool& scientific);

// `thousands` groups the digits before the point by three. The separators go by the language of
// the string table: "." and "," in English, the other way round in Spanish.
void FormatDouble(ZRWString& out, double value, int digits, int decimals, bool thousands, bool sign,
                  bool scientific);
