// What stands behind a document: its nodes, texts and tags.
#pragma once

#include <array>
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
  tagSTag* follower = nullptr;  // the tag that was asked for behind this one, last time
  std::size_t followerAge = 0;  // what `forgottenTags` was then: it is gone if that has changed
};

// Owns every node of a document, attached or not, with its text.
//
// Nodes lie side by side in blocks and their places are used again. So do texts, but for those that
// were read, which are packed and stay as long as the content, and for long ones, which are
// allocated by themselves. A tag without nodes is forgotten.
class XmlDocument::CStore {
 public:
  CStore() = default;
  CStore(const CStore&) = delete;
  CStore& operator=(const CStore&) = delete;
  ~CStore();

  // Empties the store. What it used last stays for what comes next; what it didn't is given back.
  void Clear();

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
  // The same. Content repeats itself: the tag is mostly the one that followed `previous` before.
  [[nodiscard]] tagSTag& TagBehind(tagSTag* previous, std::string_view text);
  void SetTag(XmlNode& node, tagSTag& tag) noexcept;

  // Where the last removal from a parent took place, so that the next one can start there. Each
  // removal sets it, so what it names is never destroyed.
  struct tagSCursor {
    const XmlNode* parent = nullptr;
    XmlNode* before = nullptr;
  };
  tagSCursor cursor;

 private:
  // Memory that is handed out piece by piece and taken back as a whole.
  class CBlocks {
   public:
    explicit CBlocks(std::size_t smallestBlock) : smallest(smallestBlock) {}
    [[nodiscard]] std::byte* Take(std::size_t size);
    // From now on everything can be taken again. Blocks that weren't used are given back.
    void Rewind();
    template <typename Visit>
    void ForEachPiece(std::size_t size, Visit visit);  // all pieces were of that size

   private:
    struct tagSBlock {
      std::unique_ptr<std::byte[]> bytes;
      std::size_t size = 0;
      std::size_t used = 0;
    };
    void MakeRoom(std::size_t needed);

    const std::size_t smallest;
    std::vector<tagSBlock> blocks;
    std::size_t at = 0;  // the block that pieces are taken from
  };

  static constexpr std::size_t kStep = 16;         // bytes; texts take a multiple of it
  static constexpr std::size_t kLargestStep = 16;  // steps; a longer text is allocated by itself

  [[nodiscard]] char* TakeText(std::size_t size);
  void DropLongTexts() noexcept;
  void ReleaseTag(tagSTag& tag) noexcept;

  static constexpr std::size_t kSmallestNodeBlock = 640;  // bytes
  static constexpr std::size_t kSmallestTextBlock = 512;

  std::map<std::string_view, std::unique_ptr<tagSTag>> tags;  // the keys lie in the tags
  std::size_t forgottenTags = 0;
  CBlocks nodeBlocks{kSmallestNodeBlock};
  CBlocks textBlocks{kSmallestTextBlock};
  XmlNode* freeNodes = nullptr;                     // chained by `next`
  std::array<char*, kLargestStep + 1> freeTexts{};  // by steps; each begins with the next one
  std::size_t longTexts = 0;
};
