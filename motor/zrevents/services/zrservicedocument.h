// What the answers of all services have in common.
#pragma once

#include "host/remote/zrhttpresponse.h"

inline constexpr const char* kXmlHeader =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>";
inline constexpr int kOk = 200;
inline constexpr int kServiceUnavailable = 503;

// The answer of a server that is busy, or stops. The result of End.
inline bool RefuseForNow(ZRHttpResponse& response) {
  response.Begin(kServiceUnavailable, kContentNone);
  return response.End();
}
