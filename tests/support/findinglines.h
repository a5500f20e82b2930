// Findings as the lines that are shown of them.
#pragma once

#include <string>
#include <vector>

#include "tessaly/zrfinding.h"

using Lines = std::vector<std::string>;

// What `step`, called with an empty list, puts into it; in its order.
template <typename Step>
Lines Found(Step step) {
  ZRFindings findings;
  step(findings);
  Lines lines;
  for (const ZRFinding& finding : findings)
    lines.push_back(FindingLine(finding));
  return lines;
}
