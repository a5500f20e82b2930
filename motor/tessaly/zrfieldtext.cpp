#include "tessaly/zrfieldtext.h"

#include <string_view>
#include <utility>

#include "host/tools/zrtext.h"
#include "tessaly/zrshowntext.h"

namespace {

using tagKind = ZRField::tagKind;

// --- CSV ---

void AppendCsv(std::string& line, const std::string& text) {
  const std::string shown = ShownText(text);
  if (shown.find_first_of(",\"") == shown.npos) {
    line += shown;
    return;
  }
  line += '"';
  for (const char c : shown) {
    if (c == '"') line += '"';
    line += c;
  }
  line += '"';
}

enum class tagCsvLine { kTitles, kValues };
std::string CsvLine(const ZRFields& fields, tagCsvLine which) {
  std::string line;
  for (const ZRField& field : fields) {
    if (&field != &fields.front()) line += ',';
    AppendCsv(line, which == tagCsvLine::kTitles ? field.name : field.text);
  }
  return line + "\r\n";
}

// --- JSON ---

// Those of ASCII and of Latin-1, which some terminals obey too.
bool IsControl(wchar_t unit) {
  constexpr wchar_t kDelete = 0x7F;
  constexpr wchar_t kLastControl = 0x9F;
  return unit < L' ' || (unit >= kDelete && unit <= kLastControl);
}

void AppendJson(std::string& line, std::string_view text) {
  const ZRWString wide = Utf8ToUtf16(text);
  ZRWString quoted(L"\"");
  for (const wchar_t unit : wide.View()) {
    if (IsControl(unit)) {
      quoted += FormatWide(L"\\u%04x", static_cast<unsigned>(unit));
    } else {
      if (unit == L'"' || unit == L'\\') quoted.Append(L'\\');
      quoted.Append(unit);
    }
  }
  line += std::string(Utf16ToUtf8(quoted.View()).View()) + '"';
}

}  // namespace

ZRField TextField(const char* name, std::string text) {
  return {name, std::move(text), tagKind::kText};
}

ZRField BareField(const char* name, std::string text) {
  return {name, std::move(text), tagKind::kBare};
}

ZRField MissingField(const char* name) {
  return {name, "", tagKind::kMissing};
}

ZRField TimeField(const char* name, std::string text) {
  return text.empty() ? MissingField(name) : TextField(name, std::move(text));
}

std::string CsvTitles(const ZRFields& fields) {
  return CsvLine(fields, tagCsvLine::kTitles);
}

std::string CsvValues(const ZRFields& fields) {
  return CsvLine(fields, tagCsvLine::kValues);
}

std::string JsonObject(const ZRFields& fields) {
  std::string line = "{";
  for (const ZRField& field : fields) {
    if (line.size() > 1) line += ", ";
    AppendJson(line, field.name);
    line += ": ";
    if (field.kind == tagKind::kText) {
      AppendJson(line, field.text);
    } else {
      line += field.kind == tagKind::kMissing ? "null" : field.text;
    }
  }
  return line + "}";
}
