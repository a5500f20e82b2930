// The data file of an event: one month of its transitions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "host/tools/zrbasicstring.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zruuid.h"

// A sequence of records, of which one is current. Records are appended and never changed. The
// bytes on the disk are those of docs/formats/event-data-file.md.
//
// A record that the disk has spoiled keeps its index: GoRecord gives false for it, and the ones
// behind it are found as ever. Bytes behind the last whole record belong to a write that the power
// cut off, or to one that is under way: they count for nothing, and the next append sets them
// aside, into a file of the same name with ".torn-1" and so on behind it, before it cuts them off.
//
// The path is `<data folder>/<year>/<month>/<name>`: the last three of it are never reached
// through a symbolic link.
//
// Threads   one at a time. Objects on the same file, in this process or another one, may append
//           and read side by side: appends stay whole, and a reader sees a whole beginning.
// Errors    are false; what the caller needn't know is told to ZREventFileTroubles.
class ZREventFile {
 public:
  static constexpr const char* kType = "EVENTv2.70";
  static constexpr int kCapacity = 2000;

  // What a new file is like: its type (at most 16 bytes), and for how many records it is meant,
  // which is a hint.
  class CNewFileTemplate {
   public:
    CNewFileTemplate(const char* toUse, int records) : type(toUse), capacity(records) {}
    [[nodiscard]] const char* Type() const { return type; }
    [[nodiscard]] int Capacity() const { return capacity; }

   private:
    const char* type;
    int capacity;
  };

  explicit ZREventFile(bool reserved);  // true
  virtual ~ZREventFile();
  ZREventFile(const ZREventFile&) = delete;
  ZREventFile& operator=(const ZREventFile&) = delete;

  // Makes an empty file, and the folders of the year and of the month where they are missing; no
  // others. The file is whole if it is there at all; its name and those of the folders become
  // durable with the first record. False if there is something of that name already, which stays
  // untouched.
  [[nodiscard]] static bool Create(const wchar_t* path, const CNewFileTemplate& newFile);

  // False if the file doesn't exist, isn't of this type, or is of a newer layout than this
  // program knows. Replaces the file that was open before, also then. Changes nothing on the disk.
  [[nodiscard]] virtual bool Open(const wchar_t* path, bool readOnly);
  // The same to read a file that lies anywhere, such as a copy. If it is false, `reason` says what
  // is wrong with the file, or is "", and errno says why it can't be read.
  [[nodiscard]] bool OpenCopy(const wchar_t* path, const char*& reason);
  virtual void Close();

  // --- appending ---

  // Makes an empty record current, to be filled by the four below and written by Update. False if
  // another writer has the file and doesn't give it back within 10 ms, or if it can't be read;
  // Update is then false as well. This object keeps the file from others that append until Close,
  // from Open on if nobody had it.
  bool NewRecord();
  void SetEventId(const uuid& id);
  void SetDateValue(ZRDateTime& date);
  void SetEventValue(double value);
  void SetEventAnnotation(const ZRBasicString<char>& annotation);
  // Writes the current record behind the last one and makes it durable, as ZREventFileSync tells.
  // If the last record equals it in all four fields, a call before has failed halfway: then the
  // same bytes are written again at their place. So are those of a record behind which another
  // writer has come meanwhile, if that call was in this process, and ZREventFileSync hasn't been
  // stopped since. False if the record isn't there for sure; it can be tried again. A record has
  // at most 16 MiB, a file 64 GiB.
  [[nodiscard]] bool Update();

  // --- reading ---

  // Of the file as it was when it was opened, and with what was appended through this object.
  // Damaged ones are counted.
  int numRecords = 0;

  // Makes the record at that index, from 0, current. False if there is none, or it is damaged.
  [[nodiscard]] bool GoRecord(int index);
  // Of the current record; of no record: empty, invalid, 0.
  void EventId(uuid& id) const { id = current.id; }
  void DateValue(ZRDateTime& date) const;
  [[nodiscard]] double DateValue() const { return current.date; }
  [[nodiscard]] double EventValue() const { return current.value; }
  void EventAnnotation(ZRBasicString<char>& annotation) const;
  // The same without a copy, until the next call of GoRecord, Open or Close.
  [[nodiscard]] std::string_view EventAnnotationView() const { return current.annotation; }

  struct tagFields {
    uuid id;
    double date = 0;
    double value = 0;
    std::string_view annotation;
  };
  // The readable records from `index` on that lie together, at most `most` of them, as GoRecord
  // makes them current one by one; moves `index` behind the last one that was looked at. The
  // annotations are good until the next call. Gives how many there are: 0 if none is left. No
  // record is current afterwards.
  [[nodiscard]] std::size_t ReadFrom(int& index, tagFields* to, std::size_t most);

  // The index of the first record whose date is at or after `when`, wherever the clock went
  // between; the last index if all lie before it; -1 if there is no record. Damaged ones don't
  // count. `mode` is 1. No record is current afterwards.
  [[nodiscard]] int SearchByTime(const ZRDateTime& when, int mode);

  // --- for who looks after the files ---

  struct tagLook {
    bool isWhole = false;     // a file of this type without damage
    const char* reason = "";  // what is wrong with the file as a whole; "" if it can be read
    int records = 0;          // damaged ones included
    int damaged = 0;
    std::uint64_t bytes = 0;
    std::uint64_t tornBytes = 0;  // behind the last whole record
  };
  // Reads every byte of a file. False if it can't be opened or read.
  [[nodiscard]] static bool Verify(const wchar_t* path, tagLook& look);

 private:
  friend class ZREventFileSync;
  class CImplementation;
  void LeaveRecord();
  // Writes records that were written before once more; appends those that have gone, and changes
  // their index. False if they aren't all there for sure.
  struct tagWritten;
  [[nodiscard]] bool WriteAgain(tagWritten* records, std::size_t number);

  tagFields current;
  bool isRecord = false;  // there is a current one
  bool isNew = false;     // it isn't written yet
  std::unique_ptr<CImplementation> file;
};
