#pragma once

#include "zrevents/actions/zreventaction.h"

// A client shows a screen.
class ZREVENTS_API ZREventActionScreen final : public ZREventAction {
 public:
  explicit ZREventActionScreen(ZREventDriver* owner) : ZREventAction(owner) {}

  // Nothing happens on the server. True.
  bool Execute(int moment) override;
  // False without a name.
  [[nodiscard]] bool LoadXml(const XmlDocument::XmlNode* node) override;
  bool ProcessHttpServiceEventsActions(ZRBasicString<char>& xml) override;

 private:
  ZRWString name;  // of the screen
};
