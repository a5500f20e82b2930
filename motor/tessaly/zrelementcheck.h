// One element of a site's documents, and what is said of it.
#pragma once

#include <string>
#include <string_view>

#include "host/tools/xmldocument.h"
#include "tessaly/zrfinding.h"

// Puts findings about an element into a list, each with the file, a line and whom it is about.
//
// Threads   one.
// Owns      nothing: element, file and list outlive it.
class ZRElementCheck {
 public:
  using Kind = ZRFinding::tagKind;
  using Node = XmlDocument::XmlNode;
  // True for a tag that is read.
  using tagKnows = bool (*)(std::string_view tag);

  // The subject is `what` and the element's name: "event 'Pump'", "event without a name".
  ZRElementCheck(const Node& toCheck, std::string_view what, const std::string& ofFile,
                 ZRFindings& toFill);
  // The root of a document, which has no name.
  ZRElementCheck(const Node& root, const std::string& ofFile, ZRFindings& toFill);

  [[nodiscard]] const Node& Element() const { return element; }

  void Say(Kind kind, const Node& place, const std::string& text) const;
  void Say(Kind kind, const std::string& text) const { Say(kind, element, text); }

  // Says which children of `parent`, the element or one in it, aren't read: those that `knows`
  // doesn't know, and the second one of a tag, `repeatable` excepted.
  void CheckKeys(const Node& parent, tagKnows knows, std::string_view repeatable = {}) const;
  // Says that a flag of `parent` is neither "T" nor "F" nor empty, and so counts as F.
  void CheckFlag(const Node& parent, std::string_view key) const;
  // The same of the flag `enabled`, which then counts as T.
  void CheckSwitch() const;

 private:
  const Node& element;
  const std::string& file;
  ZRFindings& findings;
  std::string subject;
};

[[nodiscard]] std::string Quoted(std::string_view text);

// True if `tag` is `stem` and a number from `least` to `most`, as it is written in decimal.
[[nodiscard]] bool IsNumberedTag(std::string_view tag, std::string_view stem, int least, int most);
