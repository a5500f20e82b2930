#include "host/base/zrvalue.h"

void ZRValue::SetNumeric(double toHold) {
  kind = tagKind::kNumber;
  number = toHold;
  text.Clear();
}

void ZRValue::SetString(const ZRWString& toHold) {
  kind = tagKind::kText;
  number = 0.0;
  text = toHold;
}
