#include "host/tools/xmldocument_store.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

namespace {

constexpr std::size_t kLargestBlock = std::size_t{64} * 1024;  // bytes
constexpr std::size_t kLongReadText = kLargestBlock / 16;  // a longer one is allocated by itself

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

// --- memory ---

std::byte* XmlDocument::CStore::CBlocks::Take(std::size_t size) {
  MakeRoom(size);
  tagSBlock& block = blocks[at];
  std::byte* const piece = block.bytes.get() + block.used;
  block.used += size;
  return piece;
}

// Blocks double up to the largest.
void XmlDocument::CStore::CBlocks::MakeRoom(std::size_t needed) {
  const auto hasRoom = [&](const tagSBlock& block) { return block.size - block.used >= needed; };
  while (at < blocks.size() && !hasRoom(blocks[at]))
    ++at;
  if (at < blocks.size()) return;
  const std::size_t doubled = blocks.empty() ? smallest : blocks.back().size * 2;
  const std::size_t size = std::max(std::min(doubled, kLargestBlock), needed);
  blocks.push_back({std::make_unique_for_overwrite<std::byte[]>(size), size, 0});
}

void XmlDocument::CStore::CBlocks::Rewind() {
  blocks.resize(std::min(blocks.size(), at + 1));
  for (tagSBlock& block : blocks)
    block.used = 0;
  at = 0;
}

template <typename Visit>
void XmlDocument::CStore::CBlocks::ForEachPiece(std::size_t size, Visit visit) {
  for (const tagSBlock& block : blocks) {
    for (std::size_t begin = 0; begin < block.used; begin += size)
      visit(block.bytes.get() + begin);
  }
}

XmlDocument::CStore::~CStore() {
  DropLongTexts();
}

void XmlDocument::CStore::Clear() {
  DropLongTexts();
  cursor = {};
  freeNodes = nullptr;
  freeTexts = {};
  tags.clear();
  nodeBlocks.Rewind();
  textBlocks.Rewind();
}

void XmlDocument::CStore::DropLongTexts() noexcept {
  if (longTexts == 0) return;
  nodeBlocks.ForEachPiece(sizeof(XmlNode), [this](std::byte* place) {
    DropText(*std::launder(reinterpret_cast<XmlNode*>(place)));
  });
}

// --- nodes ---

XmlDocument::XmlNode* XmlDocument::CStore::NewNode(tagSTag& tag) {
  void* place = freeNodes;
  if (freeNodes != nullptr) {
    freeNodes = freeNodes->next;
  } else {
    place = nodeBlocks.Take(sizeof(XmlNode));
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

// --- texts ---

char* XmlDocument::CStore::TakeText(std::size_t size) {
  const std::size_t steps = (size + kStep - 1) / kStep;
  if (steps > kLargestStep) {
    char* const room = std::make_unique_for_overwrite<char[]>(size).release();
    ++longTexts;
    return room;
  }
  char* const room = freeTexts[steps];
  if (room == nullptr) return reinterpret_cast<char*>(textBlocks.Take(steps * kStep));
  std::memcpy(&freeTexts[steps], room, sizeof(char*));
  return room;
}

void XmlDocument::CStore::SetText(XmlNode& node, std::string_view text) {
  if (text.size() > kMaximumText) throw std::length_error("XmlDocument: text too long");
  char* room = nullptr;
  if (!text.empty()) {
    room = TakeText(text.size());
    std::memcpy(room, text.data(), text.size());
  }
  DropText(node);
  if (room == nullptr) return;
  node.text = room;
  node.textLength = static_cast<std::uint32_t>(text.size()) & kMaximumText;
  node.ownsText = 1;
}

void XmlDocument::CStore::SetReadText(XmlNode& node, std::string_view text) {
  if (text.size() > kLongReadText) return SetText(node, text);
  if (text.empty()) return;
  std::byte* const place = textBlocks.Take(text.size());
  std::memcpy(place, text.data(), text.size());
  node.text = reinterpret_cast<const char*>(place);
  node.textLength = static_cast<std::uint32_t>(text.size()) & kMaximumText;
}

void XmlDocument::CStore::DropText(XmlNode& node) noexcept {
  if (node.ownsText != 0) {
    const std::size_t steps = (node.textLength + kStep - 1) / kStep;
    char* const room = const_cast<char*>(node.text);
    if (steps > kLargestStep) {
      const std::unique_ptr<const char[]> dropped(room);
      --longTexts;
    } else {
      std::memcpy(room, &freeTexts[steps], sizeof(char*));
      freeTexts[steps] = room;
    }
  }
  node.text = nullptr;
  node.textLength = 0;
  node.ownsText = 0;
}

// --- tags ---

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

XmlDocument::tagSTag& XmlDocument::CStore::TagBehind(tagSTag* previous, std::string_view text) {
  if (previous == nullptr) return Tag(text);
  const bool isThere = previous->follower != nullptr && previous->followerAge == forgottenTags;
  if (isThere && previous->follower->text == text) return *previous->follower;
  previous->follower = &Tag(text);
  previous->followerAge = forgottenTags;
  return *previous->follower;
}

void XmlDocument::CStore::SetTag(XmlNode& node, tagSTag& tag) noexcept {
  ++tag.nodes;
  ReleaseTag(*node.tag);
  node.tag = &tag;
}

void XmlDocument::CStore::ReleaseTag(tagSTag& tag) noexcept {
  if (--tag.nodes != 0) return;
  tags.erase(tag.text);
  ++forgottenTags;
}
