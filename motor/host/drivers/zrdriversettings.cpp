#include "host/drivers/zrdriversettings.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

namespace {

// Keys that the reader of the file adds begin so.
constexpr std::string_view kReservedPrefix = "__";
constexpr const char* kLine = "__line";
constexpr std::size_t kMaximumName = 100;
constexpr double kLongestSeconds = 1e9;  // some 31 years

using tagNode = XmlDocument::XmlNode;

const tagNode* FirstChild(const tagNode& table, std::string_view key) {
  for (auto child = table.ChildsBegin(); child != table.ChildsEnd(); ++child)
    if ((*child)->TagUtf8() == key) return *child;
  return nullptr;
}

bool ReadNumber(std::string_view text, double& number) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end && std::isfinite(number);
}

// A number as a person would write it.
std::string Shown(double number) {
  constexpr std::size_t kRoom = 32;
  char text[kRoom];
  const auto [end, error] = std::to_chars(text, text + kRoom, number);
  return error == std::errc() ? std::string(text, end) : std::string();
}

std::string Quoted(std::string_view text) {
  constexpr std::size_t kShown = 40;
  std::string quoted = "\"";
  quoted += text.substr(0, kShown);
  return quoted + (text.size() > kShown ? "...\"" : "\"");
}

}  // namespace

ZRDriverSettings::ZRDriverSettings(const tagNode& tableOfKeys, std::string subject,
                                   std::vector<ZRSettingProblem>& problemsToFill)
    : table(tableOfKeys), about(std::move(subject)), problems(problemsToFill) {}

const tagNode* ZRDriverSettings::Child(std::string_view key) {
  asked.emplace(key);
  return FirstChild(table, key);
}

bool ZRDriverSettings::Has(std::string_view key) const {
  return FirstChild(table, key) != nullptr;
}

double ZRDriverSettings::Number(std::string_view key, double whenAbsent, double least,
                                double most) {
  const tagNode* child = Child(key);
  if (child == nullptr) return whenAbsent;
  double number = 0.0;
  if (ReadNumber(child->TextUtf8(), number) && number >= least && number <= most) return number;
  Error(key, "must be a number from " + Shown(least) + " to " + Shown(most) + ", not " +
                 Quoted(child->TextUtf8()));
  return whenAbsent;
}

int ZRDriverSettings::Integer(std::string_view key, int whenAbsent, int least, int most) {
  const double number = Number(key, whenAbsent, least, most);
  if (number == std::floor(number)) return static_cast<int>(number);
  Error(key, "must be a whole number, not " + Shown(number));
  return whenAbsent;
}

bool ZRDriverSettings::Flag(std::string_view key, bool whenAbsent) {
  const tagNode* child = Child(key);
  if (child == nullptr) return whenAbsent;
  const std::string_view text = child->TextUtf8();
  if (text == "true" || text == "T") return true;
  if (text == "false" || text == "F") return false;
  Error(key, "must be true or false, not " + Quoted(text));
  return whenAbsent;
}

std::string ZRDriverSettings::Text(std::string_view key, std::string_view whenAbsent) {
  const tagNode* child = Child(key);
  return std::string(child == nullptr ? whenAbsent : child->TextUtf8());
}

char ZRDriverSettings::Character(std::string_view key, char whenAbsent) {
  const tagNode* child = Child(key);
  if (child == nullptr) return whenAbsent;
  const std::string_view text = child->TextUtf8();
  if (text.size() == 1 && static_cast<unsigned char>(text[0]) < 0x80) return text[0];
  Error(key, "must be a single character, not " + Quoted(text));
  return whenAbsent;
}

std::int64_t ZRDriverSettings::Seconds(std::string_view key, std::int64_t whenAbsent,
                                       std::int64_t least) {
  constexpr double kSecond = 1000.0;
  if (!Has(key)) return whenAbsent;
  return std::llround(kSecond * Number(key, static_cast<double>(whenAbsent) / kSecond,
                                       static_cast<double>(least) / kSecond, kLongestSeconds));
}

double ZRDriverSettings::RequiredNumber(std::string_view key, double least, double most) {
  if (!Has(key)) Error(key, "is missing");
  return Number(key, least, least, most);
}

std::string ZRDriverSettings::RequiredText(std::string_view key) {
  std::string text = Text(key, "");
  if (text.empty()) Error(key, Has(key) ? "must not be empty" : "is missing");
  return text;
}

std::vector<std::string> ZRDriverSettings::Texts(std::string_view key) {
  std::vector<std::string> texts;
  for (const tagNode* child : Tables(key))
    texts.emplace_back(child->TextUtf8());
  return texts;
}

std::vector<const tagNode*> ZRDriverSettings::Tables(std::string_view key) {
  asked.emplace(key);
  std::vector<const tagNode*> tables;
  for (auto child = table.ChildsBegin(); child != table.ChildsEnd(); ++child)
    if ((*child)->TagUtf8() == key) tables.push_back(*child);
  return tables;
}

bool ZRDriverSettings::IsName(std::string_view text) {
  constexpr char kFirstPrintable = ' ';
  if (text.empty() || text.size() > kMaximumName) return false;
  for (const char character : text) {
    const bool control = (character >= 0 && character < kFirstPrintable) || character == '\x7F';
    if (control || character == '.' || character == '[' || character == ']') return false;
  }
  return true;
}

std::string ZRDriverSettings::Name(std::string_view key) {
  std::string name = RequiredText(key);
  if (name.empty() || IsName(name)) return name;
  Error(key, "must have at most " + std::to_string(kMaximumName) +
                 " bytes and no \".\", \"[\" or \"]\"; it is " + Quoted(name));
  return {};
}

void ZRDriverSettings::Error(std::string_view key, std::string_view what) {
  errors = true;
  Warning(key, what);
}

void ZRDriverSettings::Warning(std::string_view key, std::string_view what) {
  ZRSettingProblem problem;
  std::string text = about + ": \"";
  text.append(key).append("\" ").append(what);
  problem.text = ZRString(text.data(), text.size());
  const std::string_view line = table.ValueUtf8(kLine);
  (void)std::from_chars(line.data(), line.data() + line.size(), problem.line);
  problems.push_back(std::move(problem));
}

void ZRDriverSettings::WarnOfUnknownKeys() {
  for (auto child = table.ChildsBegin(); child != table.ChildsEnd(); ++child) {
    const std::string_view key = (*child)->TagUtf8();
    if (key.substr(0, kReservedPrefix.size()) == kReservedPrefix) continue;
    if (asked.emplace(key).second) Warning(key, "is no setting of it and is passed over");
  }
}
