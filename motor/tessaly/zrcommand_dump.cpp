// tessaly history dump: each record of a data file.

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "host/base/zrlogger.h"
#include "host/driversupport/eventfile/zreventfile.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrcommands.h"
#include "tessaly/zrshowntext.h"

namespace {

// Of the value of a record.
const char* StepText(double value) {
  constexpr int kOn = 1;
  constexpr int kOff = 2;
  constexpr int kAck = 4;
  constexpr double kBeyond = 1e9;
  if (!(value > -kBeyond && value < kBeyond)) return "NONE";
  switch (static_cast<int>(value)) {
    case kOn:
      return "ON";
    case kOff:
      return "OFF";
    case kAck:
      return "ACK";
    default:
      return "NONE";
  }
}

void PrintRecord(const ZREventFile& file, int index) {
  uuid id;
  ZRDateTime date;
  file.EventId(id);
  file.DateValue(date);
  const ZRString shownId = Utf16ToUtf8(id.toWString().View());
  const ZRString shownDate = Utf16ToUtf8(date.ToCompleteWString().View());
  const std::string text = ShownText(file.EventAnnotationView());
  std::printf("%7d  %s  %s  ", index, shownId.Text(),
              date.Valid() ? shownDate.Text() : "no date                 ");
  const char* const step = StepText(file.EventValue());
  if (text.empty()) {
    std::printf("%s\n", step);
  } else {
    std::printf("%-4s  %s\n", step, text.c_str());
  }
}

ZRWString WholePath(const std::string& path) {
  std::error_code ignored;
  return Utf8ToUtf16(std::string_view(std::filesystem::absolute(path, ignored).string()));
}

}  // namespace

int DumpHistory(const ZRCommand& command) {
  SetLogLevel(kLogInvariant);  // what is wrong is said once, here
  const ZRWString path = WholePath(command.file);
  ZREventFile file(true);
  const char* reason = "";
  if (!file.OpenCopy(path.Text(), reason)) {
    const std::string why = *reason != '\0' ? reason : std::generic_category().message(errno);
    std::fprintf(stderr, "tessaly: %s can't be read: %s\n", ShownText(command.file).c_str(),
                 why.c_str());
    return kExitImpossible;
  }
  int damaged = 0;
  for (int index = 0; index < file.numRecords; ++index) {
    if (file.GoRecord(index)) {
      PrintRecord(file, index);
    } else {
      ++damaged;
      std::printf("%7d  damaged\n", index);
    }
  }
  return damaged == 0 ? kExitDone : kExitFaulty;
}
