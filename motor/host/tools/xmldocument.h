// XML documents in memory: a tree of elements with a tag, a text and ordered child elements.
// There are no attributes: the value `key` of a node is the text of its child element `key`.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "host/tools/zrbasicstring.h"

// A plain value without a lock: whoever shares one states its lock. Reading from several threads
// at once is safe while nobody writes.
//
// Texts are kept in UTF-8 and converted when read as wide text. What can't be converted when a
// text is set (a single surrogate, bad UTF-8) becomes U+FFFD.
//
// In: attributes, comments and processing instructions are passed over, text and CDATA joined. A
// leaf's text is kept to the letter (with XML's own rule that a line ends in LF); in an element
// with children, text of white space alone is dropped. UTF-8 and UTF-16, with or without a byte
// order mark, and ISO-8859-1 and US-ASCII if declared. A DOCTYPE is refused, and so is a depth
// above 256, a size above the limit, and whatever else isn't well-formed. Tags with a ":" are kept
// as they are.
//
// Out: UTF-8 without any white space between the elements; an element without text and children
// is "<tag></tag>", one with both has its text in front. & < > and a CR are written as &amp; &lt;
// &gt; &#13;, a character that XML 1.0 forbids as U+FFFD, and an ASCII character that can't stand
// in a tag as "_" (with one more in front where it can't begin one). So what was written is
// well-formed, if what its tags hold beyond ASCII are letters.
//
// Destruction, copying and writing need no stack for the depth. A document that is changed for
// ever holds no more than what it was read from and the most that it ever had.
//
// Allocation failures and texts above kMaximumText are exceptions of the standard library.
class XmlDocument {
 public:
  class XmlNode;

  static constexpr int kMaximumDepth = 256;  // elements, with the root
  static constexpr std::size_t kMaximumFileSize = std::size_t{256} * 1024 * 1024;  // bytes
  static constexpr std::size_t kMaximumText = (1u << 30) - 1;  // bytes of one element's text

  // Where and why a text was refused. Lines and columns count from 1, columns in characters; both
  // are 0 where no place is to blame (a missing file, a size).
  struct tagRefusal {
    std::uint64_t line = 0;
    std::uint64_t column = 0;
    std::string reason;
  };

  XmlDocument();
  XmlDocument(const XmlDocument&) = delete;
  XmlDocument& operator=(const XmlDocument&) = delete;
  virtual ~XmlDocument();

  // Replaces the content by a root with that tag. The path of the last Load stays, and so does the
  // memory: a document that is made again and again allocates little.
  void Create(const wchar_t* rootTag);

  // Read a file of at most `limit` bytes, and a zero-terminated text. False if that fails: the
  // document is then empty, and `refusal`, if given, says why.
  virtual bool Load(const wchar_t* path) { return Load(path, nullptr); }
  bool Load(const wchar_t* path, tagRefusal* refusal, std::size_t limit = kMaximumFileSize);
  bool Parse(const char* text);
  // The same with a text of at most `limit` bytes.
  bool Parse(std::string_view text, std::size_t limit, tagRefusal* refusal);

  // Empties the document. The path of the last Load stays.
  virtual void Reset();

  // Writes the document, with its header, to the path of the last Load, one that failed included,
  // replacing the file as a whole. False if there is no such path, no root, or the file can't be
  // written; the old one is then as it was.
  virtual bool Save();

  [[nodiscard]] bool IsOK() const { return root != nullptr; }
  [[nodiscard]] XmlNode* Root() { return root; }
  [[nodiscard]] const XmlNode* Root() const { return root; }

  // Appends the document as UTF-8: the header <?xml version="1.0" encoding="UTF-8"
  // standalone="yes"?> if `header`, then the elements. Nothing for an empty document.
  void CreateXmlCode(ZRBasicString<char>& out, bool header) const;

 private:
  class CStore;   // owns the nodes, their texts and tags
  class CParser;  // builds the nodes of a text
  class CWriter;  // makes the text of nodes
  struct tagSTag;

  void Discard();
  bool Read(std::FILE* file, std::size_t limit, tagRefusal* refusal);
  bool Take(std::unique_ptr<CStore> filled, CParser& parser, bool accepted, tagRefusal* refusal);

  std::unique_ptr<CStore> content;  // null while the document is empty
  XmlNode* root = nullptr;
  ZRWString loadedPath;
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
      if (at != nullptr) at = at->Next();
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
  // Deep copy of tag, text, children and lines. Copying a node's own ancestor or descendant is
  // allowed. This node stays where it is; its former children are destroyed.
  XmlNode& operator=(const XmlNode& other);

  [[nodiscard]] ZRWString Tag() const;
  [[nodiscard]] ZRWString Value() const;
  // The text of the first child `key`; `whenAbsent` if there is none. In these three, a key that
  // holds a "/" is a path, as for Node.
  [[nodiscard]] ZRWString Value(const wchar_t* key, const wchar_t* whenAbsent) const;
  // The same as a flag: a present value is true only if it is exactly "T".
  [[nodiscard]] bool bValue(const wchar_t* key, bool whenAbsent) const;

  // The same in UTF-8, without a conversion. Valid until the node changes.
  [[nodiscard]] std::string_view TagUtf8() const;
  [[nodiscard]] std::string_view TextUtf8() const;
  [[nodiscard]] std::string_view ValueUtf8(std::string_view key) const;  // empty when absent

  void SetValue(const wchar_t* value);
  void SetValue(const ZRWString& value);
  // Sets or adds the first child `key`. Narrow text is UTF-8.
  void SetValue(const wchar_t* key, const wchar_t* value);
  void SetValue(const wchar_t* key, const ZRWString& value);
  void SetValue(const wchar_t* key, const char* value);
  void SetValue(const wchar_t* key, const ZRString& value);

  // The node reached by a chain of tags with "/" between; a leading "/" changes nothing. A step
  // may end in a filter, "event?id=TEXT?": the first such child whose value `id` is exactly TEXT,
  // which ends at the first "?" that ends a step. A child without that value never matches. Null
  // if there is none or the path is malformed; an empty path is malformed.
  [[nodiscard]] XmlNode* Node(const wchar_t* path);
  [[nodiscard]] const XmlNode* Node(const wchar_t* path) const;
  // The same with a path made as FormatWide does. A text put into a filter is matched exactly
  // whatever it holds: it is never read as a part of the path.
  [[nodiscard]] XmlNode* NodeV(const wchar_t* format, ...);
  [[nodiscard]] const XmlNode* NodeV(const wchar_t* format, ...) const;
  // The first child of that tag, and the first one whose value `key` is there and exactly `value`.
  [[nodiscard]] XmlNode* Child(std::string_view childTag);
  [[nodiscard]] const XmlNode* Child(std::string_view childTag) const;
  [[nodiscard]] XmlNode* Child(std::string_view childTag, std::string_view key,
                               std::string_view value);
  [[nodiscard]] const XmlNode* Child(std::string_view childTag, std::string_view key,
                                     std::string_view value) const;

  // Appends a child. The second argument is reserved (null).
  XmlNode* NewChild(const wchar_t* childTag, const void* reserved);
  // Removes and destroys a child of this node; nothing if it is none. Fast for the first child,
  // and for one behind the child that was removed last.
  void RemoveChild(XmlNode* child);

  [[nodiscard]] iterator ChildsBegin() { return iterator(First()); }
  [[nodiscard]] iterator ChildsEnd() { return iterator(); }
  [[nodiscard]] const_iterator ChildsBegin() const { return const_iterator(First()); }
  [[nodiscard]] const_iterator ChildsEnd() const { return const_iterator(); }
  [[nodiscard]] int Size() const;  // counts the children at each call
  [[nodiscard]] XmlNode* Next() { return isLast ? nullptr : next; }
  [[nodiscard]] const XmlNode* Next() const { return isLast ? nullptr : next; }
  // The line of the text that this element began in, from 1; 0 for a node that was made otherwise.
  [[nodiscard]] std::uint32_t Line() const { return line; }

  // Appends the element, and writes it to an open stream; false if that fails.
  void CreateXmlCode(ZRBasicString<char>& out) const;
  [[nodiscard]] bool SaveXmlCode(std::FILE* file) const;

 private:
  friend class XmlDocument;
  explicit XmlNode(tagSTag* name) : next(this), tag(name), textLength(0), ownsText(0), isLast(1) {}
  ~XmlNode() = default;

  [[nodiscard]] XmlNode* First() const { return last != nullptr ? last->next : nullptr; }
  [[nodiscard]] const XmlNode* Reached(std::string_view path) const;
  [[nodiscard]] const XmlNode* ReachedV(const wchar_t* format, std::va_list arguments) const;
  [[nodiscard]] const XmlNode* ValueNode(std::string_view key) const;
  [[nodiscard]] XmlNode* BeforeChild(const XmlNode* child);
  void SetChildText(const wchar_t* key, std::string_view value);
  void Append(XmlNode* child);
  void Adopt(XmlNode* copy);
  void Clear();

  XmlNode* next;            // the next sibling; the first one for the last, so they form a ring
  XmlNode* last = nullptr;  // the last child
  tagSTag* tag;             // shared by the nodes of the document
  const char* text = nullptr;
  std::uint32_t textLength : 30;
  std::uint32_t ownsText : 1;  // allocated for this node alone; otherwise a part of what was read
  std::uint32_t isLast : 1;
  std::uint32_t line = 0;
};
