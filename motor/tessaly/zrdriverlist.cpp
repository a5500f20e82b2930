#include "tessaly/zrdriverlist.h"

#include "host/tools/xmldocument.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrfieldtext.h"
#include "tessaly/zrshowntext.h"
#include "tessaly/zrtexttable.h"

namespace {

using tagCells = std::vector<std::string>;
using tagNode = XmlDocument::XmlNode;

constexpr std::string_view kRoot = "drivers";
constexpr std::string_view kDriver = "driver";
constexpr std::string_view kVariable = "variable";

std::string TextOf(const tagNode& node, std::string_view key) {
  return std::string(node.ValueUtf8(key));
}

std::string DigitsOf(const std::string& text) {
  return text.find_first_not_of("0123456789") == std::string::npos ? text : std::string();
}

ZRVariableShown VariableOf(const tagNode& node, const std::string& driver) {
  ZRVariableShown variable;
  variable.driver = driver;
  variable.name = TextOf(node, "name");
  variable.value = TextOf(node, "value");
  variable.measure = TextOf(node, "measure");
  variable.quality = TextOf(node, "quality");
  variable.age = DigitsOf(TextOf(node, "age"));
  variable.isForceable = node.ValueUtf8("forceable") == "T";
  return variable;
}

// "12.3 s", of milliseconds.
std::string AgeOf(const ZRVariableShown& variable) {
  constexpr std::size_t kDecimals = 3;
  std::string text = variable.age;
  if (text.empty()) return "never";
  if (text.size() <= kDecimals) text.insert(0, kDecimals + 1 - text.size(), '0');
  text.insert(text.size() - kDecimals, ".");
  return text.substr(0, text.size() - 2) + " s";
}

tagCells Titles() {
  return {"Variable", "Value", "Measure", "Quality", "Age", "Can be forced"};
}

tagCells CellsOf(const ZRVariableShown& variable) {
  tagCells cells;
  for (const std::string& text :
       {variable.driver + "." + variable.name, variable.value, variable.measure, variable.quality,
        AgeOf(variable), std::string(variable.isForceable ? "yes" : "no")})
    cells.push_back(ShownText(text));
  return cells;
}

ZRFields FieldsOf(const ZRVariableShown& variable) {
  return {TextField("driver", variable.driver),
          TextField("name", variable.name),
          TextField("value", variable.value),
          TextField("measure", variable.measure),
          TextField("quality", variable.quality),
          variable.age.empty() ? MissingField("age_ms") : BareField("age_ms", variable.age),
          BareField("forceable", variable.isForceable ? "true" : "false")};
}

// What is to be said of a driver; empty for nothing.
std::string TroubleOf(const tagNode& driver) {
  const std::string error = TextOf(driver, "error");
  const bool isOnline = driver.ValueUtf8("online") == "T";
  if (isOnline && error.empty()) return "";
  std::string text = "driver '" + TextOf(driver, "name") + "'";
  if (!isOnline) text += " is offline";
  return error.empty() ? text : text + ": " + error;
}

}  // namespace

bool ZRDriverList::Read(std::string_view document, std::string& reason) {
  variables.clear();
  troubles.clear();
  XmlDocument read;
  XmlDocument::tagRefusal refusal;
  if (!read.Parse(document, XmlDocument::kMaximumFileSize, &refusal)) {
    reason = "the answer is no XML document: " + refusal.reason;
    return false;
  }
  const tagNode& root = *read.Root();
  if (root.TagUtf8() != kRoot) {
    reason = "the answer is no list of drivers: its root isn't " + std::string(kRoot);
    return false;
  }
  for (auto driver = root.ChildsBegin(); driver != root.ChildsEnd(); ++driver) {
    if ((*driver)->TagUtf8() != kDriver) continue;
    const std::string name = TextOf(**driver, "name");
    for (auto child = (*driver)->ChildsBegin(); child != (*driver)->ChildsEnd(); ++child)
      if ((*child)->TagUtf8() == kVariable) variables.push_back(VariableOf(**child, name));
    std::string trouble = TroubleOf(**driver);
    if (!trouble.empty()) troubles.push_back(std::move(trouble));
  }
  return true;
}

void ZRDriverList::Write(ZRHistoryFormat format, const ZRTextSink& sink) const {
  if (format == ZRHistoryFormat::kCsv) {
    sink(CsvTitles(FieldsOf({})));
    for (const ZRVariableShown& variable : variables)
      sink(CsvValues(FieldsOf(variable)));
  } else if (format == ZRHistoryFormat::kJson) {
    sink("[\n");
    for (const ZRVariableShown& variable : variables) {
      sink(JsonObject(FieldsOf(variable)));
      sink(&variable == &variables.back() ? "\n" : ",\n");
    }
    sink("]\n");
  } else {
    ZRTextTable table(Titles(), std::vector<bool>(Titles().size()));
    for (const ZRVariableShown& variable : variables)
      table.Measure(CellsOf(variable));
    table.WriteTitles(sink);
    for (const ZRVariableShown& variable : variables)
      table.Write(CellsOf(variable), sink);
    for (const std::string& trouble : troubles)
      sink(ShownText(trouble) + "\n");
  }
}

std::string ForceDocument(const std::string& variable, const std::string& value) {
  XmlDocument document;
  document.Create(L"force");
  document.Root()->SetValue(L"variable", Utf8ToUtf16(variable));
  document.Root()->SetValue(L"value", Utf8ToUtf16(value));
  ZRString code;
  document.CreateXmlCode(code, true);
  return std::string(code.View());
}
