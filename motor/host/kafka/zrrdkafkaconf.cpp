#include "host/kafka/zrrdkafkaconf.h"

#include <librdkafka/rdkafka.h>
#include <netdb.h>

#include <utility>

#include "host/kafka/zrrdkafkawires.h"
#include "host/platform/zrresolver.h"

namespace {

constexpr int kLongestBackoff = 2000;  // ms between two attempts at a broker

using tagProperties = std::vector<std::pair<const char*, std::string>>;

// "a:9092,[::1]:9092"
std::string Bootstrap(const ZRKafkaSettings& settings) {
  std::string list;
  for (const std::string& host : settings.hosts) {
    if (!list.empty()) list += ',';
    const bool isAddressOfSix = host.find(':') != host.npos;
    list += isAddressOfSix ? "[" + host + "]" : host;
    list += ":" + std::to_string(settings.port);
  }
  return list;
}

void AddTls(const ZRKafkaSettings& settings, tagProperties& properties) {
  if (!settings.tls) return;
  properties.emplace_back("enable.ssl.certificate.verification", "true");
  properties.emplace_back("ssl.endpoint.identification.algorithm", "https");
  if (!settings.ca.empty()) properties.emplace_back("ssl.ca.location", settings.ca);
  if (settings.certificate.empty()) return;
  properties.emplace_back("ssl.certificate.location", settings.certificate);
  properties.emplace_back("ssl.key.location", settings.key);
}

void AddLogin(const ZRKafkaSettings& settings, tagProperties& properties) {
  if (settings.user.empty()) return;
  properties.emplace_back("sasl.mechanism", settings.mechanism);
  properties.emplace_back("sasl.username", settings.user);
  properties.emplace_back("sasl.password", settings.password);
}

std::string Protocol(const ZRKafkaSettings& settings) {
  if (settings.user.empty()) return settings.tls ? "ssl" : "plaintext";
  return settings.tls ? "sasl_ssl" : "sasl_plaintext";
}

// The entries of one list each, made into one.
void Free(addrinfo* list) {
  while (list != nullptr)
    ::freeaddrinfo(std::exchange(list, std::exchange(list->ai_next, nullptr)));
}

addrinfo* ListOf(const std::vector<std::string>& addresses, const char* port, addrinfo hints) {
  hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
  addrinfo* list = nullptr;
  addrinfo** end = &list;
  for (const std::string& address : addresses) {
    if (::getaddrinfo(address.c_str(), port, &hints, end) != 0) *end = nullptr;
    while (*end != nullptr)
      end = &(*end)->ai_next;
  }
  return list;
}

// In place of getaddrinfo, for the library's threads, each of which asks for one name at a time.
// Without a name it frees the list.
int Resolve(const char* name, const char* port, const addrinfo* hints, addrinfo** list,
            void* /*opaque*/) {
  if (name == nullptr || hints == nullptr) {
    Free(std::exchange(*list, nullptr));
    return 0;
  }
  thread_local ZRResolver resolver;
  ZRResolver::tagFound found;
  if (resolver.Ask(name, ZRRdKafkaWires::kNameTime, found) == ZRResolver::tagAnswer::kPending)
    return EAI_AGAIN;
  *list = ListOf(found.addresses, port, *hints);
  return *list != nullptr ? 0 : EAI_NONAME;
}

}  // namespace

void ZRRdKafkaConfDeleter::operator()(rd_kafka_conf_s* conf) const {
  ::rd_kafka_conf_destroy(conf);
}

ZRRdKafkaConf MakeKafkaConf(const ZRKafkaSettings& settings, const tagProperties& further,
                            std::string& reason) {
  tagProperties properties = {{"bootstrap.servers", Bootstrap(settings)},
                              {"client.id", settings.clientId},
                              {"security.protocol", Protocol(settings)},
                              {"reconnect.backoff.max.ms", std::to_string(kLongestBackoff)},
                              // A broker closes what is idle: that is no trouble.
                              {"log.connection.close", "false"}};
  AddTls(settings, properties);
  AddLogin(settings, properties);
  properties.insert(properties.end(), further.begin(), further.end());
  ZRRdKafkaConf conf(::rd_kafka_conf_new());
  ::rd_kafka_conf_set_resolve_cb(conf.get(), Resolve);
  for (const auto& [name, value] : properties) {
    if (::rd_kafka_conf_set(conf.get(), name, value.c_str(), nullptr, 0) == RD_KAFKA_CONF_OK)
      continue;
    reason = std::string("the library doesn't take the value of ") + name;
    return nullptr;
  }
  return conf;
}
