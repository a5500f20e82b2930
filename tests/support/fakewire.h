// The servers that this program puts documents to, for as long as the object lives.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/remote/zrhttpclient.h"

class FakeWire final : public ZRHttpWire {
 public:
  struct tagRequest {
    std::string host;
    int port = 0;
    std::string path;
    std::string body;
    std::string login;  // "user:password"; empty without one
  };

  FakeWire() { Replace(this); }
  ~FakeWire() override { Replace(nullptr); }
  FakeWire(const FakeWire&) = delete;
  FakeWire& operator=(const FakeWire&) = delete;

  std::unique_ptr<ZRExchange> NewExchange() override {
    ++exchanges;
    return std::make_unique<CExchange>(*this);
  }

  // The bodies that were put to `host` at a path that begins like that.
  [[nodiscard]] std::vector<std::string> Bodies(const std::string& host,
                                                const std::string& path = "/services/") const {
    std::vector<std::string> bodies;
    for (const tagRequest& request : requests)
      if (request.host == host && request.path.rfind(path, 0) == 0) bodies.push_back(request.body);
    return bodies;
  }

  int status = 204;                              // of every answer,
  std::function<int(const tagRequest&)> decide;  // unless this is there
  std::string answer;
  int exchanges = 0;
  std::vector<tagRequest> requests;  // in order

 private:
  class CExchange final : public ZRExchange {
   public:
    explicit CExchange(FakeWire& ofTest) : wire(ofTest) {}
    int Put(const std::string& host, int port, const std::string& path, std::string_view body,
            const std::string& user, const std::string& password, std::string& reply) override {
      const std::string login = user.empty() ? "" : user + ":" + password;
      wire.requests.push_back({host, port, path, std::string(body), login});
      reply = wire.answer;
      const tagRequest request = wire.requests.back();
      return wire.decide ? wire.decide(request) : wire.status;
    }

   private:
    FakeWire& wire;
  };
};
