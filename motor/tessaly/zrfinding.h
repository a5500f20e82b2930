// What the host has to say of a site's files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

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

// "config/default.xeve:42: dropped: event 'Pump': no condition". Controls are escaped.
[[nodiscard]] std::string FindingLine(const ZRFinding& finding);

[[nodiscard]] bool HasKind(const ZRFindings& findings, ZRFinding::tagKind kind);

// Write them to the log, each with the level that fits; to standard output.
void LogFindings(const ZRFindings& findings);
void PrintFindings(const ZRFindings& findings);
