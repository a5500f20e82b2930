// Settings that hold passwords: files of the configuration folder that their owner alone may read.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "host/support/zrsettingnode.h"
#include "host/support/zrsettingstable.h"
#include "host/support/zrtessalysetup.h"
#include "tessaly/zrfinding.h"

// Lets `read` have the table of such a file, TOML of at most 1 MiB; not at all if there is no file.
// What is wrong, with the file or by the report, becomes kBroken, and a warning kHint.
void ReadSecretSettings(const ZRTessalySetup& setup, const char* name, ZRFindings& findings,
                        const std::function<void(const ZRSettingNode&, ZRSettingReport&)>& read);

// Lets `read` have each table [[account]] of such a file, one after the other.
void ReadAccounts(const ZRSettingNode& root, ZRSettingReport& report,
                  const std::function<void(ZRSettingsTable&)>& read);
// A text that must be there.
[[nodiscard]] std::string RequiredText(ZRSettingsTable& table, std::string_view key);
