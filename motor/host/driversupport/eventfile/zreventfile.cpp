#include "host/driversupport/eventfile/zreventfile.h"

#include <algorithm>
#include <cerrno>
#include <limits>

#include "host/driversupport/eventfile/zreventfileimplementation.h"
#include "host/platform/zrplatform.h"

namespace {

// The double form of an instant; 0 for none.
double Stored(const ZRDateTime& date) {
  if (!date.Valid()) return 0;
  return static_cast<double>(ZRDateTime::FromUtcMilliseconds(date.UtcMilliseconds()));
}

}  // namespace

ZREventFile::ZREventFile(bool /*reserved*/) : file(std::make_unique<CImplementation>()) {}

ZREventFile::~ZREventFile() = default;

bool ZREventFile::Open(const wchar_t* path, bool readOnly) {
  ZREventFile::Close();
  const bool isOpen = file->Open(path, readOnly);
  numRecords = isOpen ? file->Count() : 0;
  return isOpen;
}

bool ZREventFile::OpenCopy(const wchar_t* path, const char*& reason) {
  ZREventFile::Close();
  const bool isOpen = file->OpenCopy(path);
  reason = file->Reason();
  numRecords = isOpen ? file->Count() : 0;
  return isOpen;
}

void ZREventFile::Close() {
  LeaveRecord();
  file->Close();
  numRecords = 0;
}

void ZREventFile::LeaveRecord() {
  current = {};
  isRecord = false;
  isNew = false;
}

// --- appending ---

bool ZREventFile::NewRecord() {
  LeaveRecord();
  isNew = file->Prepare();
  isRecord = isNew;
  if (isNew) numRecords = file->Count();
  return isNew;
}

void ZREventFile::SetEventId(const uuid& id) {
  current.id = id;
}

void ZREventFile::SetDateValue(ZRDateTime& date) {
  current.date = Stored(date);
}

void ZREventFile::SetEventValue(double value) {
  current.value = value;
}

void ZREventFile::SetEventAnnotation(const ZRBasicString<char>& annotation) {
  file->newAnnotation = annotation;
  current.annotation = file->newAnnotation.View();
}

bool ZREventFile::Update() {
  if (!isNew || !file->Prepare()) return false;
  const bool isWritten = file->Append(current);
  if (isWritten) numRecords = file->Count();
  isNew = !isWritten;
  return isWritten;
}

bool ZREventFile::WriteAgain(tagWritten* records, std::size_t number) {
  LeaveRecord();
  if (!file->Prepare()) return false;
  for (tagWritten* record = records; record != records + number; ++record) {
    const tagFields fields{record->id, record->date, record->value, record->annotation};
    bool isRead = true;
    const bool isThere = file->IsAt(record->index, fields, isRead);
    if (!isRead) return false;
    if (!(isThere ? file->Rewrite(record->index) : file->Write(fields))) return false;
    if (!isThere) record->index = file->Count() - 1;
  }
  numRecords = file->Count();
  return file->SyncFile() && file->SyncNames();
}

// --- reading ---

bool ZREventFile::GoRecord(int index) {
  const unsigned char* const record =
      index >= 0 && index < numRecords ? file->Blocks().Record(index) : nullptr;
  isNew = false;
  isRecord = record != nullptr;
  if (!isRecord) {
    if (index >= 0 && index < numRecords) file->Tell(ZREventFileTrouble::kDamaged, 0);
    current = {};
    return false;
  }
  ZREventFileLayout::tagRecord read;
  ZREventFileLayout::ReadRecord(record, read);
  current = {read.id, read.date, read.value, read.annotation};
  return true;
}

std::size_t ZREventFile::ReadFrom(int& index, tagFields* to, std::size_t most) {
  LeaveRecord();
  ZREventFileBlocks& blocks = file->Blocks();
  std::size_t count = 0;
  index = std::max(index, 0);
  for (; index < numRecords && count < most; ++index) {
    if (count != 0 && !blocks.IsLoaded(index)) break;
    const unsigned char* const record = blocks.Record(index);
    if (record == nullptr) {
      file->Tell(ZREventFileTrouble::kDamaged, 0);
      continue;
    }
    ZREventFileLayout::tagRecord read;
    ZREventFileLayout::ReadRecord(record, read);
    to[count++] = {read.id, read.date, read.value, read.annotation};
  }
  return count;
}

void ZREventFile::DateValue(ZRDateTime& date) const {
  date = isRecord ? ZRDateTime(current.date) : ZRDateTime();
}

void ZREventFile::EventAnnotation(ZRBasicString<char>& annotation) const {
  annotation.Assign(current.annotation.data(), current.annotation.size());
}

int ZREventFile::SearchByTime(const ZRDateTime& when, int /*mode*/) {
  const double date = when.Valid() ? Stored(when) : -std::numeric_limits<double>::infinity();
  LeaveRecord();
  if (numRecords <= 0) return -1;
  int index = file->Blocks().FirstAtOrAfter(date);
  // A damaged record before it may be why it has so high a date.
  while (index >= 0 && index < numRecords && !(GoRecord(index) && current.date >= date))
    ++index;
  LeaveRecord();
  return index < 0 || index >= numRecords ? numRecords - 1 : index;
}
