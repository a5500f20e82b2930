// What became of an event's actions.
#pragma once

#include "tessaly/zrelementcheck.h"
#include "zrevents/zreventdriver.h"

// The two lists of actions of an event.
enum class ZRActionSide { kServer, kClients };

// Says why the element of an action isn't one of the event's actions, and what of it isn't in
// force or has no effect on that side. `check` is that of the event's element.
void CheckAction(const ZRElementCheck& check, const XmlDocument::XmlNode& action, ZRActionSide side,
                 ZREventDriver& event);
