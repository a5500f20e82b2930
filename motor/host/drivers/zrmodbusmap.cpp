#include "host/drivers/zrmodbusmap.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "host/drivers/zrpolleddriver.h"
#include "host/support/zrsettingstext.h"
#include "host/support/zrsettingstree.h"

namespace {

constexpr int kLastAddress = 65535;
constexpr int kLastReference = 465'536;
constexpr int kMostTextWords = 125;
constexpr int kWordBits = 16;
constexpr double kLargest = 1e18;

template <typename tagValue>
using tagWord = std::pair<std::string_view, tagValue>;

constexpr std::array<tagWord<ZRModbusTable>, 4> kTables{{{"coil", ZRModbusTable::kCoils},
                                                         {"discrete", ZRModbusTable::kDiscrete},
                                                         {"holding", ZRModbusTable::kHolding},
                                                         {"input", ZRModbusTable::kInput}}};
constexpr std::array<tagWord<ZRModbusOrder>, 4> kOrders{{{"ABCD", ZRModbusOrder::kAbcd},
                                                         {"CDAB", ZRModbusOrder::kCdab},
                                                         {"BADC", ZRModbusOrder::kBadc},
                                                         {"DCBA", ZRModbusOrder::kDcba}}};
constexpr std::array<tagWord<ZRModbusType>, 11> kTypes{{{"bit", ZRModbusType::kBit},
                                                        {"int16", ZRModbusType::kInt16},
                                                        {"uint16", ZRModbusType::kUint16},
                                                        {"int32", ZRModbusType::kInt32},
                                                        {"uint32", ZRModbusType::kUint32},
                                                        {"int64", ZRModbusType::kInt64},
                                                        {"uint64", ZRModbusType::kUint64},
                                                        {"float32", ZRModbusType::kFloat32},
                                                        {"float64", ZRModbusType::kFloat64},
                                                        {"bits", ZRModbusType::kBits},
                                                        {"text", ZRModbusType::kText}}};

// One of the words, or `whenAbsent`.
template <typename tagWords, typename tagValue>
tagValue ReadWord(ZRDriverSettings& settings, std::string_view key, const tagWords& words,
                  tagValue whenAbsent) {
  if (!settings.Has(key)) return whenAbsent;
  const std::string text = settings.Text(key, "");
  std::string known;
  for (const auto& [word, value] : words) {
    if (word == text) return value;
    known.append(known.empty() ? "\"" : ", \"").append(word).append("\"");
  }
  settings.Error(key, "must be one of " + known + ", not \"" + text + "\"");
  return whenAbsent;
}

// What the registers of one table have in common.
struct tagDefaults {
  ZRModbusTable table = ZRModbusTable::kHolding;
  ZRModbusOrder order = ZRModbusOrder::kAbcd;
  bool isReference = false;
  int base = 0;
};

tagDefaults ReadDefaults(ZRDriverSettings& settings, std::optional<int> base) {
  constexpr std::array<tagWord<bool>, 2> kNotations{{{"offset", false}, {"reference", true}}};
  tagDefaults defaults;
  defaults.table = ReadWord(settings, "function", kTables, defaults.table);
  defaults.order = ReadWord(settings, "order", kOrders, defaults.order);
  defaults.isReference = ReadWord(settings, "notation", kNotations, false);
  const int own = settings.Integer("base", 0, -kLastAddress, kLastAddress);
  defaults.base = base.value_or(own);
  return defaults;
}

void ReadAddress(ZRDriverSettings& settings, const tagDefaults& defaults, ZRModbusRegister& about) {
  about.table = ReadWord(settings, "function", kTables, defaults.table);
  const int last = defaults.isReference ? kLastReference : kLastAddress;
  if (!settings.Has("address")) settings.Error("address", "is missing");
  const int written = settings.Integer("address", 0, 0, last);
  std::uint16_t address = static_cast<std::uint16_t>(written);
  if (defaults.isReference) {
    if (settings.Has("function")) {
      settings.Error("function", "is told by the address, in this notation");
    } else if (settings.Has("address") && !SplitReference(written, about.table, address)) {
      settings.Error("address", "must be a number such as 40001 or 300010");
    }
  }
  const int moved = address + defaults.base;
  if (moved < 0 || moved + about.count - 1 > kLastAddress) {
    settings.Error("address", "and \"base\" go beyond the registers 0 to 65535");
  }
  about.address = static_cast<std::uint16_t>(moved);
}

void ReadType(ZRDriverSettings& settings, const tagDefaults& defaults, ZRModbusRegister& about) {
  about.type = ReadWord(settings, "type", kTypes,
                        IsBitTable(about.table) ? ZRModbusType::kBit : ZRModbusType::kUint16);
  about.order = ReadWord(settings, "order", kOrders, defaults.order);
  about.count = WordsOf(about.type);
  if (about.type == ZRModbusType::kText) {
    if (!settings.Has("length")) settings.Error("length", "is missing: registers of the text");
    about.count = static_cast<std::uint16_t>(settings.Integer("length", 1, 1, kMostTextWords));
    if (about.order != ZRModbusOrder::kAbcd && about.order != ZRModbusOrder::kBadc)
      settings.Error("order", "of a text must be \"ABCD\" or \"BADC\"");
  } else if (about.type == ZRModbusType::kBits) {
    if (!settings.Has("bit")) settings.Error("bit", "is missing: 0 to 15");
    about.firstBit = settings.Integer("bit", 0, 0, kWordBits - 1);
    about.bits = settings.Integer("bits", 1, 1, kWordBits - about.firstBit);
  }
}

void ReadScale(ZRDriverSettings& settings, ZRModbusRegister& about) {
  if (about.type == ZRModbusType::kText || about.type == ZRModbusType::kBit) return;
  about.scale = settings.Number("scale", 1.0, -kLargest, kLargest);
  if (about.scale == 0.0) settings.Error("scale", "must not be 0");
  about.offset = settings.Number("offset", 0.0, -kLargest, kLargest);
  if (settings.Has("missing")) about.missing = settings.Number("missing", 0.0, -kLargest, kLargest);
}

void ReadLimits(ZRDriverSettings& settings, ZRModbusRegister& about) {
  about.writable = settings.Flag("write", false);
  const bool isCoil = about.table == ZRModbusTable::kCoils;
  about.least = isCoil ? 0.0 : -kLargest;
  about.most = isCoil ? 1.0 : kLargest;
  if (!about.writable) return;
  if ((about.table != ZRModbusTable::kHolding && !isCoil) || about.type == ZRModbusType::kText ||
      about.type == ZRModbusType::kBits) {
    settings.Error("write", "is for coils, and for numbers in holding registers");
  }
  if (isCoil) return;
  about.least = settings.Number("least", about.least, -kLargest, kLargest);
  about.most = settings.Number("most", about.most, -kLargest, kLargest);
  if (about.least > about.most) settings.Error("least", "must not be above \"most\"");
}

ZRModbusRegister ReadRegister(ZRDriverSettings& settings, const tagDefaults& defaults) {
  ZRModbusRegister about;
  about.name = settings.Name("name");
  about.measure = settings.Text("measure", "");
  if (defaults.isReference) {  // the table decides what the type is by default
    std::uint16_t ignored = 0;
    (void)SplitReference(settings.Integer("address", 0, 0, kLastReference), about.table, ignored);
  } else {
    about.table = ReadWord(settings, "function", kTables, defaults.table);
  }
  ReadType(settings, defaults, about);
  ReadAddress(settings, defaults, about);
  if (IsBitTable(about.table) != (about.type == ZRModbusType::kBit))
    settings.Error("type", "\"bit\" is that of coils and discrete inputs, and only of them");
  ReadScale(settings, about);
  ReadLimits(settings, about);
  if (settings.Has("period_ms")) {
    about.period = static_cast<std::uint32_t>(
        settings.Integer("period_ms", 0, static_cast<int>(ZRPolledDriver::kShortestPeriod),
                         static_cast<int>(ZRPolledDriver::kLongestPeriod)));
  }
  return about;
}

// Where the power of ten of a register stands: a register of the same table of settings.
void FindScale(ZRDriverSettings& settings, std::vector<ZRModbusRegister>& registers,
               std::size_t first, ZRModbusRegister& about) {
  const std::string from = settings.Text("scale_from", "");
  if (from.empty()) return;
  for (std::size_t index = first; index < registers.size(); ++index) {
    if (registers[index].name == from && registers[index].type == ZRModbusType::kInt16)
      about.scaleFrom = index;
  }
  if (about.scaleFrom) return;
  settings.Error("scale_from", "must name a register of type \"int16\" here, not \"" + from + "\"");
}

bool IsNew(const std::vector<ZRModbusRegister>& registers, const std::string& name) {
  return std::none_of(registers.begin(), registers.end(),
                      [&](const ZRModbusRegister& other) { return other.name == name; });
}

}  // namespace

bool ReadModbusMap(ZRDriverSettings& settings, std::optional<int> base,
                   std::vector<ZRSettingProblem>& problems,
                   std::vector<ZRModbusRegister>& registers) {
  const tagDefaults defaults = ReadDefaults(settings, base);
  const auto tables = settings.Tables("register");
  if (registers.size() + tables.size() > kMostModbusRegisters) {
    settings.Error("register", "stands too often: a map has at most 10000");
    return false;
  }
  const std::size_t first = registers.size();
  std::vector<ZRDriverSettings> readers;
  readers.reserve(tables.size());
  bool good = !settings.HasErrors();
  for (const XmlDocument::XmlNode* const table : tables) {
    std::string subject = settings.Subject() + ", register";
    const std::string_view called = table->ValueUtf8("name");
    if (!called.empty()) subject.append(" \"").append(called).append("\"");
    ZRDriverSettings& reader = readers.emplace_back(*table, std::move(subject), problems);
    ZRModbusRegister about = ReadRegister(reader, defaults);
    if (!about.name.empty() && !IsNew(registers, about.name)) reader.Error("name", "stands twice");
    registers.push_back(std::move(about));
  }
  for (std::size_t at = 0; at < readers.size(); ++at) {
    FindScale(readers[at], registers, first, registers[first + at]);
    if (!readers[at].HasErrors()) readers[at].WarnOfUnknownKeys();
    good = good && !readers[at].HasErrors();
  }
  return good;
}

bool ReadModbusProfile(std::string_view toml, const std::string& file, std::optional<int> base,
                       std::vector<ZRSettingProblem>& problems,
                       std::vector<ZRModbusRegister>& registers) {
  const std::string subject = "profile \"" + file + "\"";
  const auto tell = [&](const ZRSettingProblem& found) {
    const std::string where =
        found.line > 0 ? file + ", line " + std::to_string(found.line) + ": " : std::string();
    problems.push_back({ZRString((where + found.text.Text()).c_str()), 0, 0});
  };
  ZRSettingNode root;
  ZRSettingProblem broken;
  if (!ParseSettings(toml, root, broken)) {
    tell(broken);
    return false;
  }
  // Tables of a driver get their lines.
  root.key = "driver";
  root.line = 1;
  ZRSettingNode document;
  document.children.push_back(std::move(root));
  XmlDocument tree;
  MakeSettingsTree(document, tree);
  const XmlDocument::XmlNode& map = **tree.Root()->ChildsBegin();
  std::vector<ZRSettingProblem> found;
  ZRDriverSettings settings(map, subject, found);
  for (const std::string_view key : {"id", "name", "title", "source"})
    (void)settings.Text(key, "");  // for people; the tree adds an id
  bool good = ReadModbusMap(settings, base, found, registers);
  if (settings.Tables("register").empty()) {
    settings.Error("register", "is missing");
    good = false;
  }
  settings.WarnOfUnknownKeys();
  for (const ZRSettingProblem& problem : found)
    tell(problem);
  return good;
}
