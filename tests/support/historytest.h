// Events with data files in a folder of their own.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <list>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/driversupport/eventfile/zreventfile.h"
#include "host/driversupport/eventfile/zreventfilesync.h"
#include "support/enginetest.h"
#include "zrevents/history/zreventloggerdata.h"
#include "zrevents/zreventstatus.h"

// An event outside of the store, with what its derived classes may call.
class HistoryEvent final : public ZREventDriver {
 public:
  HistoryEvent(const std::string& called, bool isNotified) {
    EventXml definition(called);
    definition.Condition("1 = 0").Record();
    if (isNotified) definition.Notify();
    EXPECT_TRUE(document.Parse(definition.Xml().c_str()));
    EXPECT_TRUE(LoadXml(document.Root()));
  }

  void Save(tagSEventRT& transition) ZR_NO_ANALYSIS { SaveEvent(&transition); }
  bool LoadFile(ZREventLoggerData& data, const ZRDateTime& from, const ZRDateTime& to,
                const wchar_t* fileName) {
    return ZREventDriver::Load(data, from, to, fileName);
  }
  bool LoadRest(ZREventLoggerData& data, const ZRDateTime& from, const wchar_t* fileName,
                std::list<uuid>& incomplete) {
    return LoadIncomplete(data, from, fileName, incomplete);
  }
  bool SearchBefore(ZREventLoggerData& data, const ZRDateTime& from) {
    return SearchActivationBeforePeriod(data, from);
  }
  int Share(int percent) { return GetAbsoluteNumEvents(percent); }
  [[nodiscard]] std::string PathAt(const ZRDateTime& when, int size = 260, int type = 0) {
    std::vector<wchar_t> buffer(static_cast<std::size_t>(size) + 1, L'#');
    EventFileName(buffer.data(), size, when, type);
    EXPECT_EQ(buffer.back(), L'#') << "behind the buffer";
    return Narrow(ZRWString(buffer.data()));
  }

 private:
  XmlDocument document;
};

// A response whose parts take their time: who writes it under a lock keeps the lock for so long.
class SlowWriting final : public ZRHttpResponse {
 public:
  explicit SlowWriting(std::uint32_t milliseconds) : each(milliseconds) {}
  void Begin(int, int) override {}
  void Write(const ZRBasicString<char>&) override { ZRPlatform::Get().Sleep(each); }
  void Write(const char*, int) override { ZRPlatform::Get().Sleep(each); }
  bool End() override { return true; }

 private:
  std::uint32_t each;
};

// Vocabulary: an event that is Made, transitions that are Saved or Written at a date "2026-03-05
// 10:00:00", and what the Files hold: "1:on" for a step and its text, one behind the other.
class HistoryTest : public EngineTest {
 protected:
  HistoryTest() {
    LoadXeve("");  // the fixed groups
    ZREventFileSync::Get().SetDurability(ZRDurability::kOff);
    Make("Boiler");
  }
  ~HistoryTest() override {
    event.reset();
    ZREventFileSync::Get().SetDurability(ZRDurability::kAdaptive);
  }

  HistoryEvent& Make(const std::string& name, bool isNotified = false) {
    event = std::make_unique<HistoryEvent>(name, isNotified);
    return *event;
  }

  static ZRDateTime At(const std::string& text, int millisecond = 0) {
    std::array<int, 6> field{};
    const int read = std::sscanf(text.c_str(), "%d-%d-%d %d:%d:%d", &field[0], &field[1], &field[2],
                                 &field[3], &field[4], &field[5]);
    EXPECT_GE(read, 3) << text;
    ZRDateTime date;
    date.SetDateTime(field[0], field[1], field[2], field[3], field[4], field[5], millisecond, 0);
    return date;
  }
  static uuid Id(int number) {
    uuid id;
    id.bytes[0] = 0x0C;
    id.bytes[15] = static_cast<std::uint8_t>(number);
    return id;
  }

  // Through the event, as its state machine does it.
  void Save(int occurrence, const std::string& when, int value, const std::string& text = "") {
    tagSEventRT transition;
    transition.id = Id(occurrence);
    transition.status = value;
    transition.actived = At(when);
    transition.annotation = ZRString(text.c_str());
    event->Save(transition);
  }
  // Straight into the file of the month.
  void Write(int occurrence, const std::string& when, double value, const std::string& text = "") {
    WriteInto(event->PathAt(At(when)), occurrence, when, value, text);
  }
  static void WriteInto(const std::string& path, int occurrence, const std::string& when,
                        double value, const std::string& text = "") {
    const ZRWString wide = Wide(path);
    ZREventFile file(true);
    if (!file.Open(wide.Text(), false)) {
      ASSERT_TRUE(ZREventFile::Create(wide.Text(), {ZREventFile::kType, ZREventFile::kCapacity}));
      ASSERT_TRUE(file.Open(wide.Text(), false));
    }
    ZRDateTime date = At(when);
    ASSERT_TRUE(file.NewRecord());
    file.SetEventId(Id(occurrence));
    file.SetDateValue(date);
    file.SetEventValue(value);
    file.SetEventAnnotation(ZRString(text.c_str()));
    ASSERT_TRUE(file.Update());
  }

  // The steps of one file; "-" if there is none.
  [[nodiscard]] std::string Steps(const std::string& below) const {
    ZREventFile file(true);
    if (!file.Open(Wide((site.path / "data" / below).string()).Text(), true)) return "-";
    std::string steps;
    for (int i = 0; i < file.numRecords; ++i) {
      uuid id;
      EXPECT_TRUE(file.GoRecord(i));
      file.EventId(id);
      steps += (i == 0 ? "" : " ") + std::to_string(id.bytes[15]) + ":" +
               std::to_string(static_cast<int>(file.EventValue())) +
               std::string(file.EventAnnotationView());
    }
    return steps;
  }
  // The paths of all files below the data folder, in order.
  [[nodiscard]] std::string Files() const {
    std::set<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(site.path / "data"))
      if (entry.is_regular_file())
        files.insert(std::filesystem::relative(entry.path(), site.path / "data").string());
    std::string all;
    for (const std::string& file : files)
      all += (all.empty() ? "" : ", ") + file;
    return all;
  }

  // The occurrences of a group: number, time of day of the activation, "a" and "d" with the
  // offsets that are there.
  [[nodiscard]] static std::string Shown(ZREventLoggerData& data) {
    std::string all;
    for (auto at = data.RecordGroup().Begin(); at != data.RecordGroup().End(); ++at) {
      const auto& record = **at;
      ZRString time;
      (void)DateTime2String(time, record.Time(), false, false);
      all += (all.empty() ? "" : "; ") + std::to_string(record.RecordId().bytes[15]) + " " +
             Str(time).substr(5);
      if (record.AckOffset() != ZREventLoggerData::kNoOffset)
        all += " a" + std::to_string(record.AckOffset());
      if (record.DisableOffset() != ZREventLoggerData::kNoOffset)
        all += " d" + std::to_string(record.DisableOffset());
    }
    return all;
  }
  // The occurrences of a period.
  std::string Loaded(const std::string& from, const std::string& to, bool searchBefore = false,
                     bool isFound = true) {
    ZREventLoggerData data;
    EXPECT_EQ(event->Load(data, At(from), At(to), searchBefore), isFound);
    return Shown(data);
  }

  std::unique_ptr<HistoryEvent> event;
};
