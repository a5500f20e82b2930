#include "host/remote/zracceptencoding.h"

#include <algorithm>
#include <cstddef>

#include "host/remote/zrasciitext.h"

namespace {

constexpr int kUnsaid = -1;
constexpr int kFullWeight = 1000;  // weights in thousandths

// Takes what stands before the first `separator` off the front of `rest`.
std::string_view TakeUntil(std::string_view& rest, char separator) {
  const std::size_t end = std::min(rest.find(separator), rest.size());
  const std::string_view taken = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return taken;
}

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t";
  const std::size_t first = std::min(text.find_first_not_of(kBlanks), text.size());
  text.remove_prefix(first);
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

// "0.25" as 250; kUnsaid if it isn't a weight: 0 to 1 with up to three decimals.
int ParseWeight(std::string_view text) {
  constexpr std::size_t kLongest = 5;
  if (text.empty() || text.size() > kLongest || (text[0] != '0' && text[0] != '1')) return kUnsaid;
  if (text.size() > 1 && text[1] != '.') return kUnsaid;
  int weight = (text[0] - '0') * kFullWeight;
  int place = kFullWeight;
  for (const char digit : text.substr(std::min<std::size_t>(2, text.size()))) {
    if (digit < '0' || digit > '9') return kUnsaid;
    place /= 10;
    weight += (digit - '0') * place;
  }
  return weight <= kFullWeight ? weight : kUnsaid;
}

// The weight that the parameters after a coding give it; kUnsaid if there is one that can't be
// read.
int WeightOf(std::string_view parameters) {
  int weight = kFullWeight;
  while (!parameters.empty()) {
    std::string_view value = Trimmed(TakeUntil(parameters, ';'));
    const std::string_view name = Trimmed(TakeUntil(value, '='));
    if (EqualIgnoringCase(name, "q")) weight = ParseWeight(Trimmed(value));
    if (weight == kUnsaid) return kUnsaid;
  }
  return weight;
}

void NoteFirst(int& noted, int weight) {
  if (noted == kUnsaid) noted = weight;
}

}  // namespace

ZRContentCoding ChooseContentCoding(std::string_view acceptEncoding) {
  int gzip = kUnsaid;
  int deflate = kUnsaid;
  int others = kUnsaid;
  while (!acceptEncoding.empty()) {
    std::string_view element = TakeUntil(acceptEncoding, ',');
    const std::string_view coding = Trimmed(TakeUntil(element, ';'));
    const int weight = WeightOf(element);
    if (EqualIgnoringCase(coding, "gzip") || EqualIgnoringCase(coding, "x-gzip")) {
      NoteFirst(gzip, weight);
    } else if (EqualIgnoringCase(coding, "deflate")) {
      NoteFirst(deflate, weight);
    } else if (coding == "*") {
      NoteFirst(others, weight);
    }
  }
  if (gzip == kUnsaid) gzip = others;
  if (deflate == kUnsaid) deflate = others;
  if (gzip <= 0 && deflate <= 0) return ZRContentCoding::kIdentity;
  return gzip >= deflate ? ZRContentCoding::kGzip : ZRContentCoding::kDeflate;
}

const char* ContentCodingName(ZRContentCoding coding) {
  switch (coding) {
    case ZRContentCoding::kGzip:
      return "gzip";
    case ZRContentCoding::kDeflate:
      return "deflate";
    case ZRContentCoding::kIdentity:
      break;
  }
  return nullptr;
}
