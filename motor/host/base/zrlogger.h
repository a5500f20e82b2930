// The log: one function, from any thread.
//
// A line on the terminal and in a file is "2026-11-21 10:00:05.123 [warn ] text": the
// installation's local time, and the level by its name. For the journal it is "<4>text", the
// number being the priority that the journal reads at the front of a line.
#pragma once

#include <cstddef>

#include "host/tools/zrbasicstring.h"

// Levels in use, each with its name and its priority in the journal. Lower numbers count as the
// first, higher ones as the last.
inline constexpr int kLogTrace = 0;          // the normal course                   trace  7
inline constexpr int kLogDelivery = 1;       // a failed delivery                   warn   4
inline constexpr int kLogNotice = 2;         // what the host tells of itself       info   5
inline constexpr int kLogConfiguration = 3;  // an error of the configuration       error  3
inline constexpr int kLogInvariant = 4;      // a broken invariant                  crit   2

// Text behind that many units is cut off, and the line ends in "...".
inline constexpr std::size_t kMaximumLogText = 8192;

// Formats as FormatWide does, and writes one line. Below the level of SetLogLevel nothing is
// formatted. Controls in the text (line ends and the separators U+2028 and U+2029 included) are
// written as escapes: "\n", "\t", "\x1b", "\u0085". A line that can't be written is lost, and
// nothing is thrown; a file tells later how many it has lost.
//
// Threads   any.
// Order     its lock is taken behind all others, and nothing is called under it but a ZRLogSink.
void logger(int level, const wchar_t* format, ...);

// True if a line of that level would be written: for texts that are costly to make.
[[nodiscard]] bool IsLogged(int level);

// Where lines go and from which level on: the terminal and kLogDelivery, until the host sets it.
enum class ZRLogTarget {
  kTerminal,  // standard error
  kFile,      // appended to, in UTF-8; created for its owner and group alone (0640)
  kJournal    // standard error, read by the journal
};
struct ZRLogSettings {
  ZRLogTarget target = ZRLogTarget::kTerminal;
  int level = kLogDelivery;
  ZRWString file;                               // for kFile; its folder exists
  unsigned long fileSize = 10ul * 1024 * 1024;  // bytes, then the file is rotated
  unsigned int files = 5;                       // kept besides the current one: "file.1" to ".5"
};
// False with a reason if the file can't be opened; the log then stays as it was.
[[nodiscard]] bool SetupLog(const ZRLogSettings& settings, ZRString& reason);

// Hands what is buffered to the system. Lines of kLogTrace in a file may be, all others never.
void FlushLog();

// Hands the text of each line (escaped, without time and level) to a function instead, for tests
// and for the host's own views; null ends that, and no call is under way afterwards.
// Called under the lock of the log: the function doesn't log.
using ZRLogSink = void (*)(void* context, int level, const ZRWString& line);
void SetLogSink(ZRLogSink sink, void* context);
void SetLogLevel(int level);
