// The templates of an event's texts, and how numbers are shown in them.
#pragma once

#include <string_view>

#include "tessaly/zrelementcheck.h"
#include "zrevents/zreventdriver.h"

// Says which escapes of the three templates select nothing.
void CheckEventTexts(const ZRElementCheck& check, const ZREventDriver& event);

// The same of one text that is expanded as they are.
void CheckTemplate(const ZRElementCheck& check, const XmlDocument::XmlNode& text,
                   const ZREventDriver& event);

// True if a format of an argument means something.
[[nodiscard]] bool IsNumberFormat(std::string_view format);
