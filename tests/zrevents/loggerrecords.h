// Occurrences by numbers, and a group of them.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "zrevents/history/zreventloggerdata.h"
#include "zrevents/zreventstatus.h"

using CDataRecord = ZREventLoggerData::CDataRecord;
using CRecordGroup = ZREventLoggerData::CRecordGroup;
using CDataRecordTotalized = ZREventLoggerData::CDataRecordTotalized;
using CRecordGroupTotalized = ZREventLoggerData::CRecordGroupTotalized;

inline constexpr std::uint32_t kNever = 0xFFFFFFFFu;
inline constexpr std::int64_t kStart = 1'767'225'600'000;  // 2026-01-01, in milliseconds

inline uuid Id(int number) {
  uuid id;
  id.bytes[15] = static_cast<std::uint8_t>(number);
  id.bytes[14] = static_cast<std::uint8_t>(number >> 8);
  return id;
}
inline uuid Event(int number) {
  uuid id = Id(number);
  id.bytes[0] = 0xEE;
  return id;
}
inline ZRDateTime At(double seconds) {
  return ZRDateTime::FromUtcMilliseconds(kStart + static_cast<std::int64_t>(seconds * 1000));
}

// Vocabulary: steps of occurrences, by numbers; what the group then holds.
class LoggerRecords : public ::testing::Test {
 protected:
  CDataRecord* Add(int event, int occurrence, const ZRDateTime& date, int value,
                   const std::string& annotation = "", bool notify = false) {
    return group.AddRecord(Event(event), Id(occurrence), date, value, ZRString(annotation.c_str()),
                           ZRString("reserved"), ZRString("too"), notify);
  }
  CDataRecord* On(int occurrence, double seconds, int event = 1) {
    return Add(event, occurrence, At(seconds), kActivated);
  }
  CDataRecord* Off(int occurrence, double seconds) {
    return Add(1, occurrence, At(seconds), kDeactivated);
  }
  CDataRecord* Ack(int occurrence, double seconds) {
    return Add(1, occurrence, At(seconds), kAcknowledged);
  }
  // The occurrences by their numbers, in order.
  static std::string Order(const CRecordGroup& of) {
    std::string order;
    for (auto record = of.Begin(); record != of.End(); ++record)
      order += (order.empty() ? "" : " ") + std::to_string((*record)->RecordId().bytes[15]);
    return order;
  }
  [[nodiscard]] std::string Order() const { return Order(group); }

  ZREventLoggerInfo info;
  CRecordGroup group{&info};
};
