#include "tessaly/zrsitecheck.h"

#include <initializer_list>

#include "host/tools/zrfiles.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrdriverpasswords.h"
#include "tessaly/zrelementcheck.h"
#include "tessaly/zrlogincheck.h"
#include "tessaly/zrpeers.h"
#include "tessaly/zrsitebus.h"
#include "tessaly/zrusers.h"

namespace {

using Kind = ZRFinding::tagKind;
using Node = XmlDocument::XmlNode;

// True if something is there, readable or not.
bool Exists(const ZRWString& path) {
  ZRFileFind find;
  return find.FindFile(path) != 0 || FolderExists(path);
}

void SayWhatIsOff(const Node& root, const char* list, const char* what, const std::string& file,
                  ZRFindings& findings) {
  const Node* const elements = root.Child(list);
  if (elements == nullptr) return;
  for (auto child = elements->ChildsBegin(); child != elements->ChildsEnd(); ++child) {
    if ((*child)->ValueUtf8("enabled") == "F")
      ZRElementCheck(**child, what, file, findings).Say(Kind::kHint, "it is switched off");
  }
}

void CheckDocument(const ZRTessalySetup& setup, std::string_view name, ZRFindings& findings) {
  const ZRWString path = setup.CfgPath() + Utf8ToUtf16(name);
  if (!Exists(path)) return;
  const std::string file = ShownFile(setup, name);
  XmlDocument document;
  XmlDocument::tagRefusal refusal;
  if (!document.Load(path.Text(), &refusal)) {
    findings.push_back({Kind::kBroken, file, refusal.line, refusal.column, refusal.reason});
  } else if (name == kEventsFile) {
    SayWhatIsOff(*document.Root(), "eventsGroups", "group", file, findings);
    SayWhatIsOff(*document.Root(), "events", "event", file, findings);
  }
}

}  // namespace

std::string ShownFile(const ZRTessalySetup& setup, std::string_view name) {
  return ShownPath(setup, setup.CfgPath()) + std::string(name);
}

std::string ShownPath(const ZRTessalySetup& setup, const ZRWString& path) {
  std::wstring_view shown = path.View();
  const std::wstring_view site = setup.SitePath().View();
  if (shown.starts_with(site)) shown.remove_prefix(site.size());
  return std::string(Utf16ToUtf8(shown).View());
}

bool FolderExists(const ZRWString& path) {
  ZRFileFind find;
  return find.FindFile(path + L"/*.*") != 0;
}

void CheckDocuments(const ZRTessalySetup& setup, ZRFindings& findings) {
  if (!FolderExists(setup.CfgPath())) {
    findings.push_back({Kind::kHint, ShownFile(setup, ""), 0, 0, "no such folder: no events"});
    return;
  }
  if (!Exists(setup.CfgPath() + Utf8ToUtf16(kEventsFile))) {
    findings.push_back(
        {Kind::kHint, ShownFile(setup, kEventsFile), 0, 0, "no such file: no events"});
  }
  for (const std::string_view name : {kEventsFile, kTimeTablesFile, kParkingFile})
    CheckDocument(setup, name, findings);
  ZRSystemUsersSupport users;
  LoadUsers(setup, users, findings);
  CheckLogins(setup, findings);
  CheckPeers(setup, findings);
  CheckBus(setup, findings);
  (void)ReadDriverPasswords(setup, findings);
}
