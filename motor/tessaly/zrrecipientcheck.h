// Whom the messages of an event don't reach.
#pragma once

#include <string_view>

#include "tessaly/zrelementcheck.h"

// True for mail and SMS actions.
[[nodiscard]] bool HasRecipients(std::string_view actionTag);

// Says what in the element of such an action names nobody: users, indexes and lists that the users
// in force don't have, and elements that nobody reads. Nothing of other actions. `check` is that of
// the event's element.
void CheckRecipients(const ZRElementCheck& check, const XmlDocument::XmlNode& action);
