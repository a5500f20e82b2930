// A table of the settings file, read key by key.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/support/zrsettingnode.h"
#include "host/support/zrtessalysetup.h"

// The problems and the warnings of a Load.
struct ZRSettingReport {
  std::vector<ZRSettingProblem>& problems;
  std::vector<ZRSettingProblem>& warnings;

  void Problem(const std::string& text, const ZRSettingNode& at);
  void Warning(const std::string& text, const ZRSettingNode& at);
};

// Each reader leaves the value as it is if the key is absent, and if it is refused.
//
// Threads   one.
// Owns      nothing: table and report outlive it.
class ZRSettingsTable {
 public:
  // `inFront` is what its keys are called with in problems: "smtp.". A null table has no keys.
  ZRSettingsTable(const ZRSettingNode* toRead, std::string inFront, ZRSettingReport& toFill);

  // Texts have no controls.
  void Text(std::string_view key, ZRString& value);
  void Text(std::string_view key, ZRWString& value);
  void Integer(std::string_view key, int& value, int least, int most);
  void Flag(std::string_view key, bool& value);
  // The same for a text with a rule: `rule` says what the text must be, for the problem.
  void Text(std::string_view key, ZRString& value, bool (*isGood)(std::string_view),
            std::string_view rule);

  // A list of texts, in the order of the file.
  void Texts(std::string_view key, std::vector<ZRString>& values);

  // The table of that key, without keys if there is none.
  [[nodiscard]] ZRSettingsTable Table(std::string_view key);
  // The value of any kind, null if there is none.
  const ZRSettingNode* Any(std::string_view key);
  // Its keys, in the file's order, for a table whose keys are data.
  [[nodiscard]] std::vector<std::string_view> Keys() const;

  // The place of the table itself, for a key that is missing.
  void Problem(std::string_view key, std::string_view what);

  // A warning for each key that wasn't asked for.
  void WarnOfUnknownKeys();

 private:
  const ZRSettingNode* Ask(std::string_view key, ZRSettingNode::tagKind kind,
                           std::string_view rule);

  const ZRSettingNode* const table;
  const std::string prefix;
  ZRSettingReport& report;
  std::vector<std::string_view> asked;
};
