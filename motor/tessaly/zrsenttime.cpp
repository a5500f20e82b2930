#include "tessaly/zrsenttime.h"

#include <optional>

#include "host/tools/zrtext.h"
#include "tessaly/zrperiod.h"
#include "tessaly/zrshowntext.h"

std::string LocalTimeOf(const std::string& sent) {
  const std::optional<ZRDateTime> time = ParseInstant(sent, ZRReading::kUtc);
  if (!time) return ShownText(sent);
  ZRString text;
  (void)DateTime2String(text, time->UTC2LTC(), false, false);
  return std::string(text.View());
}

std::string IsoTimeOf(const std::string& sent) {
  const std::optional<ZRDateTime> time = ParseInstant(sent, ZRReading::kUtc);
  if (!time) return sent;
  return std::string(Utf16ToUtf8(time->ToCompleteWString().View()).View());
}
