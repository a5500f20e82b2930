#pragma once

#include "host/base/zrvalue.h"
#include "host/driversupport/zrlivevalue.h"

// A variable looked up by its full name.
class ZRVariable {
 public:
  void Setup(const ZRWString& toFind) { fullName = toFind; }
  [[nodiscard]] const ZRWString& FullName() const { return fullName; }

 private:
  ZRWString fullName;
};

// A variable of a driver, held while it is read or written.
//
// Threads   an object stays on one thread; the variable is anybody's.
// Owns      a reference to the live value, from a Lock that succeeded to the end.
class ZRDriverVariable : public ZRVariable {
 public:
  ZRDriverVariable() = default;
  ~ZRDriverVariable();
  ZRDriverVariable(const ZRDriverVariable&) = delete;
  ZRDriverVariable& operator=(const ZRDriverVariable&) = delete;

  // Finds the variable; what was held before is given back. False if no driver has it. The flag is
  // reserved (false).
  [[nodiscard]] bool Lock(bool reserved);
  // Writes it, good as of now; a value that holds nothing makes it unavailable. Does nothing
  // without a Lock that succeeded.
  void SetValue(const ZRValue& value);
  // False, with `value` as it was, if there is no value at present.
  [[nodiscard]] bool Value(ZRValue& value) const;

 private:
  void Unlock();

  ZRLiveValue* held = nullptr;
};
