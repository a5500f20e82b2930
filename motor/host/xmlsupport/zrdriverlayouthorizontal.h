#pragma once

#include "host/xmlsupport/zrdriverlayout.h"

// A row.
class ZRDriverLayoutHorizontal final : public ZRDriverLayout {
 public:
  explicit ZRDriverLayoutHorizontal(const ZRDriverLayoutMetrics* sharedMetrics)
      : ZRDriverLayout(sharedMetrics, L"horizontal") {}
};
