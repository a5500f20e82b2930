// A key of the settings file with its value and its place, free of the file's syntax.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct ZRSettingNode {
  enum class tagKind { kTable, kArray, kText, kInteger, kFloat, kFlag, kDate };

  tagKind kind = tagKind::kTable;
  std::string key;   // empty for the entry of an array
  std::string text;  // of a scalar: decimal, shortest, "T" or "F", ISO 8601
  std::int64_t integer = 0;
  bool flag = false;
  int line = 0;  // of the key, or of the entry of an array; from 1
  int column = 0;
  std::vector<ZRSettingNode> children;  // of a table by key, of an array in the file's order

  // Null if this table has no such key.
  [[nodiscard]] const ZRSettingNode* Child(std::string_view name) const {
    for (const ZRSettingNode& child : children)
      if (child.key == name) return &child;
    return nullptr;
  }
  [[nodiscard]] bool IsScalar() const { return kind != tagKind::kTable && kind != tagKind::kArray; }
};
