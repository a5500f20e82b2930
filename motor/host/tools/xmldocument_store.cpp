#include "host/tools/xmldocument_store.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

namespace {

constexpr std::size_t kSmallestNodeBlock = 16;                 // nodes
constexpr std::size_t kSmallestTextBlock = 512;                // bytes
constexpr std::size_t kLargestBlock = std::size_t{64} * 1024;  // bytes
constexpr std::size_t kLongText = kLargestBlock / 16;  // a longer one is allocated by itself

bool CanBeginName(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' ||
         static_cast<unsigned char>(c) >= 0x80;
}

bool CanStandInName(char c) {
  return CanBeginName(c) || (c >= '0' && c <= '9') || c == '.' || c == '-';
}

std::string WrittenTag(std::string_view tag) {
  std::string written(tag);
  for (char& c : written) {
    if (!CanStandInName(c)) c = '_';
  }
  if (written.empty() || !CanBeginName(written.front())) written.insert(0, 1, '_');
  return written;
}

}  // namespace

XmlDocument::CStore::~CStore() {
  for (const tagSBlock& block : nodeBlocks) {
    if (ownedTexts == 0) break;
    for (std::size_t at = 0; at < block.used; at += sizeof(XmlNode)) {
      DropText(*std::launder(reinterpret_cast<XmlNode*>(block.bytes.get() + at)));
    }
  }
}

// Makes the last block one with that much room. Blocks double up to the largest.
void XmlDocument::CStore::MakeRoom(std::vector<tagSBlock>& blocks, std::size_t needed,
                                   std::size_t smallest) {
  if (!blocks.empty() && blocks.back().size - blocks.back().used >= needed) return;
  std::size_t size = blocks.empty() ? smallest : std::min(blocks.back().size * 2, kLargestBlock);
  size = std::max(size, needed);
  blocks.push_back({std::make_unique_for_overwrite<std::byte[]>(size), size, 0});
}

XmlDocument::XmlNode* XmlDocument::CStore::NewNode(tagSTag& tag) {
  void* place = freeNodes;
  if (freeNodes != nullptr) {
    freeNodes = freeNodes->next;
  } else {
    MakeRoom(nodeBlocks, sizeof(XmlNode), kSmallestNodeBlock * sizeof(XmlNode));
    tagSBlock& block = nodeBlocks.back();
    place = block.bytes.get() + block.used;
    block.used += sizeof(XmlNode);
  }
  ++tag.nodes;
  return ::new (place) XmlNode(&tag);
}

XmlDocument::XmlNode* XmlDocument::CStore::NewCopy(const XmlNode& source) {
  struct tagSPair {
    const XmlNode* source;
    XmlNode* copy;
  };
  const auto release = [this](XmlNode* node) { Release(node); };
  std::unique_ptr<XmlNode, decltype(release)> top(NewNode(source.TagUtf8()), release);
  std::vector<tagSPair> pending{{&source, top.get()}};
  while (!pending.empty()) {
    const auto [from, to] = pending.back();
    pending.pop_back();
    to->line = from->line;
    SetText(*to, from->TextUtf8());
    for (auto child = from->ChildsBegin(); child != from->ChildsEnd(); ++child) {
      to->Append(NewNode((*child)->TagUtf8()));
      pending.push_back({*child, to->last});
    }
  }
  return top.release();
}

// The children of each node join the chain of the nodes to be destroyed, so no stack is needed.
void XmlDocument::CStore::Release(XmlNode* top) noexcept {
  XmlNode* pending = top;
  top->next = nullptr;
  while (pending != nullptr) {
    XmlNode* node = pending;
    pending = node->next;
    if (node->last != nullptr) {
      XmlNode* first = node->last->next;
      node->last->next = pending;
      pending = first;
      node->last = nullptr;
    }
    DropText(*node);
    ReleaseTag(*node->tag);
    node->next = freeNodes;
    freeNodes = node;
  }
}

void XmlDocument::CStore::SetText(XmlNode& node, std::string_view text) {
  if (text.size() > kMaximumText) throw std::length_error("XmlDocument: text too long");
  const char* copy = nullptr;
  if (!text.empty()) {
    char* room = std::make_unique_for_overwrite<char[]>(text.size()).release();
    std::memcpy(room, text.data(), text.size());
    copy = room;
  }
  DropText(node);
  if (copy == nullptr) return;
  node.text = copy;
  node.textLength = static_cast<std::uint32_t>(text.size()) & kMaximumText;
  node.ownsText = 1;
  ++ownedTexts;
}

void XmlDocument::CStore::SetReadText(XmlNode& node, std::string_view text) {
  if (text.size() > kLongText) return SetText(node, text);
  if (text.empty()) return;
  MakeRoom(textBlocks, text.size(), kSmallestTextBlock);
  tagSBlock& block = textBlocks.back();
  void* place = block.bytes.get() + block.used;
  std::memcpy(place, text.data(), text.size());
  block.used += text.size();
  node.text = static_cast<const char*>(place);
  node.textLength = static_cast<std::uint32_t>(text.size()) & kMaximumText;
}

void XmlDocument::CStore::DropText(XmlNode& node) noexcept {
  if (node.ownsText != 0) {
    const std::unique_ptr<const char[]> dropped(node.text);
    --ownedTexts;
  }
  node.text = nullptr;
  node.textLength = 0;
  node.ownsText = 0;
}

XmlDocument::tagSTag& XmlDocument::CStore::Tag(std::string_view text) {
  const auto found = tags.find(text);
  if (found != tags.end()) return *found->second;
  auto tag = std::make_unique<tagSTag>();
  tag->store = this;
  tag->text = text;
  tag->writtenText = WrittenTag(text);
  const std::string_view key = tag->text;
  return *tags.emplace(key, std::move(tag)).first->second;
}

void XmlDocument::CStore::SetTag(XmlNode& node, tagSTag& tag) noexcept {
  ++tag.nodes;
  ReleaseTag(*node.tag);
  node.tag = &tag;
}

void XmlDocument::CStore::ReleaseTag(tagSTag& tag) noexcept {
  if (--tag.nodes == 0) tags.erase(tag.text);
}
