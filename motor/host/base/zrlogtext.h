// How a line of the log looks.
#pragma once

#include "host/base/zrlogger.h"
#include "host/tools/zrbasicstring.h"
#include "host/tools/zrdatetime.h"

// `text` with its controls as escapes, cut after kMaximumLogText units, never within a pair.
[[nodiscard]] ZRWString EscapeLogText(const ZRWString& text);

// The whole line without its end, in UTF-8. `level` is one of the named ones.
[[nodiscard]] ZRString MakeLogLine(ZRLogTarget target, int level, const ZRDateTime& localTime,
                                   const ZRWString& escapedText);
