#pragma once

#include "host/xmlsupport/zrdriverlayout.h"

// A column.
class ZRDriverLayoutVertical final : public ZRDriverLayout {
 public:
  explicit ZRDriverLayoutVertical(const ZRDriverLayoutMetrics* sharedMetrics)
      : ZRDriverLayout(sharedMetrics, L"vertical") {}
};
