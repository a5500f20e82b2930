// The drivers of a site that runs, with their variables, as it answers them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tessaly/zrcommandline.h"
#include "tessaly/zrhistorytext.h"

// Texts are UTF-8, as the site sent them.
struct ZRVariableShown {
  std::string driver;  // its name
  std::string name;
  std::string value;  // empty if it has none
  std::string measure;
  std::string quality;
  std::string age;  // ms since it was good; empty: it never was
  bool isForceable = false;
};

class ZRDriverList {
 public:
  // Replaces the list by that of a document. False with a reason if it isn't one.
  [[nodiscard]] bool Read(std::string_view document, std::string& reason);
  [[nodiscard]] const std::vector<ZRVariableShown>& Variables() const { return variables; }

  // A line for each variable, in the formats of ZRLiveList; the table ends with the drivers that
  // are offline or have trouble.
  void Write(ZRHistoryFormat format, const ZRTextSink& sink) const;

 private:
  std::vector<ZRVariableShown> variables;
  std::vector<std::string> troubles;  // a line for each driver that has any
};

// The document that forces a variable.
[[nodiscard]] std::string ForceDocument(const std::string& variable, const std::string& value);
