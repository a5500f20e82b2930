#include "tessaly/zrsystemeventsfile.h"

#include "host/systemevents/zrsystemeventsserver.h"
#include "host/tools/zrtext.h"

ZRWString SystemEventsFile(const ZRTessalySetup& setup) {
  return setup.DataPath() + Utf8ToUtf16(ZRSystemEventsServer::kFileName);
}

void KeepSystemEvents(const ZRTessalySetup& setup, ZRFindings& findings) {
  std::string reason;
  if (ZRSystemEventsServer::get().UseDatabase(SystemEventsFile(setup), reason)) return;
  findings.push_back({ZRFinding::tagKind::kHint, ZRSystemEventsServer::kFileName, 0, 0,
                      "system events can't be kept: " + reason});
}
