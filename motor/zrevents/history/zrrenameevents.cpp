#include "zrevents/history/zrrenameevents.h"

#include <cerrno>
#include <string_view>
#include <unordered_map>

#include "host/platform/zrfilesystem.h"
#include "host/platform/zrplatform.h"
#include "host/support/zrtessalysetup.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zrfiles.h"
#include "host/tools/zrtext.h"
#include "zrevents/history/zrhistorypath.h"

namespace {

constexpr int kFirstYear = 2000;

using tagNode = const XmlDocument::XmlNode;
using tagNodesById = std::unordered_map<std::string_view, tagNode*>;

// The events of a list; of those with one id the first.
tagNodesById EventsById(tagNode& list) {
  tagNodesById events;
  for (auto child = list.ChildsBegin(); child != list.ChildsEnd(); ++child) {
    if ((*child)->TagUtf8() == "event" && (*child)->Child("id") != nullptr)
      events.emplace((*child)->ValueUtf8("id"), *child);
  }
  return events;
}

// An open folder below the data folder.
class CFolder {
 public:
  explicit CFolder(const ZRWString& below) {
    const ZRString root = Utf16ToUtf8(ZRTessalySetup::Get().DataPath().View());
    const ZRFileSystem::tagHandle data = files.OpenFolder(root.Text());
    handle = files.OpenFolder(data, Utf16ToUtf8(below.View()).Text());
    const int error = errno;
    files.Close(data);
    errno = error;
  }
  ~CFolder() { files.Close(handle); }
  CFolder(const CFolder&) = delete;
  CFolder& operator=(const CFolder&) = delete;

  // False, with errno set, if the folder couldn't be opened, or the new name is taken.
  [[nodiscard]] bool Rename(const ZRWString& from, const ZRWString& to) {
    return handle != ZRFileSystem::kNone &&
           files.Rename(handle, Utf16ToUtf8(from.View()).Text(), Utf16ToUtf8(to.View()).Text());
  }
  [[nodiscard]] bool Sync() { return files.SyncFolder(handle); }

 private:
  ZRFileSystem& files = ZRPlatform::Get().Files();
  ZRFileSystem::tagHandle handle = ZRFileSystem::kNone;
};

// The walk over years and months, whose counters are set once for all events.
class CWalk {
 public:
  explicit CWalk(const ZRDateTime& now) : year(now.Year()), month(now.Month()) {}

  void Rename(const ZRWString& oldName, const ZRWString& newName) {
    for (; year >= kFirstYear; --year) {
      ZRFileFind folder;
      if (folder.FindFile(Root() + FormatWide(L"%04d/*.*", year)) == 0) continue;
      for (; month > 0; --month)
        RenameInMonth(oldName, newName);
    }
  }
  [[nodiscard]] bool IsOver() const { return year < kFirstYear; }
  [[nodiscard]] int Errors() const { return errors; }

 private:
  static const ZRWString& Root() { return ZRTessalySetup::Get().DataPath(); }

  void RenameInMonth(const ZRWString& oldName, const ZRWString& newName) {
    if (!IsPartOfPath(oldName.View())) return;  // there can't be a file of it
    const ZRWString below = FormatWide(L"%04d/%02d", year, month);
    ZRFileFind search;
    int found =
        search.FindFile(Root() + below + L"/" + oldName + FormatWide(L" %02d-%04d.*", month, year));
    if (found == 0) return;
    CFolder folder(below);
    bool isAnyRenamed = false;
    while (found != 0) {
      found = search.FindNextFileW();
      const ZRWString file = search.GetFileName();
      const ZRWString renamed = NewName(file, oldName, newName);
      const bool fits = Root().Length() + below.Length() + 1 + renamed.Length() < kEventPathSize;
      const bool isRenamed = !renamed.IsEmpty() && fits && folder.Rename(file, renamed);
      isAnyRenamed = isAnyRenamed || isRenamed;
      if (!isRenamed && (renamed.IsEmpty() || !fits || errno != ENOENT)) ++errors;
    }
    if (isAnyRenamed && !folder.Sync()) ++errors;
  }

  // What follows the old name stays. Empty if that can't be.
  static ZRWString NewName(const ZRWString& file, const ZRWString& oldName,
                           const ZRWString& newName) {
    if (file.Length() < oldName.Length() || !IsPartOfPath(newName.View())) return {};
    return newName + ZRWString(file.View().substr(oldName.Length()));
  }

  int year;
  int month;
  int errors = 0;
};

}  // namespace

bool RenameEventsFilesDataName(const XmlDocument::XmlNode* oldEvents,
                               const XmlDocument::XmlNode* newEvents) {
  if (oldEvents == nullptr || newEvents == nullptr) return true;
  const tagNodesById newById = EventsById(*newEvents);
  CWalk walk(ZRDateTime::UTC());
  for (auto child = oldEvents->ChildsBegin(); child != oldEvents->ChildsEnd(); ++child) {
    const auto renamed = newById.find((*child)->ValueUtf8("id"));
    if (renamed == newById.end()) continue;
    const ZRWString oldName = (*child)->Value(L"name", L"");
    const ZRWString newName = renamed->second->Value(L"name", L"");
    if (ZRWideChar::Compare(oldName.Text(), newName.Text()) == 0) continue;
    if (walk.IsOver()) break;
    walk.Rename(oldName, newName);
  }
  return walk.Errors() == 0;
}
