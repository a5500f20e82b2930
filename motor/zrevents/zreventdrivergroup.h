#pragma once

#include "host/tools/xmldocument.h"
#include "host/tools/zruuid.h"
#include "zrevents/zreventsexport.h"

// A group of events: for the user, for rights, and for threads (the first group of an event
// decides which worker runs it).
//
// Threads   constant once loading has ended.
class ZREVENTS_API ZREventDriverGroup {
 public:
  // Reads `id` and `name`. False without an id, with one that is no uuid, and without a name.
  [[nodiscard]] bool LoadXml(const XmlDocument::XmlNode& node);

  [[nodiscard]] const ZRWString& Name() const { return name; }
  [[nodiscard]] const uuid& Id() const { return id; }
  [[nodiscard]] const ZRWString& IdStr() const { return idStr; }  // as the document gave it
  // Memberships of events so far: it only grows.
  [[nodiscard]] int References() const { return references; }
  void AddReference() { ++references; }

 private:
  ZRWString name;
  uuid id;
  ZRWString idStr;
  int references = 0;
};
