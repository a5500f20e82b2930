#pragma once

#include <string_view>

#include "host/remote/zrhttpauthorization.h"
#include "host/tools/zrbasicstring.h"

// One request to the web server. Lives as long as its handling; stays on its thread.
class ZRHttpRequest {
 public:
  virtual ~ZRHttpRequest() = default;

  // The client takes a compressed body (deflate or gzip).
  [[nodiscard]] virtual bool AcceptDeflate() const = 0;
  [[nodiscard]] virtual const ZRHttpAuthorization& Authorization() const = 0;
  // What stands behind "name=" in the query, the first time if there are several, with its "%41"
  // undone; a "+" is a blank. Empty without it.
  [[nodiscard]] virtual ZRString Parameter(std::string_view /*name*/) const { return {}; }
};
