#pragma once

#include <vector>

#include "host/xmlsupport/zrdrivercontrol.h"

// A check box for variables: a plain one, or one with its text beside it.
class ZRDriverControlCheck final : public ZRDriverControl {
 public:
  static constexpr int kPlain = 0;
  static constexpr int kLabelled = 1;

  // Ties it to one more variable, by its full name.
  void AddVarCheck(const wchar_t* fullName) { variables.emplace_back(fullName); }

  [[nodiscard]] const wchar_t* Tag() const override { return L"check"; }
  void WriteXml(XmlDocument::XmlNode& element) const override;

  int kind = kPlain;

 private:
  std::vector<ZRWString> variables;
};
