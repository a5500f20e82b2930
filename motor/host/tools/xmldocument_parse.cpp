#include <expat.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <limits>
#include <new>
#include <system_error>
#include <utility>
#include <vector>

#include "host/platform/zrplatform.h"
#include "host/tools/xmldocument.h"
#include "host/tools/xmldocument_store.h"
#include "host/tools/zrtext.h"

namespace {

constexpr int kFileChunk = 64 * 1024;                     // bytes read from a file at a time
constexpr std::size_t kTextChunk = std::size_t{1} << 30;  // bytes of a text handed over at a time
constexpr std::string_view kWhiteSpace = " \t\n\r";

}  // namespace

// Builds the nodes of one text in a store. The parser of the library is C: nothing is thrown
// through it, an exception stops it and is thrown again behind it.
class XmlDocument::CParser {
 public:
  explicit CParser(CStore& target);

  // Hand over the text piece by piece, the last one marked. False once it is refused.
  [[nodiscard]] bool Feed(std::string_view piece, bool isFinal);
  [[nodiscard]] char* Buffer();  // room for kFileChunk bytes
  [[nodiscard]] bool FeedBuffer(std::size_t used, bool isFinal);

  // Refuses a text for a reason that has no place in it.
  void Refuse(std::string why);

  [[nodiscard]] XmlNode* Root() const { return root; }
  [[nodiscard]] tagRefusal Refusal() const;

 private:
  struct tagSOpen {
    XmlNode* node;
    std::size_t textBegin;  // where its text begins in `text`
  };

  static void XMLCALL OnBegin(void* self, const XML_Char* name, const XML_Char** attributes);
  static void XMLCALL OnEnd(void* self, const XML_Char* name);
  static void XMLCALL OnText(void* self, const XML_Char* piece, int length);
  static void XMLCALL OnDocType(void* self, const XML_Char* name, const XML_Char* systemId,
                                const XML_Char* publicId, int hasInternalSubset);

  void Begin(std::string_view name);
  void End();
  void Text(std::string_view piece);
  void RefuseHere(std::string why);
  [[nodiscard]] tagRefusal Place() const;  // what is read now, without a reason
  template <typename Step>
  void Guarded(Step step);
  bool Accepted(XML_Status status);

  std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser;
  CStore& store;
  XmlNode* root = nullptr;
  std::vector<tagSOpen> open;
  std::string text;  // of the open elements, one behind the other
  tagSTag* previousTag = nullptr;
  bool stopped = false;
  tagRefusal refused;  // without a reason: it is the library's
  std::exception_ptr failure;
};

XmlDocument::CParser::CParser(CStore& target)
    : parser(XML_ParserCreate(nullptr), &XML_ParserFree), store(target) {
  if (parser == nullptr) throw std::bad_alloc();
  open.reserve(kMaximumDepth);
  XML_SetUserData(parser.get(), this);
  XML_SetElementHandler(parser.get(), &OnBegin, &OnEnd);
  XML_SetCharacterDataHandler(parser.get(), &OnText);
  XML_SetStartDoctypeDeclHandler(parser.get(), &OnDocType);
}

// --- calls of the library ---

void XMLCALL XmlDocument::CParser::OnBegin(void* self, const XML_Char* name, const XML_Char**) {
  auto& parser = *static_cast<CParser*>(self);
  parser.Guarded([&] { parser.Begin(name); });
}

void XMLCALL XmlDocument::CParser::OnEnd(void* self, const XML_Char*) {
  auto& parser = *static_cast<CParser*>(self);
  parser.Guarded([&] { parser.End(); });
}

void XMLCALL XmlDocument::CParser::OnText(void* self, const XML_Char* piece, int length) {
  auto& parser = *static_cast<CParser*>(self);
  parser.Guarded([&] { parser.Text({piece, static_cast<std::size_t>(length)}); });
}

void XMLCALL XmlDocument::CParser::OnDocType(void* self, const XML_Char*, const XML_Char*,
                                             const XML_Char*, int) {
  auto& parser = *static_cast<CParser*>(self);
  parser.Guarded([&] { parser.RefuseHere("a DOCTYPE is not allowed"); });
}

// The library may still make calls after it was stopped.
template <typename Step>
void XmlDocument::CParser::Guarded(Step step) {
  if (stopped) return;
  try {
    step();
  } catch (...) {
    failure = std::current_exception();
    stopped = true;
  }
  if (stopped) (void)XML_StopParser(parser.get(), XML_FALSE);
}

// --- building ---

void XmlDocument::CParser::Begin(std::string_view name) {
  if (open.size() == static_cast<std::size_t>(kMaximumDepth)) {
    return RefuseHere("nested deeper than " + std::to_string(kMaximumDepth) + " elements");
  }
  previousTag = &store.TagBehind(previousTag, name);
  XmlNode* node = store.NewNode(*previousTag);
  const XML_Size line = XML_GetCurrentLineNumber(parser.get());
  node->line = static_cast<std::uint32_t>(
      std::min<XML_Size>(line, std::numeric_limits<std::uint32_t>::max()));
  if (open.empty()) {
    root = node;
  } else {
    open.back().node->Append(node);
  }
  open.push_back({node, text.size()});
}

void XmlDocument::CParser::Text(std::string_view piece) {
  if (text.size() - open.back().textBegin + piece.size() > kMaximumText) {
    return RefuseHere("the text of an element is too long");
  }
  text += piece;
}

void XmlDocument::CParser::End() {
  const auto [node, textBegin] = open.back();
  open.pop_back();
  const std::string_view whole = std::string_view(text).substr(textBegin);
  const bool isLayout =
      node->First() != nullptr && whole.find_first_not_of(kWhiteSpace) == std::string_view::npos;
  if (!isLayout) store.SetReadText(*node, whole);
  text.resize(textBegin);
}

// --- refusals ---

void XmlDocument::CParser::RefuseHere(std::string why) {
  refused = Place();
  refused.reason = std::move(why);
  stopped = true;
}

void XmlDocument::CParser::Refuse(std::string why) {
  refused.reason = std::move(why);
}

XmlDocument::tagRefusal XmlDocument::CParser::Place() const {
  return {XML_GetCurrentLineNumber(parser.get()), XML_GetCurrentColumnNumber(parser.get()) + 1, ""};
}

XmlDocument::tagRefusal XmlDocument::CParser::Refusal() const {
  if (!refused.reason.empty()) return refused;
  tagRefusal refusal = Place();
  refusal.reason = XML_ErrorString(XML_GetErrorCode(parser.get()));
  return refusal;
}

// --- feeding ---

bool XmlDocument::CParser::Accepted(XML_Status status) {
  if (failure != nullptr) std::rethrow_exception(failure);
  return status == XML_STATUS_OK;
}

bool XmlDocument::CParser::Feed(std::string_view piece, bool isFinal) {
  return Accepted(
      XML_Parse(parser.get(), piece.data(), static_cast<int>(piece.size()), isFinal ? 1 : 0));
}

char* XmlDocument::CParser::Buffer() {
  void* buffer = XML_GetBuffer(parser.get(), kFileChunk);
  if (buffer == nullptr) throw std::bad_alloc();
  return static_cast<char*>(buffer);
}

bool XmlDocument::CParser::FeedBuffer(std::size_t used, bool isFinal) {
  return Accepted(XML_ParseBuffer(parser.get(), static_cast<int>(used), isFinal ? 1 : 0));
}

// --- the document ---

bool XmlDocument::Parse(const char* text) {
  return Parse(text != nullptr ? std::string_view(text) : std::string_view(), SIZE_MAX, nullptr);
}

bool XmlDocument::Parse(std::string_view text, std::size_t limit, tagRefusal* refusal) {
  auto filled = std::make_unique<CStore>();
  CParser parser(*filled);
  bool accepted = text.size() <= limit;
  if (!accepted) parser.Refuse("larger than " + std::to_string(limit) + " bytes");
  for (bool isFinal = false; accepted && !isFinal;) {
    const std::string_view piece = text.substr(0, kTextChunk);
    text.remove_prefix(piece.size());
    isFinal = text.empty();
    accepted = parser.Feed(piece, isFinal);
  }
  return Take(std::move(filled), parser, accepted, refusal);
}

// Ends a reading: the document has what was read, or nothing if it was refused.
bool XmlDocument::Take(std::unique_ptr<CStore> filled, CParser& parser, bool accepted,
                       tagRefusal* refusal) {
  Discard();
  if (refusal != nullptr) *refusal = accepted ? tagRefusal() : parser.Refusal();
  if (!accepted) return false;
  content = std::move(filled);
  root = parser.Root();
  return true;
}

bool XmlDocument::Load(const wchar_t* path, tagRefusal* refusal, std::size_t limit) {
  const ZRWString wanted(path);
  loadedPath = wanted;
  Discard();
  const auto close = [](std::FILE* opened) { (void)std::fclose(opened); };
  const std::unique_ptr<std::FILE, decltype(close)> file(
      ZRPlatform::Get().OpenFile(Utf16ToUtf8(wanted.View()).Text(), "rb"), close);
  if (file == nullptr) {
    const std::string why = std::generic_category().message(errno);
    if (refusal != nullptr) *refusal = {0, 0, "can't be opened: " + why};
    return false;
  }
  return Read(file.get(), limit, refusal);
}

bool XmlDocument::Read(std::FILE* file, std::size_t limit, tagRefusal* refusal) {
  auto filled = std::make_unique<CStore>();
  CParser parser(*filled);
  bool accepted = true;
  std::size_t total = 0;
  for (bool isFinal = false; accepted && !isFinal;) {
    errno = 0;
    const std::size_t count = std::fread(parser.Buffer(), 1, kFileChunk, file);
    isFinal = count < kFileChunk;
    total += count;
    if (std::ferror(file) != 0) {
      parser.Refuse("can't be read: " + std::generic_category().message(errno));
      accepted = false;
    } else if (total > limit) {
      parser.Refuse("larger than " + std::to_string(limit) + " bytes");
      accepted = false;
    } else {
      accepted = parser.FeedBuffer(count, isFinal);
    }
  }
  return Take(std::move(filled), parser, accepted, refusal);
}
