// Whom an action of an event reaches: literal recipients, users and lists.
#pragma once

#include <string_view>
#include <vector>

#include "host/tools/xmldocument.h"
#include "host/tools/zrbasicstring.h"
#include "host/user/zrsystemuserssupport.h"

// How the element of a kind of action names its recipients.
struct tagRecipientWords {
  std::string_view literal;  // tag of one that stands for itself
  const char* parameter;     // of a user
  const wchar_t* index;      // the value of a user that says which one of the parameter's
  std::string_view lists;    // tag of the element with the lists
  std::string_view list;     // tag of one of them
  bool (ZRSystemUsersSupport::*membersOf)(const ZRWString& list,
                                          std::vector<ZRWString>& members) const;
};

// Appends the recipients that the element of an action names, in the order of the document, in
// UTF-8. One of a user or a list is appended unless it is there already, one that stands for
// itself in any case. A user, an index or a list that doesn't exist gives none.
void AppendRecipients(std::vector<ZRString>& recipients, const XmlDocument::XmlNode& action,
                      const tagRecipientWords& words);
