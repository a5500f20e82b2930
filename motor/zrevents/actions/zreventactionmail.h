#pragma once

#include <vector>

#include "host/tools/zrbasicstring.h"
#include "zrevents/actions/zreventaction.h"

class ZREventMailQueue;

// Mails a text to a set of addresses. The queue that sends it is shared by all mail actions, and
// lives while one of them exists: who destroys the last one drops what hasn't been sent.
//
// Threads   made, copied and destroyed on the host's, while nothing runs.
class ZREVENTS_API ZREventActionMail final : public ZREventAction {
 public:
  explicit ZREventActionMail(ZREventDriver* owner);
  ~ZREventActionMail() override;
  ZREventActionMail(const ZREventActionMail& other);
  ZREventActionMail& operator=(const ZREventActionMail&) = default;

  // Composes the mail and hands it over; true whatever becomes of it. Can wait for the queue.
  bool Execute(int moment) override;
  // Users and lists are resolved here. False for another tag, and without any address.
  [[nodiscard]] bool LoadXml(const XmlDocument::XmlNode* node) override;
  // Has no form for a client: false, with `xml` as it was.
  bool ProcessHttpServiceEventsActions(ZRBasicString<char>& xml) override;

  [[nodiscard]] const std::vector<ZRString>& Addresses() const { return addresses; }

 private:
  [[nodiscard]] ZRString Subject(int moment) const;

  std::vector<ZRString> addresses;  // UTF-8; constant after LoadXml
  ZRWString message;                // before its expansion; constant after LoadXml
};
