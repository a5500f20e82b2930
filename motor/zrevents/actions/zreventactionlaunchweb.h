#pragma once

#include "zrevents/actions/zreventaction.h"

// A client opens a page of the web, in a window of its own or in a tab.
class ZREVENTS_API ZREventActionLaunchWeb final : public ZREventAction {
 public:
  explicit ZREventActionLaunchWeb(ZREventDriver* owner) : ZREventAction(owner) {}

  // Nothing happens on the server. True.
  bool Execute(int moment) override;
  // False without a URL or a window.
  [[nodiscard]] bool LoadXml(const XmlDocument::XmlNode* node) override;
  // A "#" in front of the URL stands for the window "TAB".
  bool ProcessHttpServiceEventsActions(ZRBasicString<char>& xml) override;

 private:
  ZRWString url;
  ZRWString window;  // "TAB", or any other text
};
