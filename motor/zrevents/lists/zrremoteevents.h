#pragma once

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "host/tools/xmldocument.h"

// The sections of the document, and its elements.
inline constexpr const wchar_t* kSectionActived = L"actived";
inline constexpr const wchar_t* kSectionNotified = L"notified";
inline constexpr const wchar_t* kEventTag = L"event";

// The tags of an element.
inline constexpr std::string_view kActivedTag = "actived";
inline constexpr std::string_view kNotifiedTag = "notified";

// What happened to an element, by its `whyFired`.
inline constexpr const wchar_t* kActivation = L"ACTIVATION";
inline constexpr const wchar_t* kDeactivation = L"DEACTIVATION";
inline constexpr const wchar_t* kAcknowledge = L"ACKNOWLEDGE";

// The events of remote engines: the document `eventsTM` with the sections `actived` and
// `notified`, and an index over the ids of each.
//
// Threads   whoever shares one states its lock.
// Promise   finding, adding and updating an element takes the same time whatever the number of
//           elements.
class ZRRemoteEvents {
 public:
  using tagNode = XmlDocument::XmlNode;

  // Makes the root and the sections, where they are missing.
  void Prepare();
  [[nodiscard]] bool HasRoot() const { return document.IsOK(); }
  // Elements, of both sections.
  [[nodiscard]] std::size_t Size() const { return index[0].size() + index[1].size(); }
  // The section of that tag; null if there is none.
  [[nodiscard]] const tagNode* Section(const wchar_t* section) const;

  // The element with exactly this id; null if there is none.
  [[nodiscard]] tagNode* Find(bool isActive, std::string_view id);
  // Appends an element with this id, which has none yet. After Prepare.
  tagNode* Add(bool isActive, std::string_view id);
  void Remove(bool isActive, std::string_view id);
  // Removes the elements for which `isToGo`, asked in document order, is true.
  void RemoveIf(bool isActive, const std::function<bool(const tagNode&)>& isToGo);

 private:
  struct CHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept {
      return std::hash<std::string_view>()(text);
    }
  };
  using tagIndex = std::unordered_map<std::string, tagNode*, CHash, std::equal_to<>>;

  [[nodiscard]] tagIndex& IndexOf(bool isActive) { return index[isActive ? 0 : 1]; }
  [[nodiscard]] tagNode* SectionOf(bool isActive);

  XmlDocument document;
  std::array<tagIndex, 2> index;  // of `actived`, and of `notified`
};

// The text before the first "." of an element's id: the id of the driver that it comes through.
// False if there is no ".".
[[nodiscard]] bool DriverIdOf(const XmlDocument::XmlNode& element, ZRWString& driverId);
