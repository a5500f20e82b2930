// What stands behind a document: its nodes, texts and tags.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/tools/xmldocument.h"

// A tag, shared by all nodes of a document that have it.
struct XmlDocument::tagSTag {
  CStore* store = nullptr;
  std::string text;
  std::string writtenText;      // as it stands in XML: a name, whatever `text` is
  std::size_t nodes = 0;        // that have this tag
  tagSTag* follower = nullptr;  // the tag that began next when this one was last read
};

// Owns every node of a document, attached or not, with its text.
//
// Nodes lie side by side in blocks and their places are used again. Texts that were read lie in
// blocks of their own that last as long as the store; a text that was set later is allocated for
// its node. A tag without nodes is forgotten.
class XmlDocument::CStore {
 public:
  CStore() = default;
  CStore(const CStore&) = delete;
  CStore& operator=(const CStore&) = delete;
  ~CStore();

  // A node without text and children, not yet a child of any.
  [[nodiscard]] XmlNode* NewNode(std::string_view tag) { return NewNode(Tag(tag)); }
  [[nodiscard]] XmlNode* NewNode(tagSTag& tag);
  // A tree like `source`, which may be of any document; not yet a child.
  [[nodiscard]] XmlNode* NewCopy(const XmlNode& source);
  // Destroys a node that is nobody's child, with all below it.
  void Release(XmlNode* top) noexcept;

  void SetText(XmlNode& node, std::string_view text);
  void SetReadText(XmlNode& node, std::string_view text);  // of a node that has none
  void DropText(XmlNode& node) noexcept;

  [[nodiscard]] tagSTag& Tag(std::string_view text);
  void SetTag(XmlNode& node, tagSTag& tag) noexcept;

  // Where the last removal from a parent took place, so that the next one can start there. Each
  // removal sets it, so what it names is never destroyed.
  struct tagSCursor {
    const XmlNode* parent = nullptr;
    XmlNode* before = nullptr;
  };
  tagSCursor cursor;

 private:
  struct tagSBlock {
    std::unique_ptr<std::byte[]> bytes;
    std::size_t size = 0;
    std::size_t used = 0;
  };

  static void MakeRoom(std::vector<tagSBlock>& blocks, std::size_t needed, std::size_t smallest);
  void ReleaseTag(tagSTag& tag) noexcept;

  std::map<std::string_view, std::unique_ptr<tagSTag>> tags;  // the keys lie in the tags
  std::vector<tagSBlock> nodeBlocks;
  std::vector<tagSBlock> textBlocks;
  XmlNode* freeNodes = nullptr;  // chained by `next`
  std::size_t ownedTexts = 0;
};
