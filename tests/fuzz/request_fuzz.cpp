// Any head of a request is refused or let pass, and what is let pass keeps the promises that
// routes rely on. The bytes are the lines of a head: method and target, then the headers.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "host/remote/zracceptencoding.h"
#include "host/remote/zrquerytext.h"
#include "host/remote/zrsocketaddress.h"
#include "host/remote/zrwebheaders.h"

namespace {

constexpr std::size_t kMostHeadBytes = std::size_t{16} * 1024;
constexpr std::size_t kMostBodyBytes = 1000;
constexpr int kStatuses[] = {0, 400, 403, 404, 405, 413, 431};

void Require(bool holds) {
  if (!holds) std::abort();
}

// Takes the first line off `text`, without its end.
std::string_view NextLine(std::string_view& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

ZRWebHeaders Read(std::string_view text) {
  ZRWebHeaders headers;
  headers.head.headBytes = text.size();
  const std::string_view first = NextLine(text);
  const std::size_t blank = std::min(first.find(' '), first.size());
  headers.head.method = first.substr(0, blank);
  headers.head.isKnownPath = first.substr(blank).starts_with(" /");
  headers.head.takesBody = first.substr(blank).starts_with(" /take");
  headers.head.mostBodyBytes = kMostBodyBytes;
  while (!text.empty()) {
    const std::string_view line = NextLine(text);
    const std::size_t colon = std::min(line.find(':'), line.size());
    std::string_view content = line.substr(std::min(colon + 1, line.size()));
    while (content.starts_with(' '))
      content.remove_prefix(1);
    headers.Take(line.substr(0, colon), content);
  }
  return headers;
}

// Of a head that a route gets.
void CheckPassed(const ZRRequestHead& head, const ZRServerRules& rules) {
  Require(head.headBytes <= rules.mostHeadBytes && !head.isMalformed && head.isKnownPath);
  Require(head.hosts.size() == 1 && IsOwnHost(head.hosts.front(), rules.host));
  Require(head.hosts.front().find_first_of("@/ \t,") == std::string_view::npos);
  Require(!head.hasTransferEncoding &&
          head.contentLengths.size() <= (head.takesBody ? 1u : 64'000u));
  Require(LengthOfBody(head) <= (head.takesBody ? kMostBodyBytes : 0u));
  if (!head.takesBody) return;
  for (const std::string_view origin : head.origins)
    Require(IsOwnOrigin(origin, head.hosts.front(), rules.isSecure));
}

void CheckHosts(const ZRRequestHead& head) {
  for (const std::string_view host : head.hosts) {
    if (IsOwnHost(host, {})) Require(IsOwnHost(host, {{"a.example"}, true}));
    ZRSocketAddress address;
    if (!address.Parse(std::string(host), 80)) continue;
    ZRSocketAddress again;
    Require(again.Parse(address.Text(), 80) && again.Text() == address.Text());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const ZRWebHeaders headers = Read(text);
  for (const bool isSecure : {false, true}) {
    const ZRServerRules rules{kMostHeadBytes, {{"hall.example.org"}, !isSecure}, isSecure};
    const int refusal = RefusalOf(headers.head, rules);
    Require(std::find(std::begin(kStatuses), std::end(kStatuses), refusal) != std::end(kStatuses));
    if (refusal == 0) CheckPassed(headers.head, rules);
  }
  CheckHosts(headers.head);
  const ZRContentCoding coding = ChooseContentCoding(headers.acceptEncoding);
  Require((ContentCodingName(coding) == nullptr) == (coding == ZRContentCoding::kIdentity));
  Require(UndoPercents(text).View().size() <= text.size());
  return 0;
}
