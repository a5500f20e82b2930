// The words behind `tessaly`.
#pragma once

#include <string>

// Exit codes of the process.
inline constexpr int kExitDone = 0;
inline constexpr int kExitFaulty = 1;      // the work was done, and something was wrong
inline constexpr int kExitImpossible = 2;  // the work couldn't be tried: usage, site, settings

struct ZRCommand {
  enum class tagVerb { kNone, kRun, kCheck, kEval, kReplay };

  tagVerb verb = tagVerb::kNone;
  int exitCode = kExitDone;  // for kNone: help was shown, or the words make no sense
  std::string site;
  std::string expression;  // for kEval
  int port = -1;           // for kRun; -1: as the settings say
};

// Reads the command line; help, the version and complaints are printed at once.
[[nodiscard]] ZRCommand ParseCommandLine(int count, const char* const* words);
