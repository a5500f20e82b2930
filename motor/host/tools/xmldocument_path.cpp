#include <algorithm>
#include <string>
#include <utility>

#include "host/tools/xmldocument.h"
#include "host/tools/xmldocument_store.h"
#include "host/tools/xmldocument_text.h"
#include "host/tools/zrtext.h"

namespace {

// One step of a path: "tag" or "tag?key=value?".
template <typename Char>
struct tagSStep {
  std::basic_string_view<Char> tag;
  std::basic_string_view<Char> key;
  std::basic_string_view<Char> value;
  bool isFiltered = false;
};

template <typename Char>
constexpr Char kSlash = static_cast<Char>('/');
template <typename Char>
constexpr Char kQuery = static_cast<Char>('?');
template <typename Char>
constexpr Char kEquals = static_cast<Char>('=');

// Takes the key and the value of a filter, which begins behind its first "?".
template <typename Char>
bool TakeFilter(std::basic_string_view<Char>& rest, tagSStep<Char>& step) {
  const std::size_t equals = rest.find(kEquals<Char>);
  if (equals == 0 || equals == rest.npos) return false;
  step.isFiltered = true;
  step.key = rest.substr(0, equals);
  if (step.key.find(kSlash<Char>) != rest.npos || step.key.find(kQuery<Char>) != rest.npos) {
    return false;
  }
  rest.remove_prefix(equals + 1);
  std::size_t end = rest.find(kQuery<Char>);
  while (end != rest.npos && end + 1 < rest.size() && rest[end + 1] != kSlash<Char>) {
    end = rest.find(kQuery<Char>, end + 1);
  }
  if (end == rest.npos) return false;
  step.value = rest.substr(0, end);
  rest.remove_prefix(end + 1);
  return true;
}

// Takes the first step of a path, with the "/" behind it. False if it is malformed.
template <typename Char>
bool TakeStep(std::basic_string_view<Char>& rest, tagSStep<Char>& step) {
  const Char ends[] = {kSlash<Char>, kQuery<Char>};
  const std::size_t end = std::min(rest.find_first_of(ends, 0, 2), rest.size());
  step = {};
  step.tag = rest.substr(0, end);
  rest.remove_prefix(end);
  if (step.tag.empty()) return false;
  if (!rest.empty() && rest.front() == kQuery<Char>) {
    rest.remove_prefix(1);
    if (!TakeFilter(rest, step)) return false;
  }
  if (rest.empty()) return true;
  rest.remove_prefix(1);
  return !rest.empty();
}

template <typename Char>
void SkipLeadingSlash(std::basic_string_view<Char>& path) {
  if (!path.empty() && path.front() == kSlash<Char>) path.remove_prefix(1);
}

// Pieces of a format, each formatted with the arguments that belong to it.
class ZRFormattedPieces {
 public:
  ZRFormattedPieces(std::wstring_view text, std::va_list values) : format(text) {
    va_copy(arguments, values);
    whole = Formatted(format.size());
  }
  ~ZRFormattedPieces() { va_end(arguments); }
  ZRFormattedPieces(const ZRFormattedPieces&) = delete;
  ZRFormattedPieces& operator=(const ZRFormattedPieces&) = delete;

  // `piece` is a part of the format. What stands in front of it takes the arguments before it.
  [[nodiscard]] ZRString Piece(std::wstring_view piece) const {
    if (piece.empty()) return {};
    const auto begin = static_cast<std::size_t>(piece.data() - format.data());
    const std::size_t from = Formatted(begin).Length();
    const std::size_t to = Formatted(begin + piece.size()).Length();
    return Utf16ToUtf8(whole.View().substr(from, to - from));
  }

 private:
  // The first `count` characters of the format, formatted.
  [[nodiscard]] ZRWString Formatted(std::size_t count) const {
    ZRWString text;
    std::va_list values;
    va_copy(values, arguments);
    FormatWide(text, std::wstring(format.substr(0, count)).c_str(), values);
    va_end(values);
    return text;
  }

  std::wstring_view format;
  mutable std::va_list arguments{};
  ZRWString whole;
};

}  // namespace

// --- paths ---

const XmlDocument::XmlNode* XmlDocument::XmlNode::Reached(std::string_view path) const {
  SkipLeadingSlash(path);
  const XmlNode* node = this;
  tagSStep<char> step;
  do {
    if (!TakeStep(path, step)) return nullptr;
    node = step.isFiltered ? node->Child(step.tag, step.key, step.value) : node->Child(step.tag);
  } while (node != nullptr && !path.empty());
  return node;
}

// The structure is that of the format alone; the arguments are put into its parts afterwards.
const XmlDocument::XmlNode* XmlDocument::XmlNode::ReachedV(const wchar_t* format,
                                                           std::va_list arguments) const {
  if (format == nullptr) return nullptr;
  std::wstring_view rest(format);
  const ZRFormattedPieces pieces(rest, arguments);
  SkipLeadingSlash(rest);
  const XmlNode* node = this;
  tagSStep<wchar_t> step;
  do {
    if (!TakeStep(rest, step)) return nullptr;
    const ZRString childTag = pieces.Piece(step.tag);
    node = step.isFiltered ? node->Child(childTag.View(), pieces.Piece(step.key).View(),
                                         pieces.Piece(step.value).View())
                           : node->Child(childTag.View());
  } while (node != nullptr && !rest.empty());
  return node;
}

XmlDocument::XmlNode* XmlDocument::XmlNode::Node(const wchar_t* path) {
  return const_cast<XmlNode*>(std::as_const(*this).Node(path));
}

const XmlDocument::XmlNode* XmlDocument::XmlNode::Node(const wchar_t* path) const {
  return Reached(ZRNarrowText(path).View());
}

XmlDocument::XmlNode* XmlDocument::XmlNode::NodeV(const wchar_t* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const XmlNode* found = ReachedV(format, arguments);
  va_end(arguments);
  return const_cast<XmlNode*>(found);
}

const XmlDocument::XmlNode* XmlDocument::XmlNode::NodeV(const wchar_t* format, ...) const {
  std::va_list arguments;
  va_start(arguments, format);
  const XmlNode* found = ReachedV(format, arguments);
  va_end(arguments);
  return found;
}

// --- children by tag ---

const XmlDocument::XmlNode* XmlDocument::XmlNode::Child(std::string_view childTag) const {
  for (const XmlNode* child = First(); child != nullptr; child = child->Next()) {
    if (child->tag->text == childTag) return child;
  }
  return nullptr;
}

const XmlDocument::XmlNode* XmlDocument::XmlNode::Child(std::string_view childTag,
                                                        std::string_view key,
                                                        std::string_view value) const {
  for (const XmlNode* child = First(); child != nullptr; child = child->Next()) {
    if (child->tag->text != childTag) continue;
    const XmlNode* found = child->Child(key);
    if (found != nullptr && found->TextUtf8() == value) return child;
  }
  return nullptr;
}

XmlDocument::XmlNode* XmlDocument::XmlNode::Child(std::string_view childTag) {
  return const_cast<XmlNode*>(std::as_const(*this).Child(childTag));
}

XmlDocument::XmlNode* XmlDocument::XmlNode::Child(std::string_view childTag, std::string_view key,
                                                  std::string_view value) {
  return const_cast<XmlNode*>(std::as_const(*this).Child(childTag, key, value));
}

const XmlDocument::XmlNode* XmlDocument::XmlNode::ValueNode(std::string_view key) const {
  return key.find('/') == key.npos ? Child(key) : Reached(key);
}
