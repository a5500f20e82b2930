// tessaly active, notified, ack, listeners, drivers, force: questions to a site that runs.

#include <cstdio>
#include <unordered_map>

#include "host/base/zrlogger.h"
#include "host/remote/zrquerytext.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrcommands.h"
#include "tessaly/zrdriverlist.h"
#include "tessaly/zrlistenerlist.h"
#include "tessaly/zrlivelist.h"
#include "tessaly/zrshowntext.h"
#include "tessaly/zrsite.h"
#include "tessaly/zrsiteclient.h"
#include "tessaly/zrsitelogins.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventdrivergroup.h"

namespace {

constexpr const char* kActivePath = "/services/events/actived.xml";
constexpr const char* kNotifiedPath = "/services/events/notified.xml";
constexpr const char* kAckPath = "/services/events/ack.xml";
constexpr const char* kListenersPath = "/services/events/listeners.xml";
constexpr const char* kDriversPath = "/services/drivers/variables.xml";
constexpr const char* kForcePath = "/services/drivers/force.xml";
constexpr int kOk = 200;
constexpr int kNoContent = 204;

int Fail(int exitCode, const std::string& text) {
  std::fprintf(stderr, "tessaly: %s\n", ShownText(text).c_str());
  return exitCode;
}

void Print(std::string_view text) {
  (void)std::fwrite(text.data(), 1, text.size(), stdout);
}

std::string Utf8(const ZRWString& text) {
  return std::string(Utf16ToUtf8(text.View()).View());
}

// If the file can't be read, by this user for example, there is one, and so are users.
bool HasUsers() {
  ZRFindings findings;
  ZRLogins logins;
  return !LoadLogins(ZRTessalySetup::Get(), logins, findings) || !logins.users.empty();
}

// The groups of the site's own events, which the services don't tell. Of a remote event: the way to
// it, which begins with its driver.
class CGroups {
 public:
  // A site whose documents can't be read has none.
  void Load(ZRSite& site) {
    ZRFindings findings;
    if (!site.TryDocuments(findings)) return;
    site.MakeDrivers(findings);
    site.StartDrivers(ZRSite::tagDrivers::kNone, findings);
    site.LoadEvents({});
    const ZREventSystem& store = ZREventSystem::Get();
    for (auto event = store.EventsBegin(); event != store.EventsEnd(); ++event) {
      const std::string groups = GroupsOf(**event);
      byId.emplace(Utf8((*event)->Id().toWString()), groups);
      byName.emplace(Utf8((*event)->Name()), groups);
    }
  }
  [[nodiscard]] std::string Of(const ZRLiveEvent& event) const {
    if (event.id.find('.') != std::string::npos)
      return event.names.substr(0, event.names.rfind('.'));
    const auto known = byId.find(event.id);
    if (known != byId.end()) return known->second;
    const auto named = byName.find(event.name);  // an occurrence has an id of its own
    return named != byName.end() ? named->second : "";
  }

 private:
  static std::string GroupsOf(const ZREventDriver& event) {
    std::string groups;
    for (auto group = event.GroupsVectorBegin(); group != event.GroupsVectorEnd(); ++group)
      groups += (groups.empty() ? "" : ", ") + Utf8((*group)->Name());
    return groups;
  }

  std::unordered_map<std::string, std::string> byId;
  std::unordered_map<std::string, std::string> byName;
};

// One verb at work.
class CLiveCommand {
 public:
  explicit CLiveCommand(const ZRCommand& toCarryOut) : command(toCarryOut), site(toCarryOut.site) {}

  int Show(ZRLiveList::tagKind kind, const char* path);
  int Acknowledge();
  int Force();
  // A document of that path as a list.
  template <typename tagList>
  int ShowList(const std::string& path);

 private:
  // An exit code; kExitDone when the question is ready to be asked.
  [[nodiscard]] int Prepare();
  [[nodiscard]] int Ask(int expectedStatus, ZRHttpReply& reply) const;

  const ZRCommand& command;
  ZRSite site;
  ZRHttpQuestion question;
};

int CLiveCommand::Prepare() {
  SetLogLevel(kLogConfiguration);
  ZRFindings findings;
  if (!site.LoadSettings(findings)) {
    LogFindings(findings);
    return kExitImpossible;
  }
  std::string reason;
  const ZRClientWords& words = command.client;
  const auto prepared =
      QuestionToSite(ZRTessalySetup::Get(), words, HasUsers(), command.port, reason);
  if (!prepared) return Fail(kExitImpossible, reason);
  question = *prepared;
  if (!words.user.empty() && !AskForPassword(words.user, question.password, reason))
    return Fail(kExitImpossible, reason);
  return kExitDone;
}

int CLiveCommand::Ask(int expectedStatus, ZRHttpReply& reply) const {
  reply = FetchHttp(question);
  if (reply.status == expectedStatus) return kExitDone;
  return Fail(reply.status == 0 ? kExitImpossible : kExitFaulty, WhatWentWrong(question, reply));
}

int CLiveCommand::Show(ZRLiveList::tagKind kind, const char* path) {
  if (const int ready = Prepare(); ready != kExitDone) return ready;
  question.path = path;
  ZRHttpReply reply;
  if (const int asked = Ask(kOk, reply); asked != kExitDone) return asked;
  ZRLiveList list(kind);
  std::string reason;
  if (!list.Read(reply.body, reason)) return Fail(kExitFaulty, reason);
  if (command.client.format == ZRHistoryFormat::kXml) {
    Print(reply.body);
    return kExitDone;
  }
  CGroups groups;
  groups.Load(site);
  list.Write(
      command.client.format, [&groups](const ZRLiveEvent& event) { return groups.Of(event); },
      &Print);
  return kExitDone;
}

template <typename tagList>
int CLiveCommand::ShowList(const std::string& path) {
  if (const int ready = Prepare(); ready != kExitDone) return ready;
  question.path = path;
  ZRHttpReply reply;
  if (const int asked = Ask(kOk, reply); asked != kExitDone) return asked;
  tagList list;
  std::string reason;
  if (!list.Read(reply.body, reason)) return Fail(kExitFaulty, reason);
  if (command.client.format == ZRHistoryFormat::kXml) {
    Print(reply.body);
  } else {
    list.Write(command.client.format, &Print);
  }
  return kExitDone;
}

int CLiveCommand::Force() {
  if (const int ready = Prepare(); ready != kExitDone) return ready;
  question.path = kForcePath;
  question.document = ForceDocument(command.client.variable, command.client.value);
  ZRHttpReply reply;
  if (const int asked = Ask(kNoContent, reply); asked != kExitDone) return asked;
  std::printf("%s shows %s\n", ShownText(command.client.variable).c_str(),
              ShownText(command.client.value).c_str());
  return kExitDone;
}

int CLiveCommand::Acknowledge() {
  if (const int ready = Prepare(); ready != kExitDone) return ready;
  question.path = kAckPath;
  for (std::string& document : AckDocuments(command.client.ids)) {
    question.document = std::move(document);
    ZRHttpReply reply;
    if (const int asked = Ask(kNoContent, reply); asked != kExitDone) return asked;
  }
  std::printf("%s has taken %zu ids; tessaly notified shows what still waits\n",
              HttpPlace(question).c_str(), command.client.ids.size());
  return kExitDone;
}

}  // namespace

int ShowActive(const ZRCommand& command) {
  return CLiveCommand(command).Show(ZRLiveList::tagKind::kActive, kActivePath);
}

int ShowNotified(const ZRCommand& command) {
  return CLiveCommand(command).Show(ZRLiveList::tagKind::kNotified, kNotifiedPath);
}

int AcknowledgeEvents(const ZRCommand& command) {
  return CLiveCommand(command).Acknowledge();
}

int ShowListeners(const ZRCommand& command) {
  return CLiveCommand(command).ShowList<ZRListenerList>(kListenersPath);
}

int ShowDrivers(const ZRCommand& command) {
  const std::string& name = command.client.driver;
  std::string path = kDriversPath;
  if (!name.empty()) path += "?name=" + std::string(DoPercents(name).View());
  return CLiveCommand(command).ShowList<ZRDriverList>(path);
}

int ForceVariable(const ZRCommand& command) {
  return CLiveCommand(command).Force();
}
