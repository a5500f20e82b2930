#include "tessaly/zrelementcheck.h"

#include <charconv>
#include <set>

namespace {

constexpr std::string_view kYes = "T";
constexpr std::string_view kNo = "F";

bool IsFlag(std::string_view text) {
  return text.empty() || text == kYes || text == kNo;
}

}  // namespace

ZRElementCheck::ZRElementCheck(const Node& toCheck, std::string_view what,
                               const std::string& ofFile, ZRFindings& toFill)
    : element(toCheck), file(ofFile), findings(toFill), subject(what) {
  const std::string_view name = element.ValueUtf8("name");
  subject += name.empty() ? " without a name" : " " + Quoted(name);
}

ZRElementCheck::ZRElementCheck(const Node& root, const std::string& ofFile, ZRFindings& toFill)
    : element(root), file(ofFile), findings(toFill), subject("the document") {}

void ZRElementCheck::Say(Kind kind, const Node& place, const std::string& text) const {
  findings.push_back({kind, file, place.Line(), 0, subject + ": " + text});
}

void ZRElementCheck::CheckKeys(const Node& parent, tagKnows knows,
                               std::string_view repeatable) const {
  std::set<std::string_view> seen;
  for (auto child = parent.ChildsBegin(); child != parent.ChildsEnd(); ++child) {
    const std::string_view tag = (*child)->TagUtf8();
    if (!knows(tag)) {
      Say(Kind::kDropped, **child, "nobody knows an element " + Quoted(tag) + " here");
    } else if (tag != repeatable && !seen.insert(tag).second) {
      Say(Kind::kDropped, **child, "a second " + Quoted(tag) + " isn't read");
    }
  }
}

void ZRElementCheck::CheckFlag(const Node& parent, std::string_view key) const {
  const Node* const flag = parent.Child(key);
  if (flag == nullptr || IsFlag(flag->TextUtf8())) return;
  Say(Kind::kChanged, *flag,
      Quoted(key) + " is " + Quoted(flag->TextUtf8()) + " and counts as F: only T is true");
}

void ZRElementCheck::CheckSwitch() const {
  const Node* const flag = element.Child("enabled");
  if (flag == nullptr || IsFlag(flag->TextUtf8())) return;
  Say(Kind::kChanged, *flag,
      "'enabled' is " + Quoted(flag->TextUtf8()) + " and counts as T: only F switches off");
}

std::string Quoted(std::string_view text) {
  return "'" + std::string(text) + "'";
}

bool IsNumberedTag(std::string_view tag, std::string_view stem, int least, int most) {
  if (!tag.starts_with(stem)) return false;
  tag.remove_prefix(stem.size());
  int number = 0;
  const auto [end, error] = std::from_chars(tag.data(), tag.data() + tag.size(), number);
  return error == std::errc() && number >= least && number <= most && std::to_string(number) == tag;
}
