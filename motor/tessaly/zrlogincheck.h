// What is wrong with the users who log in at a site, and what is odd.
#pragma once

#include "host/support/zrtessalysetup.h"
#include "tessaly/zrfinding.h"

// kBroken for a file that can't be used. kHint for a user who can't log in, for a role that isn't
// there, for a right on a group or driver that isn't there, and for an address that isn't used.
// No digest is told.
void CheckLogins(const ZRTessalySetup& setup, ZRFindings& findings);
