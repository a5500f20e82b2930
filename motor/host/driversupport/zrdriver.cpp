#include "host/driversupport/zrdriver.h"

#include <algorithm>
#include <utility>

#include "host/drivervariables/zrdrivervariablenames.h"
#include "host/platform/zrplatform.h"

namespace {

ZRDriver::tagDrivers& Drivers() {
  static ZRDriver::tagDrivers drivers;
  return drivers;
}

}  // namespace

ZRDriver::ZRDriver(const ZRWString& id, const ZRWString& name) : ownId(id), ownName(name) {}

ZRDriver::~ZRDriver() {
  for (ZRLiveValue* const variable : variables)
    ZRLiveValues::Get().Withdraw(variable);
}

ZRDriver* ZRDriver::Register(std::unique_ptr<ZRDriver> driver) {
  return Drivers().Append(std::move(driver));
}

void ZRDriver::UnregisterAll() {
  // Each is out of the list before it goes: its destructor may look drivers up.
  while (!Drivers().IsEmpty())
    (void)Drivers().TakeLast();
}

ZRDriver::const_iterator ZRDriver::DriversBegin() {
  return Drivers().begin();
}

ZRDriver::const_iterator ZRDriver::DriversEnd() {
  return Drivers().end();
}

ZRDriver* ZRDriver::LockDriver(const wchar_t* id, const void* /*reserved*/) {
  if (id == nullptr) return nullptr;
  const auto found = std::find_if(DriversBegin(), DriversEnd(),
                                  [id](const ZRDriver* driver) { return driver->Id() == id; });
  return found == DriversEnd() ? nullptr : *found;
}

void ZRDriver::SetVariableValue(std::int64_t variable, double value) {
  if (HasVariable(variable)) {
    Variable(variable).SetNumber(value, ZRPlatform::Get().UtcMilliseconds());
  }
}

bool ZRDriver::ForceValue(const ZRWString& variable, double value, const ZRWString& /*caller*/) {
  const std::int64_t number = VariableNumber(variable);
  if (number < 0) return false;
  SetVariableValue(number, value);
  return true;
}

void ZRDriver::CreateEventsXml(XmlDocument::XmlNode* /*events*/, XmlDocument::XmlNode* /*groups*/,
                               const ZRWideMap& /*screens*/) {}

std::int64_t ZRDriver::AddVariable(const ZRWString& variable) {
  const auto next = static_cast<std::int64_t>(variables.size());
  const auto [known, isNew] = numbers.emplace(variable, next);
  if (isNew) {
    ZRWString fullName;
    JoinDriverVariable(ownName, variable, fullName);
    variables.push_back(ZRLiveValues::Get().Publish(fullName));
  }
  return known->second;
}

ZRLiveValue& ZRDriver::Variable(std::int64_t number) {
  return *variables[static_cast<std::size_t>(number)];
}

bool ZRDriver::HasVariable(std::int64_t number) const {
  return number >= 0 && static_cast<std::size_t>(number) < variables.size();
}

std::int64_t ZRDriver::VariableNumber(const ZRWString& variable) const {
  const auto found = numbers.find(variable);
  return found == numbers.end() ? -1 : found->second;
}
