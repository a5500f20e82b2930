// A request and a response without a network.
#pragma once

#include <string>

#include "host/remote/zrhttprequest.h"
#include "host/remote/zrhttpresponse.h"

class PlainRequest final : public ZRHttpRequest {
 public:
  [[nodiscard]] bool AcceptDeflate() const override { return false; }
  [[nodiscard]] const ZRHttpAuthorization& Authorization() const override { return none; }

 private:
  ZRHttpAuthorization none;
};

class MemoryResponse final : public ZRHttpResponse {
 public:
  void Begin(int /*status*/, int /*kind*/) override { body.clear(); }
  void Write(const ZRBasicString<char>& text) override { body.append(text.View()); }
  void Write(const char* text, int /*length*/) override { body.append(text); }
  bool End() override { return true; }
  std::string body;
};
