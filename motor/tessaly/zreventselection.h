// Which variables of an event can be selected, over HTTP; and the device of an event for a caller.
#pragma once

#include "host/remote/zrwebserver.h"
#include "tessaly/zrchaindoor.h"

class ZRDriver;

// The device of the first event of that name that is found; null if there is none, and for a caller
// who may not see the active events of one of its groups. While a pass of the door is held.
[[nodiscard]] ZRDriver* EventDeviceOfName(const ZRWString& name, ZRHttpRequest& request);

// Binds the form of an event's variables. The door, which outlives the web server's work, says when
// there are events.
void BindSelection(ZRWebServer& web, ZRChainDoor& door);
