// Making a data file.
#include <array>
#include <cerrno>
#include <cstdint>
#include <string>

#include "host/driversupport/eventfile/zreventfileimplementation.h"
#include "host/driversupport/eventfile/zreventfilesync.h"
#include "host/platform/zrplatform.h"

namespace {

using Layout = ZREventFileLayout;

bool MakeFolder(ZRFileSystem& files, const ZREventFileHandle& in, const std::string& name) {
  return files.MakeFolder(in.Get(), name.c_str()) || errno == EEXIST;
}

// The folder of the month, made if it is missing. `isMade` is set before anything is.
ZREventFileHandle OpenMonth(ZRFileSystem& files, const ZREventFilePath& path, bool& isMade) {
  const ZREventFileHandle root(files, files.OpenFolder(path.Root().c_str()));
  if (!root.IsOpen()) return {};
  const std::string month = path.YearAndMonth();
  ZREventFileHandle folder(files, files.OpenFolder(root.Get(), month.c_str()));
  if (folder.IsOpen() || errno != ENOENT) return folder;
  isMade = true;
  if (!MakeFolder(files, root, path.Year())) return {};
  const ZREventFileHandle year(files, files.OpenFolder(root.Get(), path.Year().c_str()));
  if (!year.IsOpen() || !MakeFolder(files, year, path.Month())) return {};
  return {files, files.OpenFolder(root.Get(), month.c_str())};
}

// True if nothing has that name.
bool IsFree(ZRFileSystem& files, const ZREventFileHandle& folder, const char* name) {
  const ZREventFileHandle found(files,
                                files.OpenFile(folder.Get(), name, ZRFileSystem::tagAccess::kRead));
  if (!found.IsOpen()) return errno == ENOENT;
  errno = EEXIST;
  return false;
}

bool WriteHead(const ZREventFileHandle& file, const ZREventFile::CNewFileTemplate& newFile) {
  Layout::tagHead head;
  head.capacity = static_cast<std::uint32_t>(newFile.Capacity());
  head.type = newFile.Type();
  NewGUID(&head.id);
  std::array<unsigned char, Layout::kHead> bytes{};
  Layout::WriteHead(head, bytes.data());
  return file.Write(bytes.data(), bytes.size(), 0);
}

std::string TemporaryName() {
  uuid random;
  NewGUID(&random);
  std::array<char, kUuidTextLength + 1> text{};
  guidtoc(random, text.data());
  return std::string(".tmp-") + text.data();
}

// A file gets its name when it is whole and durable: who finds the name finds a head.
bool MakeFile(ZRFileSystem& files, const ZREventFileHandle& folder, const char* name,
              const ZREventFile::CNewFileTemplate& newFile) {
  const std::string temporary = TemporaryName();
  const ZREventFileHandle file(
      files, files.OpenFile(folder.Get(), temporary.c_str(), ZRFileSystem::tagAccess::kCreate));
  if (!file.IsOpen()) return false;
  const bool isMade = WriteHead(file, newFile) && files.Sync(file.Get()) &&
                      files.Rename(folder.Get(), temporary.c_str(), name);
  const int error = errno;
  if (!isMade) (void)files.Remove(folder.Get(), temporary.c_str());
  errno = error;
  return isMade;
}

}  // namespace

bool ZREventFile::Create(const wchar_t* path, const CNewFileTemplate& newFile) {
  ZRFileSystem& files = ZRPlatform::Get().Files();
  ZREventFilePath place;
  bool isFolderMade = false;
  bool isMade = place.Set(path);
  if (isMade && std::string_view(newFile.Type()).size() > Layout::kType) {
    errno = EINVAL;
    isMade = false;
  }
  if (isMade) {
    const ZREventFileHandle month = OpenMonth(files, place, isFolderMade);
    isMade = month.IsOpen() && IsFree(files, month, place.Name());
    if (isMade) {
      ZREventFileSync::Get().NoteNewFile(place.Whole());
      isMade = MakeFile(files, month, place.Name(), newFile);
    }
  }
  const int error = errno;
  if (isFolderMade) ZREventFileSync::Get().ForgetFolder(std::string(place.Folder()));
  if (!isMade) ZREventFileTroubles::Get().Add(ZREventFileTrouble::kCreate, path, error);
  errno = error;
  return isMade;
}
