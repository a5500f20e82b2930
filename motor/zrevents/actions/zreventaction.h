// What an event does at a moment of its life.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <string_view>

#include "host/tools/xmldocument.h"
#include "host/tools/zrbasicstring.h"
#include "zrevents/zreventsexport.h"

class ZREventDriver;

// The base of all actions. An event owns its actions and destroys them through this class. On the
// side of the server an action is executed; on the side of the clients it is told to them.
//
// Threads   LoadXml on the host's thread. Execute on the worker of the event, for an
//           acknowledgement on a service's thread with the event's occurrences locked: it must not
//           call back into what takes that lock. ProcessHttpServiceEventsActions on any.
// Promise   what LoadXml has read doesn't change any more.
class ZREVENTS_API ZREventAction {
 public:
  virtual ~ZREventAction();
  // Carries out the action. Nobody looks at the result.
  virtual bool Execute(int moment) = 0;
  // Reads the action's element. False if it isn't usable. The base takes the id, if the element
  // has one; true.
  [[nodiscard]] virtual bool LoadXml(const XmlDocument::XmlNode* node);
  // Replaces `xml` by what a client gets of the action. False, with `xml` as it was, if that is
  // nothing. The base appends the id; true.
  virtual bool ProcessHttpServiceEventsActions(ZRBasicString<char>& xml);

  // The event that owns the action. Throws CoreException if there is none.
  [[nodiscard]] ZREventDriver* Parent() const;

 protected:
  // Draws a new id.
  explicit ZREventAction(ZREventDriver* owner);
  // A copy has the id of what it was copied from.
  ZREventAction(const ZREventAction&) = default;
  ZREventAction& operator=(const ZREventAction&) = default;

 private:
  ZRString id;
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
