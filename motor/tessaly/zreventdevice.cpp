#include "tessaly/zreventdevice.h"

#include <algorithm>

#include "host/drivervariables/zrdrivervariablenames.h"

namespace {

struct tagVariable {
  const wchar_t* name;
  std::size_t flag;  // of zrflag
};
constexpr std::array<tagVariable, ZREventDevice::kVariables> kTable = {{
    {L"ST", zrflag::kState},
    {L"TACT", zrflag::kSeconds},
    {L"CACT", zrflag::kCount},
    {L"CDIS", zrflag::kCount},
    {L"CACK", zrflag::kCount},
    {L"CTIM", zrflag::kSeconds},
}};

constexpr const char* kSecond = "s";

}  // namespace

ZREventDevice::ZREventDevice(const uuid& eventId, const ZRWString& eventName, bool hasVariables)
    : ZRDriver(eventId.toWString(), eventName) {
  for (std::size_t place = 0; place < kVariables; ++place) {
    ZRWString fullName;
    JoinDriverVariable(eventName, kTable[place].name, fullName);
    const bool isFree = hasVariables && !ZRLiveValues::Get().IsPublished(fullName);
    numbers[place] = isFree ? AddVariable(kTable[place].name) : -1;
  }
}

void ZREventDevice::Show(tagWhich which, double value, std::int64_t utc) {
  const std::int64_t number = numbers[which];
  if (number >= 0) Variable(number).SetNumber(value, utc);
}

bool ZREventDevice::IsVariable(std::wstring_view name) {
  return std::any_of(kTable.begin(), kTable.end(),
                     [name](const tagVariable& variable) { return variable.name == name; });
}

void ZREventDevice::SetVariableValue(std::int64_t /*variable*/, double /*value*/) {}

bool ZREventDevice::ForceValue(std::int64_t /*variable*/, const ZRValue& /*value*/,
                               const wchar_t* /*name*/) {
  return false;
}

bool ZREventDevice::ValueInfo(std::int64_t variable, tagSVariableValueInfo& info) const {
  const std::size_t place = PlaceOf(variable);
  if (place == kVariables) return false;
  info = {};
  if (kTable[place].flag == zrflag::kSeconds) info.measure = kSecond;
  return true;
}

bool ZREventDevice::VariableInfo(const tagSVariableHandle& handle, tagSVariableInfo& info,
                                 int /*reserved*/) {
  const std::size_t place = PlaceOf(handle.number);
  if (place == kVariables) return false;
  info.name = kTable[place].name;
  info.flags.reset().set(kTable[place].flag);
  return true;
}

// kVariables for a number that there isn't.
std::size_t ZREventDevice::PlaceOf(std::int64_t variable) const {
  if (variable < 0) return kVariables;
  return static_cast<std::size_t>(std::find(numbers.begin(), numbers.end(), variable) -
                                  numbers.begin());
}
