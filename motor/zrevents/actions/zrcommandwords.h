// From the text of a command line to the words of a process. No shell, no expansion of any kind.
#pragma once

#include <string>
#include <vector>

#include "host/tools/zrbasicstring.h"

// A piece of the parameters. What an argument of an event says may come from a device.
struct tagCommandPart {
  ZRWString text;
  bool isArgument = false;
};

// The words of the parts together, in UTF-8. Blanks and tabs divide words. Double quotes hold
// together what stands between them, and go away; "" is an empty word, and one that isn't closed
// holds up to the end. Everything else stands for itself. A NUL ends the line.
//
// In an argument only blanks and tabs divide, and nothing does between quotes of the line: its own
// quotes stand for themselves. It begins no option: dashes in front of a word are dropped if the
// argument said them, or the divider before the word, unless what it said is a number.
[[nodiscard]] std::vector<std::string> CommandWords(const std::vector<tagCommandPart>& parts);
