#include "tessaly/zrshowntext.h"

#include <algorithm>

#include "host/base/zrlogtext.h"
#include "host/tools/zrtext.h"

std::string ShownText(std::string_view text) {
  const auto isPlain = [](char c) { return c >= ' ' && c < '\x7F'; };
  if (std::all_of(text.begin(), text.end(), isPlain)) return std::string(text);
  const ZRWString wide = Utf8ToUtf16(text);
  ZRWString escaped;
  for (std::wstring_view rest = wide.View(); !rest.empty();) {
    const std::size_t length = std::min(rest.size(), kMaximumLogText / 2);
    escaped += EscapeLogText(ZRWString(rest.substr(0, length)));
    rest.remove_prefix(length);
  }
  return std::string(Utf16ToUtf8(escaped.View()).View());
}
