// The table [bus] of the settings file.
#pragma once

#include "host/tools/zrbasicstring.h"

struct ZRBusSettings {
  static constexpr int kMostWaiting = 1'000'000;

  ZRString host;  // of the broker; empty: there is no bus
  int port = 0;   // 0: the usual one, by `tls`
  ZRString prefix{"tessaly"};
  ZRString clientId;  // empty: made from the engine's id
  ZRString user;      // empty: without a login. The password isn't in this file
  bool tls = false;
  ZRWString ca, certificate, key;  // files; relative ones in the file are below the site
  bool discovery = false;
  ZRString discoveryPrefix{"homeassistant"};
  int qos = 1;
  int queue = 10'000;  // messages
};
