#include "host/drivers/zrlinereader.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "host/platform/zrplatform.h"

namespace {

constexpr std::size_t kBlock = std::size_t{64} * 1024;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

bool ZRLineReader::Open(const std::string& path) {
  opened.reset(ZRPlatform::Get().OpenFile(path, "rb"));
  block.resize(kBlock);
  at = filled = 0;
  number = 0;
  return opened != nullptr;
}

bool ZRLineReader::Rewind() {
  at = filled = 0;
  number = 0;
  if (!opened || std::fseek(opened.get(), 0, SEEK_SET) != 0) return false;
  std::clearerr(opened.get());
  return true;
}

bool ZRLineReader::Fill() {
  at = 0;
  filled = std::fread(block.data(), 1, block.size(), opened.get());
  return filled > 0;
}

ZRLineReader::tagNext ZRLineReader::Next(std::string& line) {
  line.clear();
  if (!opened) return tagNext::kFailed;
  bool some = false;
  bool tooLong = false;
  bool ended = false;
  while (!ended && (at < filled || Fill())) {
    some = true;
    const char* start = block.data() + at;
    const auto* end = static_cast<const char*>(std::memchr(start, '\n', filled - at));
    const std::size_t count = end == nullptr ? filled - at : static_cast<std::size_t>(end - start);
    // One byte more than the longest line: it may be the CR.
    tooLong = tooLong || line.size() + count > kLongestLine + 1;
    if (!tooLong) line.append(start, count);
    ended = end != nullptr;
    at += count + (ended ? 1 : 0);
  }
  if (std::ferror(opened.get()) != 0) return tagNext::kFailed;
  if (!some) return tagNext::kEnd;
  ++number;
  if (!line.empty() && line.back() == '\r') line.pop_back();
  if (tooLong || line.size() > kLongestLine) return tagNext::kTooLong;
  if (number == 1 && line.compare(0, kByteOrderMark.size(), kByteOrderMark) == 0)
    line.erase(0, kByteOrderMark.size());
  return tagNext::kLine;
}
