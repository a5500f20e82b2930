// Writing XML by hand, on one line.
#pragma once

#include <string_view>

#include "host/tools/zrbasicstring.h"
#include "host/tools/zrdatetime.h"

inline constexpr const char* kXmlHeader =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>";

// Append an element with a wide text, escaped; with a UTF-8 text as it stands; with a flag.
void AppendElement(ZRString& xml, std::string_view tag, const ZRWString& text);
void AppendRawElement(ZRString& xml, std::string_view tag, std::string_view text);
void AppendFlag(ZRString& xml, std::string_view tag, bool flag);

// The 14 digits of a date in the active service: day, month, year, hour, minute, second.
[[nodiscard]] ZRWString FourteenDigits(const ZRDateTime& date);
