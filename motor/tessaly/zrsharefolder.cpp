#include "tessaly/zrsharefolder.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>

#include "host/platform/zrprogramsearch.h"
#include "host/tools/zrfiles.h"
#include "host/tools/zrtext.h"
#include "host/tools/zruuid.h"

namespace {

namespace fs = std::filesystem;

using Kind = ZRFinding::tagKind;
using Node = XmlDocument::XmlNode;

// Whole, so that programs that start elsewhere find it.
fs::path ShareFolder(const ZRTessalySetup& setup) {
  std::error_code ignored;
  const fs::path site(std::string(Utf16ToUtf8(setup.SitePath().View()).View()));
  return fs::absolute(site, ignored) / kShareFolder;
}

// A file of a mail or of an SMS: an id and an extension, with "sms-" in front of the latter.
bool IsOfAMessage(std::string_view name) {
  constexpr std::string_view kSms = "sms-";
  if (name.starts_with(kSms)) name.remove_prefix(kSms.size());
  const std::string_view id = name.substr(0, kUuidTextLength);
  const std::string_view extension = name.substr(id.size());
  if (extension != ".txt" && extension != ".bat") return false;
  return wtouuid(Utf8ToUtf16(id)) != uuid::null;
}

void RemoveLeftovers(const fs::path& folder) {
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code ignored;
    if (IsOfAMessage(entry->path().filename().string())) (void)fs::remove(entry->path(), ignored);
  }
}

// A link that leads nowhere, to a program that was uninstalled, is replaced.
void LinkMailProgram(const fs::path& folder) {
  std::error_code ignored;
  const fs::path link = folder / kMailProgram;
  if (fs::exists(link, ignored)) return;
  const std::string program = ZRProgramSearch::Find(kMailProgram);
  if (program.empty()) return;
  if (fs::is_symlink(link, ignored)) (void)fs::remove(link, ignored);
  fs::create_symlink(program, link, ignored);
}

// True for a folder that others may neither read nor enter.
bool IsPrivate(const fs::path& folder) {
  constexpr fs::perms kOthers = fs::perms::group_all | fs::perms::others_all;
  std::error_code error;
  const fs::file_status status = fs::status(folder, error);
  return fs::is_directory(status) && (status.permissions() & kOthers) == fs::perms::none;
}

bool HasAction(const Node& event, std::string_view tag) {
  const Node* const actions = event.Child("actions");
  if (actions == nullptr) return false;
  constexpr std::array<std::string_view, 4> kMomentTags = {"activate", "while", "deactivate",
                                                           "acknowledge"};
  return std::any_of(kMomentTags.begin(), kMomentTags.end(), [&](std::string_view moment) {
    const Node* const list = actions->Child(moment);
    return list != nullptr && list->Child(tag) != nullptr;
  });
}

bool HasAction(const XmlDocument& document, std::string_view tag) {
  const Node* const events =
      document.Root() != nullptr ? document.Root()->Child("events") : nullptr;
  if (events == nullptr) return false;
  return std::any_of(events->ChildsBegin(), events->ChildsEnd(),
                     [tag](const Node* event) { return HasAction(*event, tag); });
}

bool KeepsSmsInAFolder(const ZRTessalySetup& setup) {
  return setup.SmsSender() == "file";
}

fs::path SmsFolder(const ZRTessalySetup& setup) {
  return {std::string(Utf16ToUtf8(setup.SmsFolder().View()).View())};
}

}  // namespace

bool MakePrivateFolder(const fs::path& folder, std::error_code& error) {
  if (fs::create_directory(folder, error)) fs::permissions(folder, fs::perms::owner_all, error);
  return !error;
}

void PrepareShareFolder(const ZRTessalySetup& setup, ZRFindings& findings) {
  const fs::path folder = ShareFolder(setup);
  SetSharePath(Utf8ToUtf16(folder.string()));
  std::error_code error;
  const bool isMade = MakePrivateFolder(folder, error);
  if (!isMade) {
    findings.push_back({Kind::kHint, kShareFolder, 0, 0,
                        "can't be made, and no mail can be sent: " + error.message()});
  }
  if (!isMade || !IsPrivate(folder)) return;
  RemoveLeftovers(folder);
  LinkMailProgram(folder);
}

void CheckMail(const XmlDocument& document, const ZRTessalySetup& setup, ZRFindings& findings) {
  if (!HasAction(document, "mail")) return;
  const auto say = [&findings](const char* file, const std::string& why) {
    findings.push_back({Kind::kDropped, file, 0, 0, "no mail is sent: " + why});
  };
  std::error_code ignored;
  const fs::path folder = ShareFolder(setup);
  if (fs::exists(folder, ignored) && !IsPrivate(folder))
    say(kShareFolder, "it must be a folder of this user alone (mode 0700)");
  if (!fs::exists(folder / kMailProgram, ignored) && ZRProgramSearch::Find(kMailProgram).empty())
    say(kShareFolder, std::string("there is no program ") + kMailProgram + " here or in PATH");
  if (setup.SmtpServer().IsEmpty()) say(ZRTessalySetup::kFileName, "smtp.server isn't set");
  if (setup.SmtpFrom().IsEmpty()) say(ZRTessalySetup::kFileName, "smtp.from isn't set");
}

void PrepareSmsFolder(const ZRTessalySetup& setup, ZRFindings& findings) {
  std::error_code error;
  if (!KeepsSmsInAFolder(setup) || MakePrivateFolder(SmsFolder(setup), error)) return;
  findings.push_back({Kind::kHint, ZRTessalySetup::kFileName, 0, 0,
                      "sms.folder can't be made, and no SMS can be sent: " + error.message()});
}

void CheckSms(const XmlDocument& document, const ZRTessalySetup& setup, ZRFindings& findings) {
  if (!HasAction(document, "sms")) return;
  const auto say = [&findings](const char* file, const std::string& why) {
    findings.push_back({Kind::kDropped, file, 0, 0, "no SMS is sent: " + why});
  };
  std::error_code ignored;
  if (KeepsSmsInAFolder(setup)) {
    if (fs::exists(SmsFolder(setup), ignored) && !IsPrivate(SmsFolder(setup)))
      say(ZRTessalySetup::kFileName, "sms.folder must be this user's alone (mode 0700)");
    return;
  }
  const Node* const port =
      setup.Tree() != nullptr ? setup.Tree()->Node(L"preferences/modem/port") : nullptr;
  if (port == nullptr) say(ZRTessalySetup::kFileName, "preferences.modem.port isn't set");
  if (port != nullptr && port->TextUtf8() == "0" && setup.SmsDevice(0).IsEmpty())
    say(ZRTessalySetup::kFileName, "the modem's port 0 has no device");
  if (!fs::exists(setup.SmsProgram().Text(), ignored))
    say(ZRTessalySetup::kFileName, "sms.program isn't there");
  const fs::path folder = ShareFolder(setup);
  if (fs::exists(folder, ignored) && !IsPrivate(folder))
    say(kShareFolder, "it must be a folder of this user alone (mode 0700)");
}
