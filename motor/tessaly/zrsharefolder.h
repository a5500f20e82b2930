// The share folder of a site: what is handed to the programs that send mails and SMS lies there,
// and the mail program. And the folder of a site that keeps its SMS.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

#include "host/support/zrtessalysetup.h"
#include "host/tools/xmldocument.h"
#include "tessaly/zrfinding.h"

inline constexpr const char* kShareFolder = "share";
inline constexpr const char* kMailProgram = "msmtp";

// Makes a folder, this user's alone; one that is there stays as it is. True if it is there now.
[[nodiscard]] bool MakePrivateFolder(const std::filesystem::path& folder, std::error_code& error);

// Makes the folder, this user's alone, removes what a run that was killed has left of its mails
// and SMS, and puts a link to the mail program of PATH there unless there is one. While none is
// under way. kHint if the folder can't be made.
void PrepareShareFolder(const ZRTessalySetup& setup, ZRFindings& findings);

// If the events in `document` have mail actions: kDropped for each reason why none can be sent.
// Changes nothing.
void CheckMail(const XmlDocument& document, const ZRTessalySetup& setup, ZRFindings& findings);

// The same for the folder of the SMS, if the settings say that they are kept in one.
void PrepareSmsFolder(const ZRTessalySetup& setup, ZRFindings& findings);
void CheckSms(const XmlDocument& document, const ZRTessalySetup& setup, ZRFindings& findings);
