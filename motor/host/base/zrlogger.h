// The log: one function, from any thread.
#pragma once

#include "host/tools/zrbasicstring.h"

// Levels in use.
inline constexpr int kLogTrace = 0;          // the normal course
inline constexpr int kLogDelivery = 1;       // a failed delivery
inline constexpr int kLogConfiguration = 3;  // an error of the configuration
inline constexpr int kLogInvariant = 4;      // a broken invariant

// Formats as FormatWide does, and writes one line. Below the level of SetLogLevel nothing is
// formatted. Controls in the text are written as escapes.
void logger(int level, const wchar_t* format, ...);

// True if a line of that level would be written: for texts that are costly to make.
[[nodiscard]] bool IsLogged(int level);

// Where lines go and from which level on. Set by the host before other threads log.
enum class ZRLogTarget { kTerminal, kFile, kJournal };
struct ZRLogSettings {
  ZRLogTarget target = ZRLogTarget::kTerminal;
  int level = kLogDelivery;
  ZRWString file;                                    // for kFile
  unsigned long fileSize = 10ul * 1024 * 1024;       // bytes, then the file is rotated
  unsigned int files = 5;                            // kept besides the current one
};
// False with a reason if the file can't be opened; the log then stays as it was.
[[nodiscard]] bool SetupLog(const ZRLogSettings& settings, ZRString& reason);
void FlushLog();

// Hands each line to a function instead, for tests and for the host's own views; null ends that.
// Called under a lock of the log: the function doesn't log.
using ZRLogSink = void (*)(void* context, int level, const ZRWString& line);
void SetLogSink(ZRLogSink sink, void* context);
void SetLogLevel(int level);
