// What is wrong with the users who log in at a site, and what is odd.
#pragma once

#include "host/support/zrtessalysetup.h"
#include "tessaly/zrfinding.h"
#include "zrevents/zreventsystem.h"

// kBroken for a file that can't be used. kHint for a user who can't log in, for a role that isn't
// there, and for an address that isn't used. No digest is told.
void CheckLogins(const ZRTessalySetup& setup, ZRFindings& findings);

// kHint for a right on a group that isn't in the store, or on a driver that isn't registered. After
// loading. Says nothing of a file that can't be used.
void CheckRights(const ZRTessalySetup& setup, const ZREventSystem& system, ZRFindings& findings);
