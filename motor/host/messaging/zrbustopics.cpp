#include "host/messaging/zrbustopics.h"

#include <algorithm>

#include "host/messaging/zruuidtext.h"
#include "host/tools/zrtext.h"

namespace {

constexpr std::array<ZRBusTopic, 3> kKept = {ZRBusTopic::kDefinition, ZRBusTopic::kState,
                                             ZRBusTopic::kDiscovery};

}  // namespace

// Discovery by Home Assistant: <prefix>/<component>/<node>/<object>/config, where node and object
// are made of letters, digits, "_" and "-" (its documentation, "MQTT Discovery").
ZRBusTopics::ZRBusTopics(const std::string& prefix, const uuid& ofEngine,
                         const std::string& discoveryPrefix)
    : engine(UuidText(ofEngine)),
      root(prefix + "/" + engine + "/"),
      discovery(discoveryPrefix + "/binary_sensor/" + engine + "/") {}

ZRBusTopics::tagAround ZRBusTopics::Around(ZRBusTopic kind) const {
  switch (kind) {
    case ZRBusTopic::kDefinition:
      return {root + "event/", "/definition"};
    case ZRBusTopic::kTransition:
      return {root + "event/", "/transition"};
    case ZRBusTopic::kState:
      return {root + "event/", "/state"};
    default:
      return {discovery, "/config"};
  }
}

std::string ZRBusTopics::Of(const uuid& event, ZRBusTopic kind) const {
  const tagAround around = Around(kind);
  return around.front + UuidText(event) + std::string(around.behind);
}

std::array<std::string, 3> ZRBusTopics::KeptFilters() const {
  std::array<std::string, 3> filters;
  std::transform(kKept.begin(), kKept.end(), filters.begin(), [this](ZRBusTopic kind) {
    const tagAround around = Around(kind);
    return around.front + "+" + std::string(around.behind);
  });
  return filters;
}

bool ZRBusTopics::IsKept(std::string_view topic) const {
  return std::any_of(kKept.begin(), kKept.end(), [&](ZRBusTopic kind) {
    const tagAround around = Around(kind);
    if (!topic.starts_with(around.front) || !topic.ends_with(around.behind)) return false;
    if (topic.size() != around.front.size() + kUuidTextLength + around.behind.size()) return false;
    const std::string_view id = topic.substr(around.front.size(), kUuidTextLength);
    return wtouuid(Utf8ToUtf16(id)) != uuid::null;
  });
}
