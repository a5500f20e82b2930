// When records reach the disk for good.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/driversupport/eventfile/zreventfile.h"
#include "host/tools/zrbasicstring.h"

class ZREventFileHandle;
class ZREventFilePath;
class ZRFileSystem;

// How long a power cut may take back. The end of the process, however rough, takes back nothing.
enum class ZRDurability {
  kStrict,    // each record is durable before Update returns
  kAdaptive,  // the same for the first 50 in a second; those beyond within a second, all at once
  kOff,       // when the system likes
};

// The policy of the process, the work that it puts off, and what it needn't find out for each file
// again.
//
// Threads   any; Start and Stop on the host's.
// Order     its mutexes are taken behind `fileMutex` of an event; under the one that an append
//           takes nothing waits.
class ZREventFileSync {
 public:
  static constexpr int kAdaptivePerSecond = 50;

  [[nodiscard]] static ZREventFileSync& Get();

  void SetDurability(ZRDurability toUse);
  [[nodiscard]] ZRDurability Durability() const;

  // Begins and ends the thread that makes durable what was put off. Stop does all of it at once,
  // and gives up what can't be done even now. While it doesn't run, kAdaptive is kStrict, and each
  // record makes the names of its folders durable once more.
  void Start();
  void Stop();

  // Makes durable at once what was put off. If the disk refuses, each record is written again from
  // what is kept of it: at its place, or behind later ones if it has gone from there. False if that
  // can't be done either: it stays put off, for the next attempt.
  bool Flush();

  // Records that were written but may not survive a power cut yet.
  [[nodiscard]] int Pending() const;

 private:
  friend class ZREventFile;
  class CState;
  ZREventFileSync();
  ~ZREventFileSync();

  // True if a record needn't be durable at once, which is decided and counted here.
  [[nodiscard]] bool MayPutOff();
  // False if it must be, after all. `root` is the data folder.
  [[nodiscard]] bool PutOff(const ZRWString& path, const std::string& root,
                            ZREventFile::tagWritten record);
  // The sync of a file has failed: what was put off may have gone with it, and is written again.
  void NoteFailedSync();
  // A record whose Update has failed may be in that file, at that index. Stop forgets all of them,
  // and so does one that is too many.
  static constexpr std::size_t kMostHalfway = 20'000;
  void NoteHalfway(const std::string& file, const ZREventFile::tagFields& record, int index);
  void ForgetHalfway(const std::string& file, const ZREventFile::tagFields& record);
  // -1 if there is none.
  [[nodiscard]] int HalfwayIndex(const std::string& file,
                                 const ZREventFile::tagFields& record) const;
  // Folders of a month whose names are known to be durable since Start, and with them those of the
  // files that were there then.
  [[nodiscard]] bool IsDurableFolder(const std::string& folder) const;
  // That folder may not be, and the data folder may be another one.
  void ForgetFolder(const std::string& folder);
  // A file is about to be made here: its name is another matter.
  void NoteNewFile(const std::string& file);
  // True if a file that isn't empty has a durable name.
  [[nodiscard]] bool HasDurableName(const ZREventFilePath& file) const;
  void NoteDurableNames(const ZREventFilePath& file);

  // The folder that a file lies in, open, as OpenRoot has it; null, with ENOENT, also if it wasn't
  // there within the last second and nobody here has made it since.
  [[nodiscard]] std::shared_ptr<const ZREventFileHandle> OpenMonth(ZRFileSystem& files,
                                                                   const ZREventFilePath& file,
                                                                   bool anew);
  // The data folder of that path, open; null if it can't be opened. One that was opened within the
  // last second, between Start and Stop, is given again, unless `anew`.
  [[nodiscard]] std::shared_ptr<const ZREventFileHandle> OpenRoot(ZRFileSystem& files,
                                                                  const std::string& path,
                                                                  bool anew);

  const std::unique_ptr<CState> state;
};
