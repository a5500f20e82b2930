// An answer as the library behind the web server sends it.
#pragma once

#include <memory>
#include <string>

#include "host/remote/zrhttpanswer.h"

struct MHD_Connection;
struct MHD_Response;

// Threads   one.
// Promise   what can't be made, for want of memory, is a std::bad_alloc.
class ZRWebResponse {
 public:
  // A status with its words for a person as its body.
  explicit ZRWebResponse(int status);
  // What a route has written; the body goes over into the response.
  explicit ZRWebResponse(ZRHttpAnswer& answer);

  void Add(const char* name, const std::string& content);
  // Hands it over to be sent, once. False if the connection can't take it.
  [[nodiscard]] bool Send(MHD_Connection* connection) const;

 private:
  struct CDestroy {
    void operator()(MHD_Response* toDestroy) const;
  };
  using tagResponse = std::unique_ptr<MHD_Response, CDestroy>;

  static tagResponse OfText(std::string text);
  static tagResponse OfFile(int file, std::uint64_t size);
  static tagResponse OfBody(ZRAnswerBody& body);

  int status;
  tagResponse response;
};
