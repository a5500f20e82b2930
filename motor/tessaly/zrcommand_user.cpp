// tessaly user: who may log in at a site, and what he may do.

#include <cstdio>
#include <string>

#include "host/base/zrlogger.h"
#include "host/platform/zrterminal.h"
#include "host/user/zrloginsfile.h"
#include "tessaly/zrcommands.h"
#include "tessaly/zrloginchange.h"
#include "tessaly/zrlogintable.h"
#include "tessaly/zrresourcenames.h"
#include "tessaly/zrshowntext.h"
#include "tessaly/zrsite.h"
#include "tessaly/zrsitecheck.h"
#include "tessaly/zrsitelogins.h"

namespace {

using Deed = ZRUserWords::tagDeed;

int Fail(int exitCode, const std::string& text) {
  std::fprintf(stderr, "tessaly: %s\n", ShownText(text).c_str());
  return exitCode;
}

// Why there is no line, in words.
std::string WhyNoLine(ZRTerminal::tagAnswer answer) {
  switch (answer) {
    case ZRTerminal::tagAnswer::kCancelled:
      return "given up";
    case ZRTerminal::tagAnswer::kTooLong:
      return "the password " + std::string(kPasswordRule);
    default:
      return "there is no password on standard input";
  }
}

// One deed on the logins of a site.
class CUserCommand {
 public:
  // The settings of the site have been loaded.
  CUserCommand(const ZRCommand& toCarryOut, ZRSite& toWorkOn)
      : words(toCarryOut.user),
        site(toWorkOn),
        setup(ZRTessalySetup::Get()),
        file(setup.CfgPath()) {}

  [[nodiscard]] int List();
  [[nodiscard]] int Change();

 private:
  [[nodiscard]] bool LoadNames();
  [[nodiscard]] bool FindResource();
  [[nodiscard]] int AskPassword();
  [[nodiscard]] int Write();
  [[nodiscard]] int Say(const ZRLoginAnswer& answer) const;

  ZRUserWords words;
  ZRSite& site;
  const ZRTessalySetup& setup;
  const ZRLoginsFile file;
  std::string password;
};

// Fills the store, as it knows all groups and drivers. False, with a word to the user, if that
// can't be done.
bool CUserCommand::LoadNames() {
  ZRFindings findings;
  if (!site.TryDocuments(findings)) {
    LogFindings(findings);
    return false;
  }
  SetLogLevel(kLogInvariant);  // what isn't in force is told by check
  site.MakeDrivers(findings);
  site.LoadEvents({});
  return true;
}

int CUserCommand::List() {
  ZRFindings findings;
  ZRLogins logins;
  const bool isLoaded = LoadLogins(setup, logins, findings);
  LogFindings(findings);
  if (!isLoaded || !LoadNames()) return kExitImpossible;
  const std::string table = LoginTable(logins, ZRResourceNames(ZREventSystem::Get()));
  std::fputs(table.empty() ? "no user is defined: nobody needs to log in\n" : table.c_str(),
             stdout);
  return kExitDone;
}

// In the order in which mistakes cost least: before a password is typed all else is looked at.
int CUserCommand::Change() {
  const std::string wrong = WrongWithWords(words);
  if (!wrong.empty()) return Fail(kExitImpossible, wrong);
  if (!FindResource()) return kExitImpossible;
  ZRFindings findings;
  ZRLogins trial;
  const bool isLoaded = LoadLogins(setup, trial, findings);
  LogFindings(findings);
  if (!isLoaded) return kExitImpossible;
  const ZRLoginAnswer expected = ChangeLogins(words, "", setup.HttpMd5(), trial);
  if (!expected.isChanged) return Say(expected);
  if (words.deed == Deed::kAdd || words.deed == Deed::kPassword) {
    const int asked = AskPassword();
    if (asked != kExitDone) return asked;
  }
  return Write();
}

// Puts the id in the place of a name. False, with a word to the user, if there is none.
bool CUserCommand::FindResource() {
  const ZRResourceKind* const kind = ResourceKind(words.right);
  if (kind == nullptr || words.resource == ZRGrants::kAll) return true;
  if (!LoadNames()) return false;
  const std::string text = words.resource;
  switch (ZRResourceNames(ZREventSystem::Get()).Find(*kind, text, words.resource)) {
    case ZRResourceNames::tagAnswer::kFound:
      if (IsResourceId(words.resource)) return true;
      (void)Fail(kExitImpossible, "the id of " + text + " can't be used for rights");
      return false;
    case ZRResourceNames::tagAnswer::kSeveral:
      (void)Fail(kExitImpossible, "more than one has the name " + text + ": say its id");
      return false;
    case ZRResourceNames::tagAnswer::kUnknown:
      if (words.deed == Deed::kRevoke) return true;  // a right on what is no longer there
      (void)Fail(kExitImpossible, MissingText(*kind, text));
      return false;
  }
  return false;
}

// An exit code; kExitDone with a password that can be used.
int CUserCommand::AskPassword() {
  using tagAnswer = ZRTerminal::tagAnswer;
  const ZRTerminal terminal;
  const bool isTyped = terminal.IsInteractive();
  const tagAnswer answer = isTyped
                               ? terminal.AskSecret("Password of " + ShownText(words.name) + ": ",
                                                    kMostPassword, password)
                               : terminal.ReadLine(kMostPassword, password);
  if (answer != tagAnswer::kLine) return Fail(kExitImpossible, WhyNoLine(answer));
  if (!IsPassword(password))
    return Fail(kExitImpossible, "the password " + std::string(kPasswordRule));
  if (!isTyped) return kExitDone;
  std::string again;
  const tagAnswer second = terminal.AskSecret("Once more: ", kMostPassword, again);
  if (second == tagAnswer::kCancelled) return Fail(kExitImpossible, WhyNoLine(second));
  if (again == password) return kExitDone;
  return Fail(kExitImpossible, "the two passwords aren't the same");
}

int CUserCommand::Write() {
  ZRLoginAnswer answer;
  std::string reason;
  const auto change = [&](ZRLogins& logins) {
    answer = ChangeLogins(words, password, setup.HttpMd5(), logins);
    return answer.isChanged;
  };
  if (file.Change(change, reason)) return Say(answer);
  return Fail(kExitImpossible, ShownFile(setup, ZRLoginsFile::kFileName) + ": " + reason);
}

int CUserCommand::Say(const ZRLoginAnswer& answer) const {
  if (!answer.isDone) return Fail(kExitFaulty, answer.text);
  std::printf("%s\n", ShownText(answer.text).c_str());
  if (answer.isChanged) std::printf("A site that runs takes it over within a few seconds.\n");
  return kExitDone;
}

}  // namespace

int ManageUsers(const ZRCommand& command) {
  SetLogLevel(kLogConfiguration);
  ZRFindings findings;
  ZRSite site(command.site);
  if (!site.LoadSettings(findings)) {
    LogFindings(findings);
    return kExitImpossible;
  }
  CUserCommand user(command, site);
  return command.user.deed == Deed::kList ? user.List() : user.Change();
}
