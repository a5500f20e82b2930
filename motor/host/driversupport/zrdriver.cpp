#include "host/driversupport/zrdriver.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "host/drivervariables/zrdrivervariablenames.h"
#include "host/platform/zrplatform.h"
#include "host/tools/zrtext.h"

namespace {

ZRDriver::tagDrivers& Drivers() {
  static ZRDriver::tagDrivers drivers;
  return drivers;
}

std::atomic<ZRDriverSource*>& SourceInUse() {
  static std::atomic<ZRDriverSource*> source{nullptr};
  return source;
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

void ZRDriver::UseSource(ZRDriverSource* source) {
  SourceInUse().store(source, std::memory_order_release);
  ZRLiveValues::Get().UseSource(source);
}

ZRDriverSource* ZRDriver::Source() {
  return SourceInUse().load(std::memory_order_acquire);
}

ZRDriver* ZRDriver::LockDriver(const wchar_t* id, const void* /*reserved*/) {
  if (id == nullptr) return nullptr;
  const auto found = std::find_if(DriversBegin(), DriversEnd(),
                                  [id](const ZRDriver* driver) { return driver->Id() == id; });
  return found == DriversEnd() ? nullptr : *found;
}

ZRDriver* ZRDriver::FindVariable(const ZRWString& fullName, std::int64_t& variable) {
  ZRWString driverName;
  ZRWString variableName;
  if (!SplitDriverVariable(fullName, driverName, variableName)) return nullptr;
  for (ZRDriver* const driver : Drivers()) {
    if (driver->Name() != driverName) continue;
    const std::int64_t number = driver->VariableNumber(variableName);
    if (number < 0) continue;
    variable = number;
    return driver;
  }
  return Source() == nullptr ? nullptr : Source()->DriverOfVariable(fullName, variable);
}

bool ZRDriver::AcknowledgeRemoteEvent(ZRHttpRequest& /*request*/,
                                      const ZRWString& /*remoteEventId*/) {
  return false;
}

void ZRDriver::SetVariableValue(std::int64_t variable, double value) {
  if (HasVariable(variable)) {
    Variable(variable).SetNumber(value, ZRPlatform::Get().UtcMilliseconds());
  }
}

void ZRDriver::NoteMark(std::int64_t /*state*/, int /*mark*/, std::int64_t /*utc*/) {}

bool ZRDriver::ForceValue(std::int64_t variable, const ZRValue& value, const wchar_t* /*name*/) {
  if (!HasVariable(variable)) return false;
  if (value.IsString()) {
    Variable(variable).SetText(Utf16ToUtf8(value.String().View()).View(),
                               ZRPlatform::Get().UtcMilliseconds());
  } else if (value.IsNumeric()) {
    SetVariableValue(variable, value.Numeric());
  }
  return value.IsString() || value.IsNumeric();
}

bool ZRDriver::ValueInfo(std::int64_t variable, tagSVariableValueInfo& info) const {
  if (!HasVariable(variable)) return false;
  info = {};
  info.flags = tagSVariableValueInfo::kForceable;
  if (Variable(variable).HoldsText()) info.type = tagSVariableValueInfo::kText;
  return true;
}

bool ZRDriver::FindVariable(const wchar_t* variable, tagSVariableHandle& handle) {
  const std::int64_t number = VariableNumber(ZRWString(variable));
  if (number >= 0) handle.number = number;
  return number >= 0;
}

void ZRDriver::ReleaseVariable(tagSVariableHandle& handle, int /*reserved*/) {
  handle = {};
}

bool ZRDriver::VariableInfo(const tagSVariableHandle& handle, tagSVariableInfo& info,
                            int /*reserved*/) {
  const auto named = std::find_if(numbers.begin(), numbers.end(),
                                  [&](const auto& known) { return known.second == handle.number; });
  if (named == numbers.end()) return false;
  info.name = named->first;
  info.flags.reset().set(Variable(handle.number).HoldsText() ? zrflag::kText : zrflag::kNumber);
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

const ZRLiveValue& ZRDriver::Variable(std::int64_t number) const {
  return *variables[static_cast<std::size_t>(number)];
}

bool ZRDriver::HasVariable(std::int64_t number) const {
  return number >= 0 && static_cast<std::size_t>(number) < variables.size();
}

void ZRDriver::VisitVariables(const tagVisitor& visit) const {
  std::vector<const ZRWString*> names(variables.size());
  for (const auto& [name, number] : numbers)
    names[static_cast<std::size_t>(number)] = &name;
  for (std::size_t at = 0; at < names.size(); ++at)
    visit(static_cast<std::int64_t>(at), *names[at], *variables[at]);
}

std::int64_t ZRDriver::VariableNumber(const ZRWString& variable) const {
  const auto found = numbers.find(variable);
  return found == numbers.end() ? -1 : found->second;
}
