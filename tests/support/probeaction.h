// Actions that tell the test when they ran.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/text.h"
#include "zrevents/actions/zreventaction.h"

// Makes kinds of action known for as long as the object lives. Each action of them calls `onRun`
// with its event, the moment it was given, and its label: the value `label` of its element. One
// whose value `broken` is "T" doesn't load.
class ProbeActions {
 public:
  using tagOnRun = std::function<void(ZREventDriver& event, int moment, const std::string& label)>;

  ProbeActions(const std::vector<std::string>& tags, tagOnRun toCall) : onRun(std::move(toCall)) {
    for (const std::string& tag : tags) {
      auto maker = [this](ZREventDriver* owner) { return std::make_unique<CProbe>(owner, *this); };
      former.emplace_back(tag, ZREventActionKinds::SetMaker(tag, maker));
    }
  }
  ~ProbeActions() {
    for (auto& [tag, maker] : former)
      ZREventActionKinds::SetMaker(tag, std::move(maker));
  }
  ProbeActions(const ProbeActions&) = delete;
  ProbeActions& operator=(const ProbeActions&) = delete;

  // The number of probes that exist.
  [[nodiscard]] int Alive() const { return alive; }

 private:
  class CProbe final : public ZREventAction {
   public:
    CProbe(ZREventDriver* owner, ProbeActions& home) : ZREventAction(owner), probes(home) {
      ++probes.alive;
    }
    ~CProbe() override { --probes.alive; }
    CProbe(const CProbe&) = delete;
    CProbe& operator=(const CProbe&) = delete;

    bool Execute(int moment) override {
      if (probes.onRun) probes.onRun(*Parent(), moment, label);
      return false;  // nobody looks at it
    }
    bool LoadXml(const XmlDocument::XmlNode* node) override {
      label = Narrow(node->Value(L"label", L""));
      return !node->bValue(L"broken", false);
    }

   private:
    ProbeActions& probes;
    std::string label;
  };

  tagOnRun onRun;
  int alive = 0;
  std::vector<std::pair<std::string, ZREventActionKinds::tagMaker>> former;
};

// The element of a probe.
inline std::string ProbeXml(const std::string& tag, const std::string& label = "",
                            bool broken = false) {
  return "<" + tag + "><label>" + label + "</label><broken>" + (broken ? "T" : "F") +
         "</broken></" + tag + ">";
}
