// Devices on a Modbus bus.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "host/drivers/zrpolleddriver.h"
#include "host/modbus/zrmodbusplan.h"
#include "host/modbus/zrmodbuswire.h"

// What all devices of a kind have.
struct ZRModbusMap {
  std::vector<ZRModbusRegister> registers;
  std::vector<ZRModbusBlock> blocks;  // that read all of them
};

// One device. Its variables are called `prefix` + the register's name, and `prefix` + ONLINE.
struct ZRModbusMeter {
  ZRWString prefix;  // "M1.", or nothing
  std::uint8_t unit = 1;
  std::shared_ptr<const ZRModbusMap> map;
};

struct ZRModbusSettings {
  ZRModbusBus bus;
  std::uint32_t pause = 0;  // ms before each request
  int missed = 3;           // periods without a value, until there is none
  std::vector<ZRModbusMeter> meters;
};

// Reads the registers of all devices on a bus, each block in its period, and writes what is forced.
//
// A device that doesn't answer is asked less and less often, down to once in 30 s, and so is a bus
// that can't be reached, and a block that the device refuses.
//
// Threads   as ZRPolledDriver: all that is said on the bus is said by the driver's thread, the
//           first pass included. ForceValue on any.
// Order     its mutex is a leaf; it isn't held while something is said on the bus.
// Promise   Start waits for no device. Stop returns within twice the time-out of the bus and its
//           pause.
class ZRModbusDriver final : public ZRPolledDriver {
 public:
  static constexpr std::uint32_t kDefaultPeriod = 1000;   // ms
  static constexpr std::uint32_t kForcePatience = 1000;   // ms
  static constexpr std::uint32_t kLongestRetry = 30'000;  // ms, or the period if that is longer

  ZRModbusDriver(const ZRWString& ofId, const ZRWString& ofName, std::uint32_t periodMilliseconds,
                 ZRModbusSettings toUse);
  ~ZRModbusDriver() override;

  void Poll(std::int64_t utc) override;
  [[nodiscard]] bool Prepare() override;
  void Stop() override;
  // Some device answers.
  [[nodiscard]] bool IsOnline() const override { return answers.load(std::memory_order_acquire); }
  [[nodiscard]] bool ReachesDevices() const override { return true; }
  [[nodiscard]] std::string SerialLine() const override { return settings.bus.device; }
  // Has the device told, and waits for its answer: kForcePatience at most. What hasn't been begun
  // by then isn't done. False for what can't be written and for a device that doesn't answer.
  [[nodiscard]] bool ForceValue(std::int64_t variable, const ZRValue& value,
                                const wchar_t* name) override;
  [[nodiscard]] bool ValueInfo(std::int64_t variable, tagSVariableValueInfo& info) const override;
  // Of the bus, or of the first device that has any.
  [[nodiscard]] ZRString Trouble() const override;

 protected:
  [[nodiscard]] std::int64_t NextDue(std::int64_t due) const override;

 private:
  // Since when something fails, and for how long it was good. Times as Elapsed.
  struct tagHealth {
    int failures = 0;            // in a row
    std::int64_t lastGood = -1;  // negative: never
    std::int64_t retry = 0;      // not before
    std::string told;            // in the log; empty: nothing is wrong
  };
  struct tagRead {
    std::int64_t due = 0;
    bool shown = false;  // its variables have values
    tagHealth health;
  };
  struct tagMeter {
    std::int64_t first = 0;      // number of ONLINE; the registers follow
    std::vector<tagRead> reads;  // as the blocks of the map
    std::vector<double> raws;    // by register, NaN: none
    tagHealth health;
    bool online = false;
  };
  struct tagForced {
    enum class tagState { kWaiting, kUnderWay, kDone, kFailed };
    std::size_t meter = 0;
    std::size_t index = 0;
    double value = 0.0;
    tagState state = tagState::kWaiting;
  };
  using tagForcedPointer = std::shared_ptr<tagForced>;

  void AskDue(std::size_t meter);
  void Ask(std::size_t meter, std::size_t block);
  [[nodiscard]] ZRModbusAnswer Exchange(std::size_t meter, const ZRModbusRequest& request);
  void TellOutcome(std::size_t meter, const ZRModbusAnswer& answer, const std::string& reason);
  void Accept(std::size_t meter, std::size_t block, const std::vector<std::uint16_t>& values);
  void Show(std::size_t meter, std::size_t index, const std::vector<std::uint16_t>& words);
  void Expire();
  void ShowOnline(tagMeter& meter, bool isOnline);
  void Plan();
  void NoteTrouble();
  [[nodiscard]] bool IsLost(const tagHealth& health, std::uint32_t each) const;

  void WriteForced();
  [[nodiscard]] tagForcedPointer NextForced();
  void EndForced(tagForced& forced, bool done);
  [[nodiscard]] bool Write(const tagForced& forced);
  [[nodiscard]] bool FindRegister(std::int64_t variable, std::size_t& meter,
                                  std::size_t& index) const;
  [[nodiscard]] const ZRModbusRegister& RegisterOf(std::size_t meter, std::size_t index) const {
    return settings.meters[meter].map->registers[index];
  }

  void Good(tagHealth& health, const std::string& who);
  void Bad(tagHealth& health, std::uint32_t each, const std::string& what);
  [[nodiscard]] std::string NameOf(std::size_t meter) const;

  const ZRModbusSettings settings;
  // The thread of the passes only:
  std::unique_ptr<ZRModbusLink> link;
  std::vector<tagMeter> meters;  // `first` is constant after the constructor
  tagHealth busHealth;
  std::int64_t now = 0;
  std::int64_t nextDue = 0;
  bool isFirstPass = true;
  bool hasFailed = false;  // something, in this pass
  bool toldSlow = false;

  std::atomic<bool> answers{false};
  mutable ZRMutex mutex;
  ZRCondition ended;
  bool takesForced ZR_GUARDED_BY(mutex) = false;
  std::vector<bool> answering ZR_GUARDED_BY(mutex);  // by meter
  std::deque<tagForcedPointer> toForce ZR_GUARDED_BY(mutex);
  std::string trouble ZR_GUARDED_BY(mutex);
};
