#include <string>
#include <vector>

#include "host/platform/zrplatform.h"
#include "host/tools/xmldocument.h"
#include "host/tools/xmldocument_store.h"
#include "host/tools/zrtext.h"

namespace {

constexpr std::string_view kHeader = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)";
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";    // U+FFFD
constexpr std::string_view kNonCharacters = "\xEF\xBF\xBE";  // U+FFFE; U+FFFF is one more
constexpr std::size_t kChunk = std::size_t{64} * 1024;       // bytes handed on at a time
constexpr std::string_view kUnfinished = ".unfinished";      // end of the name of a file in work

// How the byte at the front of a text is written; `length` is what that stands for.
std::string_view Escaped(std::string_view text, std::size_t& length) {
  length = 1;
  const auto byte = static_cast<unsigned char>(text.front());
  switch (text.front()) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '\r':
      return "&#13;";
    case '\t':
    case '\n':
      return text.substr(0, 1);
    default:
      break;
  }
  if (byte < ' ') return kReplacement;
  const bool isNonCharacter = text.size() > 2 && text.substr(0, 2) == kNonCharacters.substr(0, 2) &&
                              static_cast<unsigned char>(text[2]) >= 0xBE;
  if (!isNonCharacter) return text.substr(0, 1);
  length = kNonCharacters.size();
  return kReplacement;
}

// True for the bytes that Escaped has to look at, and for tabs and line breaks.
constexpr bool IsSuspect(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < ' ' || c == '&' || c == '<' || c == '>' || c == kNonCharacters.front();
}

// The length of what stands in front of the first suspect. Blocks are looked at as a whole, so
// that the compiler can take many bytes at once.
std::size_t PlainLength(std::string_view text) {
  constexpr std::size_t kBlock = 16;
  std::size_t at = 0;
  for (; at + kBlock <= text.size(); at += kBlock) {
    unsigned char found = 0;
    for (std::size_t i = 0; i < kBlock; ++i)
      found |= static_cast<unsigned char>(IsSuspect(text[at + i]));
    if (found != 0) break;
  }
  while (at < text.size() && !IsSuspect(text[at]))
    ++at;
  return at;
}

}  // namespace

// Makes the text of elements, and hands it on in chunks: to a file, or to a text.
class XmlDocument::CWriter {
 public:
  explicit CWriter(std::FILE* target) : file(target) {}
  explicit CWriter(ZRString& target) : out(&target) { target.GrowInSteps(); }

  void Header() { code += kHeader; }
  void Tree(const XmlNode& top);

  // Hands on what is left; false if anything couldn't be written.
  [[nodiscard]] bool Finish();

 private:
  void Begin(const XmlNode& node);
  void End(const XmlNode& node);
  void Text(std::string_view text);
  void Flush();

  std::FILE* file = nullptr;
  ZRString* out = nullptr;
  bool isWritten = true;
  std::string code;
};

void XmlDocument::CWriter::Tree(const XmlNode& top) {
  std::vector<const XmlNode*> open;
  const XmlNode* node = &top;
  while (true) {
    Begin(*node);
    if (const XmlNode* first = node->First(); first != nullptr) {
      open.push_back(node);
      node = first;
      continue;
    }
    End(*node);
    while (!open.empty() && node->Next() == nullptr) {
      node = open.back();
      open.pop_back();
      End(*node);
    }
    if (open.empty()) return;
    node = node->Next();
  }
}

void XmlDocument::CWriter::Begin(const XmlNode& node) {
  code += '<';
  code += node.tag->writtenText;
  code += '>';
  Text(node.TextUtf8());
}

void XmlDocument::CWriter::End(const XmlNode& node) {
  code += "</";
  code += node.tag->writtenText;
  code += '>';
  if (code.size() >= kChunk) Flush();
}

void XmlDocument::CWriter::Text(std::string_view text) {
  while (!text.empty()) {
    const std::size_t plain = PlainLength(text);
    code += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) return;
    std::size_t length = 0;
    code += Escaped(text, length);
    text.remove_prefix(length);
  }
}

void XmlDocument::CWriter::Flush() {
  if (out != nullptr) {
    out->Append(code);
  } else if (isWritten) {
    isWritten = std::fwrite(code.data(), 1, code.size(), file) == code.size();
  }
  code.clear();
}

bool XmlDocument::CWriter::Finish() {
  Flush();
  return isWritten;
}

// --- the document ---

void XmlDocument::CreateXmlCode(ZRBasicString<char>& out, bool header) const {
  if (root == nullptr) return;
  CWriter writer(out);
  if (header) writer.Header();
  writer.Tree(*root);
  (void)writer.Finish();
}

// Writes beside the old file and puts the new one in its place.
bool XmlDocument::Save() {
  if (root == nullptr || loadedPath.IsEmpty()) return false;
  ZRPlatform& platform = ZRPlatform::Get();
  const std::string path = Utf16ToUtf8(loadedPath.View()).Text();
  const std::string unfinished = path + std::string(kUnfinished);
  std::FILE* file = platform.OpenFile(unfinished, "wb");
  if (file == nullptr) return false;
  CWriter writer(file);
  writer.Header();
  writer.Tree(*root);
  bool saved = writer.Finish();
  saved = std::fclose(file) == 0 && saved;
  saved = saved && platform.RenameFile(unfinished, path);
  if (!saved) (void)platform.RemoveFile(unfinished);
  return saved;
}

// --- an element ---

void XmlDocument::XmlNode::CreateXmlCode(ZRBasicString<char>& out) const {
  CWriter writer(out);
  writer.Tree(*this);
  (void)writer.Finish();
}

bool XmlDocument::XmlNode::SaveXmlCode(std::FILE* file) const {
  if (file == nullptr) return false;
  CWriter writer(file);
  writer.Tree(*this);
  return writer.Finish();
}
