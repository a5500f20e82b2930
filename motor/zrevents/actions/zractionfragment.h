// The two elements that tell a client what to do.
#pragma once

#include <string_view>

#include "host/tools/zrbasicstring.h"

// Append "<what>WORD</what>", and "<how>", the texts one behind the other, "</how>". Nothing is
// escaped: a client gets the texts as the configuration gives them.
void AppendWhat(ZRString& xml, std::string_view word);
void AppendHow(ZRString& xml, std::wstring_view text, std::wstring_view behind = {});
