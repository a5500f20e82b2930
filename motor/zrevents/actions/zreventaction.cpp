#include "zrevents/actions/zreventaction.h"

#include <algorithm>
#include <utility>

namespace {

using tagMakers = std::array<ZREventActionKinds::tagMaker, ZREventActionKinds::kTags.size()>;

tagMakers& Makers() {
  static tagMakers makers;
  return makers;
}

std::size_t PlaceOf(std::string_view tag) {
  const auto& tags = ZREventActionKinds::kTags;
  return static_cast<std::size_t>(std::find(tags.begin(), tags.end(), tag) - tags.begin());
}

}  // namespace

ZREventAction::~ZREventAction() = default;

std::size_t ZREventActionKinds::KindOf(std::string_view tag) {
  const std::size_t place = PlaceOf(tag);
  return place != kUnknown && Makers()[place] ? place : kUnknown;
}

std::unique_ptr<ZREventAction> ZREventActionKinds::Make(std::size_t kind, ZREventDriver* owner) {
  return Makers()[kind](owner);
}

ZREventActionKinds::tagMaker ZREventActionKinds::SetMaker(std::string_view tag, tagMaker maker) {
  const std::size_t place = PlaceOf(tag);
  if (place == kUnknown) return {};
  return std::exchange(Makers()[place], std::move(maker));
}
