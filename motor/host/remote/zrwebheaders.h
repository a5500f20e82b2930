// The head of a request, as far as the web server looks at it.
#pragma once

#include <string>
#include <string_view>

#include "host/remote/zrrequestrules.h"

struct MHD_Connection;

// Borrowed from the request, which is in the library's hands.
struct ZRWebHeaders {
  ZRRequestHead head;  // without what its path adds
  std::string acceptEncoding;
  std::string_view authorization;  // the first, if there are several

  void Take(std::string_view name, std::string_view content);
};

// Of the request that `connection` is at. Throws what memory throws.
[[nodiscard]] ZRWebHeaders HeadersOf(MHD_Connection* connection);
