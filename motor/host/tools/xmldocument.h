// XML documents in memory: a tree of elements with a tag, a text and ordered child elements.
// There are no attributes: the value `key` of a node is the text of its child element `key`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>

#include "host/tools/zrbasicstring.h"

// A plain value without a lock: whoever shares one states its lock. Reading from several threads
// at once is safe while nobody writes.
//
// Texts are kept in UTF-8 and converted when read as wide text; a single surrogate or a NUL in a
// text that is set becomes U+FFFD when written out.
//
// In: attributes, comments and processing instructions are passed over, text and CDATA joined. A
// leaf's text is kept to the letter; in an element with children, text of white space alone is
// dropped. A byte order mark is accepted, UTF-8 and UTF-16 too; a DOCTYPE is refused, and so is a
// depth above 256, a size above the limit, and whatever else isn't well-formed.
// Destruction and copying need no stack for the depth.
class XmlDocument {
 public:
  class XmlNode;

  static constexpr int kMaximumDepth = 256;
  static constexpr std::size_t kMaximumFileSize = 256u * 1024 * 1024;  // bytes

  // Where and why a text was refused. Lines and columns count from 1, columns in bytes; both are
  // 0 where no place is to blame (a missing file, a size).
  struct tagRefusal {
    std::uint64_t line = 0;
    std::uint64_t column = 0;
    std::string reason;
  };

  XmlDocument() = default;
  XmlDocument(const XmlDocument&) = delete;
  XmlDocument& operator=(const XmlDocument&) = delete;
  virtual ~XmlDocument();

  // Replaces the content by a root with that tag.
  void Create(const wchar_t* rootTag);

  // Read a file of at most kMaximumFileSize bytes, and a zero-terminated text. False if that
  // fails: the document is then empty, and `refusal`, if given, says why.
  virtual bool Load(const wchar_t* path) { return Load(path, nullptr); }
  bool Load(const wchar_t* path, tagRefusal* refusal);
  bool Parse(const char* text) { return Parse(std::string_view(text), SIZE_MAX, nullptr); }
  bool Parse(std::string_view text, std::size_t limit, tagRefusal* refusal);

  // Empties the document.
  virtual void Reset();

  // Writes the document to the path of the last Load, replacing the file as a whole. False if
  // there is none or the file can't be written; the old one is then as it was.
  virtual bool Save();

  [[nodiscard]] bool IsOK() const { return root != nullptr; }
  [[nodiscard]] XmlNode* Root() { return root; }
  [[nodiscard]] const XmlNode* Root() const { return root; }

  // Appends the document as UTF-8: the header <?xml version="1.0" encoding="UTF-8"
  // standalone="yes"?> if `header`, then the elements without any white space between them;
  // an element without text and children is "<tag></tag>". Characters that XML 1.0 forbids are
  // written as U+FFFD. Nothing for an empty document.
  void CreateXmlCode(ZRBasicString<char>& out, bool header) const;

 private:
  XmlNode* root = nullptr;
  ZRWString path;
};

// An element. Made by its document or its parent only, and destroyed with it.
class XmlDocument::XmlNode {
 public:
  // Walks the children of a node as plain pointers, in document order.
  template <typename Node>
  class CChildIterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Node*;
    using difference_type = std::ptrdiff_t;
    using pointer = Node* const*;
    using reference = Node*;

    CChildIterator() = default;
    explicit CChildIterator(Node* first) : at(first) {}
    Node* operator*() const { return at; }
    CChildIterator& operator++() {
      at = at->Next();
      return *this;
    }
    CChildIterator operator++(int) {
      CChildIterator before = *this;
      ++*this;
      return before;
    }
    bool operator==(const CChildIterator&) const = default;

   private:
    Node* at = nullptr;
  };
  using iterator = CChildIterator<XmlNode>;
  using const_iterator = CChildIterator<const XmlNode>;

  XmlNode(const XmlNode&) = delete;
  // Deep copy of tag, text and children. Copying a node's own ancestor or descendant is allowed.
  XmlNode& operator=(const XmlNode& other);

  [[nodiscard]] ZRWString Tag() const;
  [[nodiscard]] ZRWString Value() const;
  // The text of the first child `key`; `whenAbsent` if there is none.
  [[nodiscard]] ZRWString Value(const wchar_t* key, const wchar_t* whenAbsent) const;
  // The same as a flag: a present value is true only if it is exactly "T".
  [[nodiscard]] bool bValue(const wchar_t* key, bool whenAbsent) const;

  // The same in UTF-8, without a conversion. Valid until the node changes.
  [[nodiscard]] std::string_view TagUtf8() const;
  [[nodiscard]] std::string_view TextUtf8() const;
  [[nodiscard]] std::string_view ValueUtf8(std::string_view key) const;  // empty when absent

  void SetValue(const wchar_t* text);
  void SetValue(const ZRWString& text);
  // Sets or adds the first child `key`. Narrow text is UTF-8.
  void SetValue(const wchar_t* key, const wchar_t* value);
  void SetValue(const wchar_t* key, const ZRWString& value);
  void SetValue(const wchar_t* key, const char* value);
  void SetValue(const wchar_t* key, const ZRString& value);

  // The node reached by a chain of tags with "/" between; a leading "/" changes nothing. A step
  // may end in a filter, "event?id=TEXT?": the first such child whose value `id` is exactly TEXT.
  // Null if there is none or the path is malformed.
  [[nodiscard]] XmlNode* Node(const wchar_t* path);
  [[nodiscard]] const XmlNode* Node(const wchar_t* path) const;
  // The same with a path made as FormatWide does. A text put into a filter is matched exactly
  // whatever it holds: it is never read as a part of the path.
  [[nodiscard]] XmlNode* NodeV(const wchar_t* format, ...);
  [[nodiscard]] const XmlNode* NodeV(const wchar_t* format, ...) const;
  // The first child `tag` whose value `key` is exactly `value`.
  [[nodiscard]] XmlNode* Child(std::string_view tag, std::string_view key, std::string_view value);

  // Appends a child. The second argument is reserved (null).
  XmlNode* NewChild(const wchar_t* tag, const void* reserved);
  // Removes and destroys a child of this node; nothing if it is none.
  void RemoveChild(XmlNode* child);

  [[nodiscard]] iterator ChildsBegin() { return iterator(first); }
  [[nodiscard]] iterator ChildsEnd() { return iterator(); }
  [[nodiscard]] const_iterator ChildsBegin() const { return const_iterator(first); }
  [[nodiscard]] const_iterator ChildsEnd() const { return const_iterator(); }
  [[nodiscard]] int Size() const { return static_cast<int>(childCount); }
  [[nodiscard]] XmlNode* Next() { return next; }
  [[nodiscard]] const XmlNode* Next() const { return next; }
  // The line of the text that this element began in, from 1; 0 for a node that wasn't read.
  [[nodiscard]] std::uint32_t Line() const { return line; }

  // Appends the element, and writes it to an open stream; false if that fails.
  void CreateXmlCode(ZRBasicString<char>& out) const;
  [[nodiscard]] bool SaveXmlCode(std::FILE* file) const;

 private:
  friend class XmlDocument;
  XmlNode() = default;
  ~XmlNode() = default;

  XmlNode* first = nullptr;
  XmlNode* next = nullptr;
  std::uint32_t childCount = 0;
  std::uint32_t line = 0;
  // The tools room completes the representation.
};
