// A table of a driver's settings, read key by key.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host/support/zrtessalysetup.h"
#include "host/tools/xmldocument.h"

// Reads each key that a driver knows, checks it, and reports what is wrong with it by name and
// line. At the end the keys that nobody asked for are reported too.
//
// Threads   one.
// Owns      nothing: the table and the list of problems outlive it.
class ZRDriverSettings {
 public:
  // `subject` is what problems begin with, for example: driver "house".
  ZRDriverSettings(const XmlDocument::XmlNode& tableOfKeys, std::string subject,
                   std::vector<ZRSettingProblem>& problemsToFill);

  [[nodiscard]] bool Has(std::string_view key) const;
  [[nodiscard]] const XmlDocument::XmlNode& Table() const { return table; }
  [[nodiscard]] const std::string& Subject() const { return about; }

  // Each gives `whenAbsent` for a key that isn't there, and, with an error, for a value that is
  // out of form or range.
  [[nodiscard]] double Number(std::string_view key, double whenAbsent, double least, double most);
  [[nodiscard]] int Integer(std::string_view key, int whenAbsent, int least, int most);
  [[nodiscard]] bool Flag(std::string_view key, bool whenAbsent);  // true, false
  [[nodiscard]] std::string Text(std::string_view key, std::string_view whenAbsent);
  // A single byte of ASCII.
  [[nodiscard]] char Character(std::string_view key, char whenAbsent);
  // A time given in seconds, with fractions, as ms.
  [[nodiscard]] std::int64_t Seconds(std::string_view key, std::int64_t whenAbsent,
                                     std::int64_t least);

  // The same, and an error if the key isn't there.
  [[nodiscard]] double RequiredNumber(std::string_view key, double least, double most);
  [[nodiscard]] std::string RequiredText(std::string_view key);

  // All values of a key that may stand several times: a list.
  [[nodiscard]] std::vector<std::string> Texts(std::string_view key);
  // All tables of that name.
  [[nodiscard]] std::vector<const XmlDocument::XmlNode*> Tables(std::string_view key);

  // The name of a driver or of a variable: not empty, at most 100 bytes, without "." "[" "]" and
  // controls. Empty, with an error, for a bad one.
  [[nodiscard]] std::string Name(std::string_view key);
  [[nodiscard]] static bool IsName(std::string_view text);

  // An error that makes the driver impossible, and something to tell only.
  void Error(std::string_view key, std::string_view what);
  void Warning(std::string_view key, std::string_view what);

  // Warns of keys that were never asked for.
  void WarnOfUnknownKeys();

  [[nodiscard]] bool HasErrors() const { return errors; }

 private:
  [[nodiscard]] const XmlDocument::XmlNode* Child(std::string_view key);

  const XmlDocument::XmlNode& table;
  const std::string about;
  std::vector<ZRSettingProblem>& problems;
  std::set<std::string, std::less<>> asked;
  bool errors = false;
};
