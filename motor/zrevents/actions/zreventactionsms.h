#pragma once

#include <vector>

#include "host/tools/zrbasicstring.h"
#include "zrevents/actions/zreventaction.h"

class ZREventSmsQueue;

// Sends a text to a set of telephone numbers by SMS. The queue that sends it, and what it is sent
// with, are shared by all SMS actions, and live while one of them exists: the first one reads the
// settings, and who destroys the last one drops what hasn't been sent.
//
// Threads   made, copied and destroyed on the host's, while nothing runs.
class ZREVENTS_API ZREventActionSms final : public ZREventAction {
 public:
  // The first one raises a system event if the settings have no port for the modem.
  explicit ZREventActionSms(ZREventDriver* owner);
  ~ZREventActionSms() override;
  ZREventActionSms(const ZREventActionSms& other);
  ZREventActionSms& operator=(const ZREventActionSms&) = default;

  // Composes the text, the same at all moments, and hands it over; true whatever becomes of it.
  // Can wait for the queue.
  bool Execute(int moment) override;
  // Users and lists are resolved here. False for another tag, and without any number; throws
  // CoreException for null.
  [[nodiscard]] bool LoadXml(const XmlDocument::XmlNode* node) override;
  // Has no form for a client: false, with `xml` as it was.
  bool ProcessHttpServiceEventsActions(ZRBasicString<char>& xml) override;

  [[nodiscard]] const std::vector<ZRString>& Phones() const { return phones; }

 private:
  std::vector<ZRString> phones;  // UTF-8; constant after LoadXml
  ZRWString message;             // before its expansion; constant after LoadXml
  bool forceBreak = false;       // constant after LoadXml
};
