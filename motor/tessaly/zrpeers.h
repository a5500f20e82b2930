// The other engines of a site's chain: where requests to them may go, and who this site is there.
#pragma once

#include <vector>

#include "host/remote/zrnetworks.h"
#include "host/remote/zrnetworkwire.h"
#include "host/support/zrtessalysetup.h"
#include "tessaly/zrfinding.h"

// The accounts of a site at other engines: peers.toml in the configuration folder, which its owner
// alone may read.
inline constexpr const char* kPeersFile = "peers.toml";

// Fill `networks` and `accounts` from the settings and that file; a missing one holds none. What is
// wrong is kBroken, and nothing is filled then.
void ReadPeers(const ZRTessalySetup& setup, ZRNetworks& networks,
               std::vector<ZRNetworkWire::tagAccount>& accounts, ZRFindings& findings);

// Says what is wrong with them.
void CheckPeers(const ZRTessalySetup& setup, ZRFindings& findings);
// Puts them into force for all requests from now on, unless something is broken: CheckPeers says
// what.
void TakePeers(const ZRTessalySetup& setup);
