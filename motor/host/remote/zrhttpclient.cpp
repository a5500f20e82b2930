#include "host/remote/zrhttpclient.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t kMostHostBytes = 253;
constexpr int kMostPort = 65535;

bool IsOfHost(char letter) {
  return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
         (letter >= '0' && letter <= '9') || letter == '.' || letter == '-' || letter == ':';
}

const char* OrEmpty(const char* text) {
  return text != nullptr ? text : "";
}

}  // namespace

bool IsPeer(std::string_view host, int port) {
  return !host.empty() && host.size() <= kMostHostBytes &&
         std::all_of(host.begin(), host.end(), &IsOfHost) && port > 0 && port <= kMostPort;
}

ZRHttpClient::ZRHttpClient(bool keepsConnections) : keepsExchange(keepsConnections) {}

ZRHttpClient::~ZRHttpClient() = default;

int ZRHttpClient::Put(const ZRString& host, int port, const ZRString& path, const void* body,
                      int length, const char* user, const char* password) {
  Cancel();
  if (!IsPeer(host.View(), port)) return 0;
  if (exchange == nullptr) exchange = ZRHttpWire::Get().NewExchange();
  const std::string_view bytes(static_cast<const char*>(body),
                               static_cast<std::size_t>(std::max(length, 0)));
  return exchange->Put(std::string(host.View()), port, std::string(path.View()), bytes,
                       OrEmpty(user), OrEmpty(password), answer);
}

int ZRHttpClient::Read() {
  if (next >= answer.size()) return -1;
  return static_cast<unsigned char>(answer[next++]);
}

void ZRHttpClient::Cancel() {
  answer.clear();
  next = 0;
  if (!keepsExchange) exchange.reset();
}
