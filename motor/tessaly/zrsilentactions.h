// Keeps the events of a site from reaching anybody.
#pragma once

#include <utility>
#include <vector>

#include "zrevents/actions/zreventaction.h"

// While it lives, actions that start a program, send a mail or send an SMS load as always and do
// nothing.
//
// Threads   one, while nothing loads. What is loaded meanwhile goes before it.
class ZRSilentActions {
 public:
  ZRSilentActions();
  ~ZRSilentActions();
  ZRSilentActions(const ZRSilentActions&) = delete;
  ZRSilentActions& operator=(const ZRSilentActions&) = delete;

 private:
  std::vector<std::pair<std::string_view, ZREventActionKinds::tagMaker>> former;
};
