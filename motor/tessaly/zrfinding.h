// What the host has to say of a site's files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/support/zrtessalysetup.h"

struct ZRFinding {
  enum class tagKind {
    kBroken,   // a file can't be used at all
    kDropped,  // an element, or a value of one, isn't in force
    kChanged,  // it is in force, but not as it stands
    kHint,     // nothing is lost; it may not be meant so
  };

  tagKind kind = tagKind::kHint;
  std::string file;  // below the site
  std::uint64_t line = 0;
  std::uint64_t column = 0;  // both from 1; 0 where no place is to blame
  std::string text;
};

using ZRFindings = std::vector<ZRFinding>;

// Adds what settings have against them.
void AddProblems(const std::vector<ZRSettingProblem>& problems, ZRFinding::tagKind kind,
                 ZRFindings& findings);

// "config/default.xeve:42: dropped: event 'Pump': no condition". Controls are escaped.
[[nodiscard]] std::string FindingLine(const ZRFinding& finding);

[[nodiscard]] bool HasKind(const ZRFindings& findings, ZRFinding::tagKind kind);

// Of one list at most so many are shown, and how many more there are: hints go last, and are the
// first to be left out.
inline constexpr std::size_t kMostShown = 200;

// Write them to the log, each with the level that fits; to standard output.
void LogFindings(const ZRFindings& findings);
void PrintFindings(const ZRFindings& findings);
