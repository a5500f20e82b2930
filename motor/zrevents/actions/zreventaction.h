// What an event does at a moment of its life.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <string_view>

#include "host/tools/xmldocument.h"
#include "zrevents/zreventsexport.h"

class ZREventDriver;

// Threads   Execute on the worker of the event, for an acknowledgement on a service's thread with
//           the event's occurrences locked: it must not call back into what takes that lock.
class ZREVENTS_API ZREventAction {
 public:
  virtual ~ZREventAction();
  // Carries out the action. Nobody looks at the result.
  virtual bool Execute(int moment) = 0;
  // Reads the action's element. False if it isn't usable.
  [[nodiscard]] virtual bool LoadXml(const XmlDocument::XmlNode* node) = 0;

  // The event that owns the action.
  [[nodiscard]] ZREventDriver* Parent() const { return parent; }

 protected:
  explicit ZREventAction(ZREventDriver* owner) : parent(owner) {}
  ZREventAction(const ZREventAction&) = default;
  ZREventAction& operator=(const ZREventAction&) = default;

 private:
  ZREventDriver* parent;
};

// The kinds of action by the tag of their element, in the order in which they are counted.
class ZREVENTS_API ZREventActionKinds {
 public:
  static constexpr std::array<std::string_view, 9> kTags = {
      "force", "shellExecute", "screen", "report", "device", "beep", "mail", "sms", "launchWeb"};
  static constexpr std::size_t kUnknown = kTags.size();

  using tagMaker = std::function<std::unique_ptr<ZREventAction>(ZREventDriver*)>;

  // The place of `tag` in kTags if that kind can be made, else kUnknown.
  [[nodiscard]] static std::size_t KindOf(std::string_view tag);
  [[nodiscard]] static std::unique_ptr<ZREventAction> Make(std::size_t kind, ZREventDriver* owner);

  // Makes a kind known, or unknown with an empty maker, and gives back the maker that it had. A
  // tag that isn't in kTags stays unknown. While nothing loads.
  static tagMaker SetMaker(std::string_view tag, tagMaker maker);
};
