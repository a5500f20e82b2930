// Measures that the layouts of one form share.
#pragma once

struct ZRDriverLayoutMetrics {
  int gap = 8;  // least size of a gap that is as large as needed, in pixels
};
