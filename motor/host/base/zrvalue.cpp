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

void ZRVSValue::CopyTo(ZRValue& target) const {
  if ((type & kText) != 0) {
    target.SetString(text);
  } else {
    target.SetNumeric(number);
  }
}
