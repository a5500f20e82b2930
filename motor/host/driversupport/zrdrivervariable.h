#pragma once

#include "host/base/zrvalue.h"
#include "host/driversupport/zrlivevalue.h"
#include "host/driversupport/zrvariablevalueinfo.h"

class ZRDriver;

// A variable that is called by its full name.
class ZRVariable {
 public:
  virtual ~ZRVariable() = default;

  // Binds the object to the variable of that name.
  void Setup(const ZRWString& toBind) {
    fullName = toBind;
    Bind();
  }
  [[nodiscard]] const ZRWString& Name() const { return fullName; }  // as given to Setup

  // The name denoted a variable at Setup.
  [[nodiscard]] virtual bool IsValid() const = 0;
  // The variable can be used at present.
  [[nodiscard]] virtual bool IsReady() const = 0;

 protected:
  ZRVariable() = default;
  ZRVariable(const ZRVariable&) = default;
  ZRVariable& operator=(const ZRVariable&) = default;

  virtual void Bind() = 0;

 private:
  ZRWString fullName;
};

// A variable of a driver, held while it is read or written.
//
// Threads   an object stays on one thread; the variable is anybody's.
// Owns      a reference to the live value, from a Lock that succeeded to the end. The driver is
//           the registry's, and outlives whoever asks for it.
class ZRDriverVariable : public ZRVariable {
 public:
  ZRDriverVariable() = default;
  ~ZRDriverVariable() override;
  // A copy is bound to the same variable, and holds nothing.
  ZRDriverVariable(const ZRDriverVariable& other);
  ZRDriverVariable& operator=(const ZRDriverVariable&) = delete;

  // A registered driver had a variable of that name at Setup.
  [[nodiscard]] bool IsValid() const override { return driver != nullptr; }
  // It is valid, and its driver is online.
  [[nodiscard]] bool IsReady() const override;

  [[nodiscard]] ZRDriver* Driver() const { return driver; }  // null unless it is valid
  [[nodiscard]] std::int64_t Id() const { return id; }       // the driver's number; -1 unless valid
  // What the driver tells of it. False, and `info` as it was, unless it is valid.
  [[nodiscard]] bool ValueInfo(tagSVariableValueInfo& info) const;

  // Finds the live value of that name, be it a driver's or not; what was held before is given
  // back. False if nobody publishes it. The flag is reserved (false).
  [[nodiscard]] bool Lock(bool reserved);
  // Writes it, good as of now; a value that holds nothing makes it unavailable. Does nothing
  // without a Lock that succeeded.
  void SetValue(const ZRValue& value);
  // False, with `value` as it was, if there is no value at present.
  [[nodiscard]] bool Value(ZRValue& value) const;

 protected:
  void Bind() override;

 private:
  void Unlock();

  ZRDriver* driver = nullptr;
  std::int64_t id = -1;
  ZRLiveValue* held = nullptr;
};
