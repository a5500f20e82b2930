// Looking after a data file.
#include <cerrno>

#include "host/driversupport/eventfile/zreventfileimplementation.h"

bool ZREventFile::Verify(const wchar_t* path, tagLook& look) {
  look = {};
  ZREventFile opened(true);
  CImplementation& file = *opened.file;
  const bool isOpen = file.OpenAnew(path, true);
  opened.numRecords = isOpen ? file.Count() : 0;
  look.reason = file.Reason();
  look.bytes = file.Size();
  if (!isOpen) return *look.reason != '\0';
  look.records = opened.numRecords;
  look.tornBytes = file.Size() - file.End();
  ZREventFileBlocks::tagSum sum;
  if (!file.Blocks().ReadAll(sum)) return false;
  look.damaged = look.records - sum.records;
  look.isWhole = look.damaged == 0 && look.tornBytes == 0 && sum.strayBytes == 0;
  return true;
}
