// What a client says about compressed bodies.
#pragma once

#include <string_view>

enum class ZRContentCoding { kIdentity, kGzip, kDeflate };

// The coding that the content of an Accept-Encoding header prefers: gzip or deflate, gzip if
// both are equal; identity if it accepts neither. A coding with a weight of 0 is refused, "*"
// stands for those that aren't named, the first mention of a coding counts, and one whose weight
// can't be read is passed over.
[[nodiscard]] ZRContentCoding ChooseContentCoding(std::string_view acceptEncoding);

// The token of a Content-Encoding header; null for identity, which has none.
[[nodiscard]] const char* ContentCodingName(ZRContentCoding coding);
