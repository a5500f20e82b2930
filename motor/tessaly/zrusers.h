// The users of a site, and what is wrong with their file.
#pragma once

#include "host/support/zrtessalysetup.h"
#include "host/user/zrsystemuserssupport.h"
#include "tessaly/zrfinding.h"

// Fills `users` from the configuration folder. What is wrong is kBroken, and nothing changes; what
// is odd is kHint.
void LoadUsers(const ZRTessalySetup& setup, ZRSystemUsersSupport& users, ZRFindings& findings);
