#pragma once

#include "zrevents/actions/zreventaction.h"

// A client shows a device.
class ZREVENTS_API ZREventActionDevice final : public ZREventAction {
 public:
  explicit ZREventActionDevice(ZREventDriver* owner) : ZREventAction(owner) {}

  // Nothing happens on the server. True.
  bool Execute(int moment) override;
  // False without a name.
  [[nodiscard]] bool LoadXml(const XmlDocument::XmlNode* node) override;
  bool ProcessHttpServiceEventsActions(ZRBasicString<char>& xml) override;

 private:
  ZRWString name;  // of the device
};
