#pragma once

#include "host/tools/zrbasicstring.h"

// Kinds of content.
inline constexpr int kContentNone = 0;
inline constexpr int kContentText = 1;  // plain, for a person: why a request was refused
inline constexpr int kContentLoggerXml = 2;
inline constexpr int kContentXml = 3;
inline constexpr int kContentLoggerXmlDeflated = 4;
inline constexpr int kContentXmlDeflated = 5;
inline constexpr int kContentRss = 6;

// The answer to a request. What is written is taken at once: a slow client never holds up who
// writes.
class ZRHttpResponse {
 public:
  virtual ~ZRHttpResponse() = default;

  // Starts the answer, once. A deflated kind compresses what is written after it.
  virtual void Begin(int status, int contentKind) = 0;
  virtual void Write(const ZRBasicString<char>& text) = 0;
  // A length of -1 means up to the terminator.
  virtual void Write(const char* text, int length) = 0;
  // Finishes the answer. False if any of it was lost.
  [[nodiscard]] virtual bool End() = 0;
};
