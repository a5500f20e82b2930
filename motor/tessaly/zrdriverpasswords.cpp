#include "tessaly/zrdriverpasswords.h"

#include <algorithm>
#include <string>
#include <utility>

#include "tessaly/zrsecretsettings.h"
#include "tessaly/zrsitecheck.h"

namespace {

bool IsDriver(const ZRTessalySetup& setup, const std::string& name) {
  const auto drivers = setup.Drivers();
  return std::any_of(drivers.begin(), drivers.end(), [&name](const XmlDocument::XmlNode* driver) {
    return driver->ValueUtf8("name") == name;
  });
}

void ReadAccount(ZRSettingsTable& table, ZRDriverPasswords& passwords) {
  const std::string driver = RequiredText(table, "driver");
  std::string password = RequiredText(table, "password");
  if (!passwords.emplace(driver, std::move(password)).second)
    table.Problem("driver", "stands twice with the same name");
}

}  // namespace

ZRDriverPasswords ReadDriverPasswords(const ZRTessalySetup& setup, ZRFindings& findings) {
  ZRDriverPasswords passwords;
  ReadSecretSettings(
      setup, kDriversFile, findings, [&](const ZRSettingNode& root, ZRSettingReport& report) {
        ReadAccounts(root, report,
                     [&passwords](ZRSettingsTable& table) { ReadAccount(table, passwords); });
      });
  for (const auto& [driver, password] : passwords) {
    if (driver.empty() || IsDriver(setup, driver)) continue;
    findings.push_back({ZRFinding::tagKind::kHint, ShownFile(setup, kDriversFile), 0, 0,
                        "there is no driver '" + driver + "'"});
  }
  return passwords;
}
