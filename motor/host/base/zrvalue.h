// Variant values.
#pragma once

#include "host/tools/zrbasicstring.h"

// A number, a text, or nothing.
class ZRValue {
 public:
  void SetNumeric(double toHold);
  void SetString(const ZRWString& toHold);
  [[nodiscard]] bool IsNumeric() const { return kind == tagKind::kNumber; }
  [[nodiscard]] bool IsString() const { return kind == tagKind::kText; }
  [[nodiscard]] double Numeric() const { return number; }         // 0 unless IsNumeric
  [[nodiscard]] const ZRWString& String() const { return text; }  // empty unless IsString

 private:
  enum class tagKind { kNothing, kNumber, kText };
  tagKind kind = tagKind::kNothing;
  double number = 0.0;
  ZRWString text;
};

// The result object of an evaluator. Owned and destroyed by the caller.
class ZRVSValue {
 public:
  static constexpr int kText = 0x2000;  // bit of Type(): the value is a text

  explicit ZRVSValue(double toHold) : number(toHold) {}
  explicit ZRVSValue(const ZRWString& toHold) : type(kText), text(toHold) {}
  virtual ~ZRVSValue() = default;
  ZRVSValue(const ZRVSValue&) = delete;
  ZRVSValue& operator=(const ZRVSValue&) = delete;

  [[nodiscard]] int Type() const { return type; }
  [[nodiscard]] double Double() const { return number; }  // 0 for a text
  [[nodiscard]] const ZRWString& String() const { return text; }
  void CopyTo(ZRValue& target) const;

 private:
  int type = 0;
  double number = 0.0;
  ZRWString text;
};
