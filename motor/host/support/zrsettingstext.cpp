#include "host/support/zrsettingstext.h"

#include <toml++/toml.h>

#include <charconv>
#include <locale>
#include <sstream>
#include <string>

#include "host/support/zrsettingsshape.h"

namespace {

using tagKind = ZRSettingNode::tagKind;

constexpr std::string_view kReservedPrefix = "__";

// A problem found while the parser's values are turned into ours.
struct tagRefused {
  ZRSettingProblem problem;
};

ZRSettingProblem MakeProblem(std::string_view text, const toml::source_position& place) {
  ZRSettingProblem problem;
  problem.text = ZRString(text);
  problem.line = static_cast<int>(place.line);
  problem.column = static_cast<int>(place.column);
  return problem;
}

// What the parser says without what it quotes of the file: that may be a secret.
std::string WithoutQuotes(std::string_view description) {
  constexpr std::size_t kCharacter = 4;  // a single one may be shown, escaped or not
  std::string shown;
  while (!description.empty()) {
    const std::size_t open = description.find('\'');
    const std::size_t close =
        open == std::string_view::npos ? open : description.find('\'', open + 1);
    if (close == std::string_view::npos) break;
    const bool isShort = close - open - 1 <= kCharacter;
    shown += description.substr(0, isShort ? close + 1 : open + 1);
    if (!isShort) shown += "...'";
    description.remove_prefix(close + 1);
  }
  return shown.append(description);
}

std::string ShortestText(double number) {
  constexpr std::size_t kRoom = 32;
  char text[kRoom];
  const auto [end, error] = std::to_chars(text, text + kRoom, number);
  return error == std::errc() ? std::string(text, end) : std::string();
}

template <typename Date>
std::string DateText(const Date& date) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << date;
  return text.str();
}

void CheckText(std::string_view text, const toml::source_position& place) {
  if (text.find('\0') == std::string_view::npos) return;
  throw tagRefused{MakeProblem("a text must not hold a NUL", place)};
}

void CheckKey(const toml::key& key) {
  CheckText(key.str(), key.source().begin);
  if (!key.str().starts_with(kReservedPrefix)) return;
  throw tagRefused{MakeProblem("a key must not begin with \"__\"", key.source().begin)};
}

void FillScalar(const toml::node& value, ZRSettingNode& node) {
  if (const auto* text = value.as_string()) {
    CheckText(text->get(), value.source().begin);
    node.kind = tagKind::kText;
    node.text = text->get();
  } else if (const auto* integer = value.as_integer()) {
    node.kind = tagKind::kInteger;
    node.integer = integer->get();
    node.text = std::to_string(node.integer);
  } else if (const auto* number = value.as_floating_point()) {
    node.kind = tagKind::kFloat;
    node.text = ShortestText(number->get());
  } else if (const auto* flag = value.as_boolean()) {
    node.kind = tagKind::kFlag;
    node.flag = flag->get();
    node.text.assign(1, node.flag ? 'T' : 'F');
  } else {
    node.kind = tagKind::kDate;
    if (const auto* date = value.as_date()) node.text = DateText(date->get());
    if (const auto* time = value.as_time()) node.text = DateText(time->get());
    if (const auto* dateTime = value.as_date_time()) node.text = DateText(dateTime->get());
  }
}

void SetPlace(ZRSettingNode& node, const toml::source_position& place) {
  node.line = static_cast<int>(place.line);
  node.column = static_cast<int>(place.column);
}

// As deep as the file nests, which has been checked.
void Fill(const toml::node& value, ZRSettingNode& node) {
  if (const toml::table* table = value.as_table()) {
    node.kind = tagKind::kTable;
    for (const auto& [key, child] : *table) {
      CheckKey(key);
      ZRSettingNode& added = node.children.emplace_back();
      added.key = key.str();
      SetPlace(added, key.source().begin);
      Fill(child, added);
    }
  } else if (const toml::array* array = value.as_array()) {
    node.kind = tagKind::kArray;
    for (const toml::node& child : *array) {
      ZRSettingNode& added = node.children.emplace_back();
      SetPlace(added, child.source().begin);
      Fill(child, added);
    }
  } else {
    FillScalar(value, node);
  }
}

}  // namespace

bool ParseSettings(std::string_view toml, ZRSettingNode& root, ZRSettingProblem& problem) {
  problem = {};
  if (toml.size() > kMaximumSettingsSize) {
    problem.text = "larger than 1 MiB";
    return false;
  }
  if (!CheckShape(toml, kMaximumSettingsNesting, problem)) return false;
  root = {};
  try {
    Fill(toml::parse(toml), root);
    return true;
  } catch (const toml::parse_error& error) {
    const std::string text = WithoutQuotes(error.description());
    problem = MakeProblem(text, error.source().begin);
  } catch (const tagRefused& refused) {
    problem = refused.problem;
  } catch (const std::exception&) {
    problem.text = "the file couldn't be read for want of memory";
  }
  return false;
}
