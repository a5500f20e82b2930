// A request and a response without a network.
#pragma once

#include <string>

#include "host/remote/zrhttprequest.h"
#include "host/remote/zrhttpresponse.h"

class FakeRequest final : public ZRHttpRequest {
 public:
  explicit FakeRequest(bool acceptsDeflate = false, const char* user = "")
      : deflate(acceptsDeflate), authorization({}, user) {}
  [[nodiscard]] bool AcceptDeflate() const override { return deflate; }
  [[nodiscard]] const ZRHttpAuthorization& Authorization() const override { return authorization; }

 private:
  bool deflate;
  ZRHttpAuthorization authorization;
};

class FakeResponse final : public ZRHttpResponse {
 public:
  void Begin(int newStatus, int newKind) override {
    status = newStatus;
    kind = newKind;
    ++begun;
  }
  void Write(const ZRBasicString<char>& text) override { body.append(text.View()); }
  void Write(const char* text, int length) override {
    if (length < 0) {
      body.append(text);
    } else {
      body.append(text, static_cast<std::size_t>(length));
    }
  }
  bool End() override {
    ++ended;
    return endResult;
  }

  int status = 0;
  int kind = -1;
  int begun = 0;
  int ended = 0;
  bool endResult = true;
  std::string body;
};
