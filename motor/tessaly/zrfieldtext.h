// Named values of one thing as a line of CSV or an object of JSON.
#pragma once

#include <string>
#include <vector>

struct ZRField {
  enum class tagKind { kText, kBare, kMissing };  // kBare: a number, true, false

  const char* name;
  std::string text;
  tagKind kind;
};
using ZRFields = std::vector<ZRField>;

[[nodiscard]] ZRField TextField(const char* name, std::string text);
[[nodiscard]] ZRField BareField(const char* name, std::string text);
[[nodiscard]] ZRField MissingField(const char* name);
[[nodiscard]] ZRField TimeField(const char* name, std::string text);  // missing if it is empty

// By RFC 4180, with its line end. Controls are shown as escapes.
[[nodiscard]] std::string CsvTitles(const ZRFields& fields);
[[nodiscard]] std::string CsvValues(const ZRFields& fields);
// On one line, without its end. What is missing is null.
[[nodiscard]] std::string JsonObject(const ZRFields& fields);
