// Which class serves which tag.

#include <algorithm>
#include <utility>

#include "zrevents/actions/zreventactionbeep.h"
#include "zrevents/actions/zreventactiondevice.h"
#include "zrevents/actions/zreventactionforcevariable.h"
#include "zrevents/actions/zreventactionlaunchweb.h"
#include "zrevents/actions/zreventactionmail.h"
#include "zrevents/actions/zreventactionreport.h"
#include "zrevents/actions/zreventactionscreen.h"
#include "zrevents/actions/zreventactionshellexecute.h"
#include "zrevents/actions/zreventactionsms.h"

namespace {

using tagMakers = std::array<ZREventActionKinds::tagMaker, ZREventActionKinds::kTags.size()>;

template <typename Action>
std::unique_ptr<ZREventAction> MakerOf(ZREventDriver* owner) {
  return std::make_unique<Action>(owner);
}

// In the order of kTags. A kind without a maker isn't known.
tagMakers& Makers() {
  static tagMakers makers = {
      MakerOf<ZREventActionForceVariable>,  // force
      MakerOf<ZREventActionShellExecute>,   // shellExecute
      MakerOf<ZREventActionScreen>,         // screen
      MakerOf<ZREventActionReport>,         // report
      MakerOf<ZREventActionDevice>,         // device
      MakerOf<ZREventActionBeep>,           // beep
      MakerOf<ZREventActionMail>,           // mail
      MakerOf<ZREventActionSms>,            // sms
      MakerOf<ZREventActionLaunchWeb>,      // launchWeb
  };
  return makers;
}

std::size_t PlaceOf(std::string_view tag) {
  const auto& tags = ZREventActionKinds::kTags;
  return static_cast<std::size_t>(std::find(tags.begin(), tags.end(), tag) - tags.begin());
}

}  // namespace

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
