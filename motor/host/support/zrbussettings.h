// The table [bus] of the settings file.
#pragma once

#include <vector>

#include "host/tools/zrbasicstring.h"

struct ZRBusSettings {
  static constexpr int kMostWaiting = 1'000'000;

  ZRString kind{"mqtt"};  // or "kafka"
  ZRString host;          // of the broker; empty: there is no bus
  int port = 0;           // 0: the usual one, by `kind` and `tls`
  ZRString prefix{"tessaly"};
  ZRString clientId;  // empty: made from the engine's id
  ZRString user;      // empty: without a login. The password isn't in this file
  bool tls = false;
  ZRWString ca, certificate, key;  // files; relative ones in the file are below the site
  int queue = 10'000;              // messages
  // MQTT only.
  bool discovery = false;
  ZRString discoveryPrefix{"homeassistant"};
  int qos = 1;
  // Kafka only.
  std::vector<ZRString> further;        // brokers to begin with, besides `host`
  ZRString mechanism{"SCRAM-SHA-512"};  // of the login
  ZRString compression{"lz4"};
};
