#pragma once

#include <vector>

#include "zrevents/actions/zrcommandwords.h"
#include "zrevents/actions/zreventaction.h"

// Starts a program or opens a document, on the server or at a client. The parameters may show
// values of the event, as its texts do.
//
// Threads   as ZREventAction; Execute on one thread at a time.
// Promise   no shell reads the line, and no value of the event names the program, begins an
//           option or changes how the rest of the line is divided.
class ZREVENTS_API ZREventActionShellExecute final : public ZREventAction {
 public:
  // Lines of so many units, blanks included, and longer ones aren't started at all.
  static constexpr std::size_t kLineLimit = 260;

  explicit ZREventActionShellExecute(ZREventDriver* owner) : ZREventAction(owner) {}

  // Starts the line as a process, without waiting for it; if that can't be, opens `command`, a
  // document or a URL, with the program that the desktop has for it. Whether either works is told
  // nowhere. True.
  bool Execute(int moment) override;
  // False without a command.
  [[nodiscard]] bool LoadXml(const XmlDocument::XmlNode* node) override;
  // The line as it is at this moment, of any length.
  bool ProcessHttpServiceEventsActions(ZRBasicString<char>& xml) override;

 private:
  [[nodiscard]] std::vector<tagCommandPart> ExpandParameter();
  [[nodiscard]] bool StartProgram(const std::vector<tagCommandPart>& parameters) const;
  [[nodiscard]] bool OpenDocument() const;

  ZRWString command;
  ZRWString parameter;  // a template
  ZRWString expanded;   // by the last Execute
};
