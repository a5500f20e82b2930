// An event as a device of the host.
#pragma once

#include <array>

#include "host/driversupport/zrdriver.h"

// A driver with an event's name, and the event's id as its own. It has the six variables below but
// for those whose full name is somebody else's already. Their values are the event's: nobody else
// can set or force one.
//
// Threads   made and shown by whoever holds the lock of ZREventVariables; everything else on any.
class ZREventDevice final : public ZRDriver {
 public:
  enum tagWhich {
    kState,             // ST: 1 while the event is active, and 0 otherwise
    kActiveTime,        // TACT: s since its activation
    kActivations,       // CACT, of the period
    kDeactivations,     // CDIS, the same
    kAcknowledgements,  // CACK, the same
    kTotalTime          // CTIM: s that it was active in the period
  };
  static constexpr std::size_t kVariables = 6;

  // Without variables it has none of the six.
  ZREventDevice(const uuid& eventId, const ZRWString& eventName, bool hasVariables);

  // Good as of `utc` (ms).
  void Show(tagWhich which, double value, std::int64_t utc);

  // One of the six names.
  [[nodiscard]] static bool IsVariable(std::wstring_view name);

  void SetVariableValue(std::int64_t variable, double value) override;
  bool ForceValue(std::int64_t variable, const ZRValue& value, const wchar_t* name) override;
  bool ValueInfo(std::int64_t variable, tagSVariableValueInfo& info) const override;
  bool VariableInfo(const tagSVariableHandle& handle, tagSVariableInfo& info,
                    int reserved) override;

 private:
  [[nodiscard]] std::size_t PlaceOf(std::int64_t variable) const;

  std::array<std::int64_t, kVariables> numbers{};  // in the base; -1 for one that it hasn't
};
