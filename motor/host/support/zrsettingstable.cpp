#include "host/support/zrsettingstable.h"

#include <algorithm>
#include <utility>

#include "host/tools/zrtext.h"

namespace {

using tagKind = ZRSettingNode::tagKind;

void Add(std::vector<ZRSettingProblem>& list, const std::string& text, const ZRSettingNode& at) {
  if (list.size() >= ZRTessalySetup::kMaximumProblems) return;
  list.push_back({ZRString(std::string_view(text)), at.line, at.column});
}

bool HasControl(std::string_view text) {
  const ZRWString wide = Utf8ToUtf16(text);
  const auto isControl = [](wchar_t unit) { return unit < 0x20 || (unit >= 0x7F && unit <= 0x9F); };
  return std::any_of(wide.View().begin(), wide.View().end(), isControl);
}

// A key as it can be shown anywhere: it comes from the file.
std::string ShownKey(const std::string& key) {
  constexpr std::size_t kShown = 40;
  const bool isPlain = key.size() <= kShown && !key.empty() && !HasControl(key);
  return isPlain ? "\"" + key + "\"" : "of this place";
}

}  // namespace

void ZRSettingReport::Problem(const std::string& text, const ZRSettingNode& at) {
  Add(problems, text, at);
}

void ZRSettingReport::Warning(const std::string& text, const ZRSettingNode& at) {
  Add(warnings, text, at);
}

ZRSettingsTable::ZRSettingsTable(const ZRSettingNode* toRead, std::string inFront,
                                 ZRSettingReport& toFill)
    : table(toRead), prefix(std::move(inFront)), report(toFill) {}

void ZRSettingsTable::Text(std::string_view key, ZRString& value) {
  Text(
      key, value, [](std::string_view) { return true; }, "");
}

void ZRSettingsTable::Texts(std::string_view key, std::vector<ZRString>& values) {
  const ZRSettingNode* const list = Ask(key, tagKind::kArray, "must be a list of texts");
  if (list == nullptr) return;
  const auto isGood = [](const ZRSettingNode& entry) {
    return entry.kind == tagKind::kText && !HasControl(entry.text);
  };
  if (!std::all_of(list->children.begin(), list->children.end(), isGood)) {
    report.Problem(
        prefix + std::string(key) + " must be a list of texts without control characters", *list);
    return;
  }
  values.clear();
  for (const ZRSettingNode& entry : list->children)
    values.emplace_back(std::string_view(entry.text));
}

void ZRSettingsTable::Text(std::string_view key, ZRWString& value) {
  ZRString narrow = Utf16ToUtf8(value.View());
  Text(key, narrow);
  value = Utf8ToUtf16(narrow.View());
}

void ZRSettingsTable::Text(std::string_view key, ZRString& value, bool (*isGood)(std::string_view),
                           std::string_view rule) {
  const ZRSettingNode* const node = Ask(key, tagKind::kText, "must be a text");
  if (node == nullptr) return;
  if (HasControl(node->text)) {
    report.Problem(prefix + std::string(key) + " must not hold control characters", *node);
  } else if (!isGood(node->text)) {
    report.Problem(prefix + std::string(key) + " " + std::string(rule), *node);
  } else {
    value = ZRString(std::string_view(node->text));
  }
}

void ZRSettingsTable::Integer(std::string_view key, int& value, int least, int most) {
  const std::string rule =
      "must be an integer from " + std::to_string(least) + " to " + std::to_string(most);
  const ZRSettingNode* const node = Ask(key, tagKind::kInteger, rule);
  if (node == nullptr) return;
  if (node->integer < least || node->integer > most) {
    report.Problem(prefix + std::string(key) + " " + rule, *node);
  } else {
    value = static_cast<int>(node->integer);
  }
}

void ZRSettingsTable::Flag(std::string_view key, bool& value) {
  const ZRSettingNode* const node = Ask(key, tagKind::kFlag, "must be true or false");
  if (node != nullptr) value = node->flag;
}

ZRSettingsTable ZRSettingsTable::Table(std::string_view key) {
  const ZRSettingNode* const node = Ask(key, tagKind::kTable, "must be a table");
  return {node, prefix + std::string(key) + ".", report};
}

const ZRSettingNode* ZRSettingsTable::Any(std::string_view key) {
  asked.push_back(key);
  return table != nullptr ? table->Child(key) : nullptr;
}

std::vector<std::string_view> ZRSettingsTable::Keys() const {
  std::vector<std::string_view> keys;
  if (table == nullptr) return keys;
  for (const ZRSettingNode& child : table->children)
    keys.emplace_back(child.key);
  return keys;
}

void ZRSettingsTable::Problem(std::string_view key, std::string_view what) {
  if (table == nullptr) return;
  const ZRSettingNode* const node = table->Child(key);
  report.Problem(prefix + std::string(key) + " " + std::string(what),
                 node != nullptr ? *node : *table);
}

void ZRSettingsTable::WarnOfUnknownKeys() {
  if (table == nullptr) return;
  for (const ZRSettingNode& child : table->children) {
    if (std::find(asked.begin(), asked.end(), child.key) != asked.end()) continue;
    const std::string place = prefix.empty() ? "" : " in " + prefix.substr(0, prefix.size() - 1);
    report.Warning("the key " + ShownKey(child.key) + place + " is not known", child);
  }
}

const ZRSettingNode* ZRSettingsTable::Ask(std::string_view key, tagKind kind,
                                          std::string_view rule) {
  const ZRSettingNode* const node = Any(key);
  if (node == nullptr || node->kind == kind) return node;
  report.Problem(prefix + std::string(key) + " " + std::string(rule), *node);
  return nullptr;
}
