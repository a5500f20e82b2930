#include "host/remote/zrwebheaders.h"

#include <microhttpd.h>

#include <exception>
#include <new>
#include <utility>

#include "host/remote/zrasciitext.h"

namespace {

struct CReading {
  ZRWebHeaders headers;
  bool complete = true;
};

MHD_Result TakeHeader(void* reading, MHD_ValueKind, const char* name, std::size_t nameSize,
                      const char* value, std::size_t valueSize) {
  auto& taken = *static_cast<CReading*>(reading);
  try {
    taken.headers.Take({name, nameSize}, {value != nullptr ? value : "", valueSize});
  } catch (const std::exception&) {
    taken.complete = false;
    return MHD_NO;
  }
  return MHD_YES;
}

}  // namespace

void ZRWebHeaders::Take(std::string_view name, std::string_view content) {
  head.isMalformed = head.isMalformed || !IsHeader(name, content);
  if (EqualIgnoringCase(name, "host")) {
    head.hosts.push_back(content);
  } else if (EqualIgnoringCase(name, "content-length")) {
    head.contentLengths.push_back(content);
  } else if (EqualIgnoringCase(name, "transfer-encoding")) {
    head.hasTransferEncoding = true;
  } else if (EqualIgnoringCase(name, "accept-encoding")) {
    acceptEncoding.append(content).append(",");
  } else if (EqualIgnoringCase(name, "origin")) {
    head.origins.push_back(content);
  } else if (EqualIgnoringCase(name, "authorization") && authorization.empty()) {
    authorization = content;
  }
}

ZRWebHeaders HeadersOf(MHD_Connection* connection) {
  CReading reading;
  (void)MHD_get_connection_values_n(connection, MHD_HEADER_KIND, &TakeHeader, &reading);
  if (!reading.complete) throw std::bad_alloc();
  const MHD_ConnectionInfo* const size =
      MHD_get_connection_info(connection, MHD_CONNECTION_INFO_REQUEST_HEADER_SIZE);
  reading.headers.head.headBytes = size != nullptr ? size->header_size : 0;
  return std::move(reading.headers);
}
