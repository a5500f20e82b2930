// Time tables: whether an event is looked at, for a given local time.
#pragma once

#include "host/tools/xmldocument.h"
#include "host/tools/zrbasicstring.h"
#include "host/tools/zrdatetime.h"

// Base of the three kinds. The list of the store owns them all.
//
// Threads   NeedCheck from any worker; the rest while nothing runs.
class ZRTimeTable {
 public:
  ZRTimeTable() = default;
  virtual ~ZRTimeTable();
  ZRTimeTable(const ZRTimeTable&) = delete;
  ZRTimeTable& operator=(const ZRTimeTable&) = delete;

  // Reads `id` and `name`; false if either is empty. `node` must outlive the table.
  [[nodiscard]] virtual bool LoadXml(const XmlDocument::XmlNode* node);

  // True if events of this table are to be evaluated at `now`.
  [[nodiscard]] virtual bool NeedCheck(const ZRDateTime& now);

  [[nodiscard]] const ZRWString& Id() const { return id; }
  [[nodiscard]] const ZRWString& Name() const { return name; }

 private:
  ZRWString id;
  ZRWString name;
};
