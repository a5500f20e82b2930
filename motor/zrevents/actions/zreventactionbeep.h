#pragma once

#include "zrevents/actions/zreventaction.h"

// A client makes itself heard.
class ZREVENTS_API ZREventActionBeep final : public ZREventAction {
 public:
  explicit ZREventActionBeep(ZREventDriver* owner) : ZREventAction(owner) {}

  // Nothing happens on the server. True.
  bool Execute(int moment) override;
  [[nodiscard]] bool LoadXml(const XmlDocument::XmlNode* node) override;
  bool ProcessHttpServiceEventsActions(ZRBasicString<char>& xml) override;
};
