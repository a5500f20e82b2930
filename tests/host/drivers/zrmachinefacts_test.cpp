#include "host/drivers/zrmachinefacts.h"

#include <gtest/gtest.h>

namespace {

TEST(MachineFacts, LoadAveragesAreTheFirstThreeNumbers) {
  const auto averages = ReadLoadAverages("0.52 1.25 12.00 2/345 6789\n");
  ASSERT_TRUE(averages);
  EXPECT_EQ((ZRLoadAverages{0.52, 1.25, 12.0}), *averages);
  EXPECT_FALSE(ReadLoadAverages("0.52 1.25\n"));
  EXPECT_FALSE(ReadLoadAverages("0.52 x 12.00"));
  EXPECT_FALSE(ReadLoadAverages("0.52 nan 12.00"));
  EXPECT_FALSE(ReadLoadAverages(""));
}

TEST(MachineFacts, IdlingAndWaitingProcessorsArentBusy) {
  const auto times = ReadProcessorTimes("cpu  100 20 30 800 40 5 6 7 50 60\ncpu0 1 2 3 4\n");
  ASSERT_TRUE(times);
  EXPECT_EQ(1008u, times->all);
  EXPECT_EQ(168u, times->busy);
}

TEST(MachineFacts, ProcessorTimesOfOldSystemsAreFour) {
  const auto times = ReadProcessorTimes("cpu 1 2 3 4\n");
  ASSERT_TRUE(times);
  EXPECT_EQ(10u, times->all);
  EXPECT_EQ(6u, times->busy);
  EXPECT_FALSE(ReadProcessorTimes("cpu 1 2 3\n"));
  EXPECT_FALSE(ReadProcessorTimes("cpu0 1 2 3 4\n"));
  EXPECT_FALSE(ReadProcessorTimes("cpu 1 2 -3 4\n"));
}

TEST(MachineFacts, BusyIsThePartOfTheTimeBetweenTwoReadings) {
  EXPECT_EQ(25.0, PercentBusy({100, 1000}, {150, 1200}));
  EXPECT_EQ(0.0, PercentBusy({100, 1000}, {100, 1200}));
  EXPECT_EQ(100.0, PercentBusy({100, 1000}, {500, 1200}));
  EXPECT_FALSE(PercentBusy({100, 1000}, {100, 1000}));
  EXPECT_FALSE(PercentBusy({100, 1000}, {90, 1100}));
  EXPECT_FALSE(PercentBusy({100, 1000}, {100, 900}));
}

TEST(MachineFacts, MemoryIsTotalAndAvailable) {
  const auto memory =
      ReadMemory("MemTotal:        8000 kB\nMemFree: 1 kB\nMemAvailable:    2000 kB\n");
  ASSERT_TRUE(memory);
  EXPECT_EQ(8000u * 1024, memory->total);
  EXPECT_EQ(2000u * 1024, memory->available);
  EXPECT_FALSE(ReadMemory("MemTotal: 8000 kB\nMemFree: 1 kB\n"));
  EXPECT_FALSE(ReadMemory("MemTotal: \nMemAvailable: 1 kB"));
}

TEST(MachineFacts, UsedIsWhatIsntAvailable) {
  EXPECT_EQ(75.0, PercentUsed(8000, 2000));
  EXPECT_EQ(0.0, PercentUsed(8000, 8000));
  EXPECT_FALSE(PercentUsed(0, 0));
  EXPECT_FALSE(PercentUsed(1, 2));
}

TEST(MachineFacts, TemperaturesAreThousandthsAndHaveToBePossible) {
  EXPECT_EQ(47.5, ReadTemperature("47500\n"));
  EXPECT_EQ(-10.0, ReadTemperature("-10000\n"));
  EXPECT_FALSE(ReadTemperature("-273150\n"));
  EXPECT_FALSE(ReadTemperature("65535000\n"));
  EXPECT_FALSE(ReadTemperature("\n"));
  EXPECT_FALSE(ReadTemperature("hot"));
}

TEST(MachineFacts, ProcessesAreTheEntriesThatAreNumbers) {
  EXPECT_EQ(2u, CountProcesses({"1", "4321", "self", "1a", "stat"}));
  EXPECT_EQ(0u, CountProcesses({}));
}

TEST(MachineFacts, KnowsTheFilesOfTemperatures) {
  EXPECT_TRUE(IsTemperatureFile("temp"));
  EXPECT_TRUE(IsTemperatureFile("temp1_input"));
  EXPECT_TRUE(IsTemperatureFile("temp12_input"));
  EXPECT_FALSE(IsTemperatureFile("temp_input"));
  EXPECT_FALSE(IsTemperatureFile("temp1_max"));
  EXPECT_FALSE(IsTemperatureFile("fan1_input"));
}

}  // namespace
