#include "tessaly/zrsilentactions.h"

#include <array>
#include <memory>

namespace {

constexpr std::array<std::string_view, 3> kSilent = {"shellExecute", "mail", "sms"};

class CSilentAction final : public ZREventAction {
 public:
  explicit CSilentAction(ZREventDriver* owner) : ZREventAction(owner) {}
  bool Execute(int /*moment*/) override { return true; }
};

}  // namespace

ZRSilentActions::ZRSilentActions() {
  for (const std::string_view tag : kSilent) {
    auto maker = [](ZREventDriver* owner) { return std::make_unique<CSilentAction>(owner); };
    former.emplace_back(tag, ZREventActionKinds::SetMaker(tag, maker));
  }
}

ZRSilentActions::~ZRSilentActions() {
  for (auto& [tag, maker] : former)
    (void)ZREventActionKinds::SetMaker(tag, std::move(maker));
}
