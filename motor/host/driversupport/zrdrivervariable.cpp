#include "host/driversupport/zrdrivervariable.h"

#include "host/driversupport/zrdriver.h"
#include "host/platform/zrplatform.h"
#include "host/tools/zrtext.h"

ZRDriverVariable::~ZRDriverVariable() {
  Unlock();
}

ZRDriverVariable::ZRDriverVariable(const ZRDriverVariable& other)
    : ZRVariable(other), driver(other.driver), id(other.id) {}

void ZRDriverVariable::Bind() {
  id = -1;
  driver = ZRDriver::FindVariable(Name(), id);
}

bool ZRDriverVariable::IsReady() const {
  return driver != nullptr && driver->IsOnline();
}

bool ZRDriverVariable::ValueInfo(tagSVariableValueInfo& info) const {
  return driver != nullptr && driver->ValueInfo(id, info);
}

bool ZRDriverVariable::Lock(bool /*reserved*/) {
  Unlock();
  held = ZRLiveValues::Get().Find(Name());
  return held != nullptr;
}

void ZRDriverVariable::SetValue(const ZRValue& value) {
  if (held == nullptr) return;
  const std::int64_t utc = ZRPlatform::Get().UtcMilliseconds();
  if (value.IsNumeric()) {
    held->SetNumber(value.Numeric(), utc);
  } else if (value.IsString()) {
    ZRString utf8;
    Utf16ToUtf8(utf8, value.String());
    held->SetText(utf8.View(), utc);
  } else {
    held->SetUnavailable();
  }
}

bool ZRDriverVariable::Value(ZRValue& value) const {
  if (held == nullptr) return false;
  double number = 0.0;
  if (held->Number(number)) {
    value.SetNumeric(number);
    return true;
  }
  char buffer[ZRLiveValue::kMaximumText];
  std::size_t length = 0;
  if (!held->Text(buffer, length)) return false;
  value.SetString(Utf8ToUtf16(std::string_view(buffer, length)));
  return true;
}

void ZRDriverVariable::Unlock() {
  if (held != nullptr) ZRLiveValues::Get().Release(held);
  held = nullptr;
}
