// A request in the hands of the library behind the web server, as routes see it.
#pragma once

#include <string_view>

#include "host/remote/zracceptencoding.h"
#include "host/remote/zrhttprequest.h"
#include "host/remote/zrwebheaders.h"

// Threads   that of the route.
class ZRWebRequest final : public ZRHttpRequest {
 public:
  // `userName` is in UTF-8, and has been found to send the request.
  ZRWebRequest(MHD_Connection* toRead, const ZRWebHeaders& headers, std::string_view userName)
      : connection(toRead),
        coding(ChooseContentCoding(headers.acceptEncoding)),
        authorization(ZRString(headers.authorization), ZRString(userName)) {}

  [[nodiscard]] bool AcceptDeflate() const override { return coding != ZRContentCoding::kIdentity; }
  [[nodiscard]] const ZRHttpAuthorization& Authorization() const override { return authorization; }
  [[nodiscard]] ZRString Parameter(std::string_view name) const override;
  [[nodiscard]] ZRContentCoding Coding() const { return coding; }

 private:
  MHD_Connection* const connection;
  const ZRContentCoding coding;
  const ZRHttpAuthorization authorization;
};
