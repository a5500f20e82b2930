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
// The same, appended to the target.
void AppendUtf16(ZRWString& out, std::string_view narrow);
void AppendUtf8(ZRString& out, std::wstring_view wide);

// Replaces `out` by `in` with & < > " ' written as &amp; &lt; &gt; &quot; &apos;. A character that
// XML forbids (a control below 0x20, other than tab and the line ends; U+FFFE and U+FFFF) becomes
// U+FFFD.
void Text2Xml(ZRString& out, const ZRString& in);

// Undoes Text2Xml, decimal and hexadecimal character references included. What isn't a complete
// reference to a character other than NUL stays as it is. The two arguments may be one.
void Xml2Text(ZRString& out, const ZRString& in);
void Xml2Text(ZRWString& out, const ZRWString& in);

// Text of an XML document (UTF-8, references undone) as a wide string.
void ParseXMLText(ZRWString& wide, const ZRString& narrow);

// Number of occurrences of `piece`, not overlapping; 0 for an empty piece.
[[nodiscard]] int CountSubstring(const ZRWString& text, const ZRWString& piece);
[[nodiscard]] int CountSubstring(const ZRString& text, const ZRString& piece);

// printf for wide text, without a locale and without undefined corners. Replaces `out`; the
// arguments may lie in it.
//
//   %%                a "%"
//   %d %i             int; with l, ll, z: long, long long, the signed size
//   %u %x %X          unsigned int; with l, ll, z: unsigned long, unsigned long long, size_t
//   %f %e %g          double; "nan", "inf" and "-inf" for what is no number
//   %c %lc            int, the UTF-16 unit to write
//   %s                zero-terminated UTF-8; null prints "(null)"
//   %ls               zero-terminated UTF-16 units; null prints "(null)"
//
// Between "%" and the conversion: any of the flags "0", "-", "+", a width, and "." with a
// precision, both up to 4096 (more counts as 4096). The precision of a text is its greatest number
// of units; a pair isn't cut. Anything else ("*", "%n", "%5%", a format that ends in the middle of
// a conversion) is copied as it stands and takes no argument.
void FormatWide(ZRWString& out, const wchar_t* format, std::va_list arguments);
[[nodiscard]] ZRWString FormatWide(const wchar_t* format, ...);

// How a number is shown. `format` is one of
//
//   "N"     N decimals
//   "N.M"   at least N digits before the point, filled with zeros, and M decimals
//   "eN"    scientific, with N decimals
//
// where N and M are decimal numbers from 0 to 15 in one or two digits; "+" in front of it shows the
// sign of positive numbers too. Anything else, and "", means the shortest text that gives the same
// number.
//
//   digits      at least that many digits before the point: N of "N.M", else 1
//   decimals    digits behind it; -1 for the shortest text
//   sign        "+" in front
//   scientific  "eN"
void ParseFormat(const ZRWString& format, int& digits, int& decimals, bool& sign, bool& scientific);

// Replaces `out` by the text of a number, by what ParseFormat gives: 1234.5 is "1234.50" with two
// decimals, "01234.5" with five digits and one decimal, "1.2e+03" scientific with one decimal.
//
// The value is rounded to the nearest, a tie by its exact binary value. The shortest text is
// scientific below 0.00001 and from 10^15. Digits below 1 count as 1; digits and decimals above 15
// as 15. What is shown as zero has no sign. Not a number is "nan"; the infinities are "inf" and
// "-inf", with the sign asked for.
//
// `thousands` groups the digits before the point by three, the filling zeros too, but not in the
// scientific form. The separators go by the language of the string table: "." before the decimals
// and "," between the groups in English, the other way round in Spanish.
void FormatDouble(ZRWString& out, double value, int digits, int decimals, bool thousands, bool sign,
                  bool scientific);
