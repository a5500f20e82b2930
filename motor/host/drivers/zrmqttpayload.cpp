#include "host/drivers/zrmqttpayload.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

#include "host/tools/zrtext.h"

namespace {

using tagJson = nlohmann::json;
using tagKind = ZRMqttAnswer::tagKind;

constexpr std::string_view kBlanks = " \t\r\n";
constexpr const char* kNoJson = "isn't JSON";

ZRMqttAnswer Bad(std::string cause) {
  return {tagKind::kBad, 0.0, std::move(cause), false};
}

ZRMqttAnswer BadPayload(std::string cause) {
  return {tagKind::kBad, 0.0, std::move(cause), true};
}

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

ZRMqttAnswer NumberOf(const ZRMqttReading& how, std::string_view text) {
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  double raw = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), raw);
  const bool isWhole = end == text.data() + text.size();
  if (!isWhole || error == std::errc::invalid_argument) return Bad("isn't a number");
  const double number = raw * how.scale + how.offset;
  if (error != std::errc() || !std::isfinite(number)) return Bad("is no number of this size");
  return {tagKind::kNumber, number, {}, false};
}

ZRMqttAnswer SwitchOf(const ZRMqttReading& how, std::string_view text) {
  const auto isIn = [text](const std::vector<std::string>& words) {
    return std::find(words.begin(), words.end(), text) != words.end();
  };
  if (isIn(how.on)) return {tagKind::kNumber, 1.0, {}, false};
  if (isIn(how.off)) return {tagKind::kNumber, 0.0, {}, false};
  return Bad("isn't one of its words for on and off");
}

ZRMqttAnswer TextOf(std::string_view text) {
  constexpr char kDelete = '\x7F';
  ZRMqttAnswer said{tagKind::kText, 0.0, {}, false};
  said.text = Utf16ToUtf8(Utf8ToUtf16(text).View()).View();
  for (char& character : said.text)
    if ((character >= 0 && character < ' ') || character == kDelete) character = ' ';
  return said;
}

ZRMqttAnswer ValueOf(const ZRMqttReading& how, std::string_view text) {
  switch (how.type) {
    case ZRMqttReading::tagType::kNumber:
      return NumberOf(how, Trimmed(text));
    case ZRMqttReading::tagType::kSwitch:
      return SwitchOf(how, Trimmed(text));
    default:
      return TextOf(text);
  }
}

// How deep a JSON document nests; of anything else, not less than a parser would meet.
int DepthOf(std::string_view text) {
  int depth = 0;
  int deepest = 0;
  bool isInText = false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char character = text[at];
    if (isInText && character == '\\') ++at;
    if (character == '"') isInText = !isInText;
    if (isInText) continue;
    if (character == '{' || character == '[') deepest = std::max(deepest, ++depth);
    if (character == '}' || character == ']') --depth;
  }
  return deepest;
}

// The element of an array; nothing for what isn't an index, or beyond its end.
const tagJson* ElementOf(const tagJson& array, std::string_view level) {
  std::size_t index = 0;
  const char* const last = level.data() + level.size();
  const auto [end, error] = std::from_chars(level.data(), last, index);
  const bool isIndex = error == std::errc() && end == last;
  if (!isIndex || (level.size() > 1 && level.front() == '0')) return nullptr;
  return index < array.size() ? &array[index] : nullptr;
}

const tagJson* Pointed(const tagJson& root, const ZRJsonPointer& pointer) {
  const tagJson* at = &root;
  for (const std::string& level : pointer) {
    if (at->is_array()) {
      at = ElementOf(*at, level);
    } else if (at->is_object()) {
      const auto found = at->find(level);
      at = found != at->end() ? &*found : nullptr;
    } else {
      at = nullptr;
    }
    if (at == nullptr) return nullptr;
  }
  return at;
}

}  // namespace

std::optional<ZRJsonPointer> ParseJsonPointer(std::string_view text) {
  ZRJsonPointer pointer;
  if (!text.empty() && text.front() != '/') return std::nullopt;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '/') {
      pointer.emplace_back();
    } else if (text[at] != '~') {
      pointer.back() += text[at];
    } else {
      const char escaped = ++at < text.size() ? text[at] : '\0';
      if (escaped != '0' && escaped != '1') return std::nullopt;
      pointer.back() += escaped == '0' ? '~' : '/';
    }
  }
  return pointer;
}

struct ZRMqttPayload::tagDocument {
  tagDocument(std::string why, tagJson parsed) : refusal(std::move(why)), root(std::move(parsed)) {}

  const std::string refusal;  // empty: `root` is the document
  const tagJson root;
};

ZRMqttPayload::ZRMqttPayload(std::string_view toRead) : bytes(toRead) {}

ZRMqttPayload::~ZRMqttPayload() = default;

ZRMqttAnswer ZRMqttPayload::Read(const ZRMqttReading& how) {
  if (bytes.empty()) return {tagKind::kNone, 0.0, {}, false};
  if (bytes.size() > kMostBytes)
    return BadPayload("has more than " + std::to_string(kMostBytes) + " bytes");
  return how.pointer ? ReadDocument(how) : ValueOf(how, bytes);
}

void ZRMqttPayload::Parse() {
  if (DepthOf(bytes) > kMostDepth) {
    document = std::make_unique<tagDocument>(
        "nests more than " + std::to_string(kMostDepth) + " deep", nullptr);
    return;
  }
  tagJson root = tagJson::parse(bytes, nullptr, false);
  const char* const refusal = root.is_discarded() ? kNoJson : "";
  document = std::make_unique<tagDocument>(refusal, std::move(root));
}

ZRMqttAnswer ZRMqttPayload::ReadDocument(const ZRMqttReading& how) {
  if (document == nullptr) Parse();
  if (!document->refusal.empty()) return BadPayload(document->refusal);
  const tagJson* const value = Pointed(document->root, *how.pointer);
  if (value == nullptr && how.isOptional) return {tagKind::kNothing, 0.0, {}, false};
  if (value == nullptr) return Bad("isn't in the document");
  if (value->is_null()) return {tagKind::kNone, 0.0, {}, false};
  if (value->is_structured()) return Bad("is an object or an array");
  if (value->is_string()) return ValueOf(how, value->get_ref<const std::string&>());
  return ValueOf(how, value->dump());
}
