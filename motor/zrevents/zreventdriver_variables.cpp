// The two variables in which an event shows its state, and what else their driver is told.

#include "zrevents/zreventdriver.h"

void ZREventDriver::setDriverVariables(ZRDriver* driver, std::int64_t& state, std::int64_t& time) {
  stateVariable.store(state, std::memory_order_relaxed);
  timeVariable.store(time, std::memory_order_relaxed);
  stateDriver.store(driver, std::memory_order_release);
  updateDriverVariableState();
  updateDriverVariableTime();
}

void ZREventDriver::updateDriverVariableState() {
  ZRDriver* const driver = stateDriver.load(std::memory_order_acquire);
  if (driver == nullptr) return;
  if (IsEnabled()) {
    driver->SetVariableValue(stateVariable.load(std::memory_order_relaxed), 1.0);
  } else {
    driver->SetVariableValue(stateVariable.load(std::memory_order_relaxed), 0.0);
    driver->SetVariableValue(timeVariable.load(std::memory_order_relaxed), 0.0);
  }
}

void ZREventDriver::updateDriverVariableTime() {
  ZRDriver* const driver = stateDriver.load(std::memory_order_acquire);
  if (driver == nullptr) return;
  driver->SetVariableValue(timeVariable.load(std::memory_order_relaxed),
                           static_cast<double>(ActivedSeconds()));
}

void ZREventDriver::TellDriver(int status, const ZRDateTime& now) {
  ZRDriver* const driver = stateDriver.load(std::memory_order_acquire);
  if (driver == nullptr) return;
  driver->NoteMark(stateVariable.load(std::memory_order_relaxed), status, now.UtcMilliseconds());
}
