// Writes XML by hand, on one line, into an answer or a text.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "host/remote/zrhttpresponse.h"
#include "host/tools/zrbasicstring.h"
#include "host/tools/zrdatetime.h"

// Collects what is written in one buffer of fixed size and hands it on when that is full: texts of
// any length go through whole.
//
// Threads   one. Lives as long as one call.
// Promise   the destructor hands on the rest.
class ZRXmlWriter {
 public:
  // The buffer is written before it is read: filling it first would cost more than most calls.
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
  explicit ZRXmlWriter(ZRHttpResponse& target) : response(&target) {}
  // Appends to a text.
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): the same
  explicit ZRXmlWriter(ZRString& target) : collected(&target) {}
  ~ZRXmlWriter() { Flush(); }
  ZRXmlWriter(const ZRXmlWriter&) = delete;
  ZRXmlWriter& operator=(const ZRXmlWriter&) = delete;

  // So many bytes can be written before anything is handed on.
  static constexpr std::size_t kRoom = 2047;

  // As it stands.
  void Write(std::string_view utf8);
  // Converted to UTF-8 and escaped, as Utf16ToUtf8 and Text2Xml do.
  void WriteText(const ZRWString& text);
  // "T" or "F".
  void WriteFlag(bool flag) { Write(flag ? "T" : "F"); }

 private:
  void Flush();
  void WriteSpecial(std::wstring_view units);

  ZRHttpResponse* response = nullptr;  // one of the two
  ZRString* collected = nullptr;
  std::size_t used = 0;
  std::array<char, kRoom + 1> buffer;  // and the terminator
};

// The 14 digits of a date in the active service: day, month, year, hour, minute, second.
inline constexpr std::size_t kDateDigits = 14;
[[nodiscard]] std::array<char, kDateDigits> FourteenDigits(const ZRDateTime& date);
