// The database of a site's system events.
#pragma once

#include "host/support/zrtessalysetup.h"
#include "tessaly/zrfinding.h"

[[nodiscard]] ZRWString SystemEventsFile(const ZRTessalySetup& setup);

// Keeps system events there from now on. kHint if it can't be opened.
void KeepSystemEvents(const ZRTessalySetup& setup, ZRFindings& findings);
