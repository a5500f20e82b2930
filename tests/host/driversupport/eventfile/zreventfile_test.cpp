#include "host/driversupport/eventfile/zreventfile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "host/driversupport/eventfile/datafolder.h"
#include "support/chance.h"

namespace {

class EventFile : public testing::Test {
 protected:
  DataFolder folder;
  const ZRWString& path = folder.path;

  // Appends all through one object.
  void SaveAll(const std::vector<tagTransition>& transitions) const {
    (void)ZREventFile::Create(path.Text(), kNewFile);
    ZREventFile file(true);
    ASSERT_TRUE(file.Open(path.Text(), false));
    for (const tagTransition& transition : transitions) {
      ASSERT_TRUE(file.NewRecord());
      Fill(file, transition);
      ASSERT_TRUE(file.Update());
    }
    ASSERT_EQ(file.numRecords, static_cast<int>(transitions.size()));
  }
};

TEST_F(EventFile, TheFirstRecordMakesTheFoldersAndCanBeReadAtOnce) {
  const tagTransition on{1, Date(1), 1, "hot &amp; high"};
  ASSERT_TRUE(Save(path, on));
  EXPECT_EQ(Load(path), std::vector{on});
  EXPECT_EQ(folder.Files(), std::vector<std::string>{DataFolder::kFile});
}

TEST_F(EventFile, KeepsTheFourFieldsOfEachRecordInTheOrderOfWriting) {
  std::vector<tagTransition> all;
  for (std::uint64_t i = 0; i < 30; ++i) {
    all.push_back({i, Date(static_cast<double>(i)), static_cast<double>(1 + i % 4),
                   std::string(i * 3, static_cast<char>('a' + i % 26))});
    ASSERT_TRUE(Save(path, all.back()));
  }
  EXPECT_EQ(Load(path), all);
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(path.Text(), true));
  for (int i = file.numRecords; i-- > 0;) {
    ASSERT_TRUE(file.GoRecord(i));
    EXPECT_EQ(Current(file), all[static_cast<std::size_t>(i)]);
  }
}

TEST_F(EventFile, RecordsFillManyBlocksAndNoneCrossesOne) {
  Chance chance(1);
  std::vector<tagTransition> all;
  for (std::uint64_t i = 0; i < 500; ++i) {
    const std::size_t length = i % 100 == 77 ? 70'000 + chance.Below(100'000) : chance.Below(300);
    all.push_back({i, Date(static_cast<double>(i)), 1, std::string(length, 'x')});
  }
  SaveAll(all);
  EXPECT_EQ(Load(path), all);
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(path.Text(), true));
  for (int i = 0; i < 200; ++i) {
    const auto index = static_cast<int>(chance.Below(all.size()));
    ASSERT_TRUE(file.GoRecord(index));
    ASSERT_EQ(Current(file), all[static_cast<std::size_t>(index)]);
  }
}

TEST_F(EventFile, TakesTheLongestRecordAndNoLongerOne) {
  constexpr std::size_t kMost = (std::size_t{1} << 24) - 60;  // without the fields
  const tagTransition longest{1, Date(1), 1, std::string(kMost - 4, 'x')};
  ASSERT_TRUE(Save(path, longest));
  EXPECT_FALSE(Save(path, {2, Date(2), 1, std::string(kMost + 5, 'x')}));
  const tagTransition next{3, Date(3), 2, "short"};
  ASSERT_TRUE(Save(path, next));
  EXPECT_EQ(Load(path), (std::vector{longest, next}));
}

TEST_F(EventFile, KeepsZerosAndEveryByteOfAnAnnotation) {
  std::string text("a\0b", 3);
  for (int byte = 0; byte < 256; ++byte)
    text.push_back(static_cast<char>(byte));
  ASSERT_TRUE(Save(path, {1, Date(1), 1, text}));
  EXPECT_EQ(Load(path).front().annotation, text);
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(path.Text(), true) && file.GoRecord(0));
  ZRString copy("before");
  file.EventAnnotation(copy);
  EXPECT_EQ(copy.View(), text);
}

TEST_F(EventFile, OfNoRecordTheFieldsAreEmpty) {
  SaveAll({{1, Date(1), 1, "text"}});
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(path.Text(), true));
  ASSERT_TRUE(file.GoRecord(0));
  for (const int index : {-1, 1, 2'147'483'647, -2'147'483'647 - 1}) {
    EXPECT_FALSE(file.GoRecord(index));
    EXPECT_EQ(Current(file), (tagTransition{0, 0, 0, ""}));
    ZRDateTime date = ZRDateTime::UTC();
    file.DateValue(date);
    EXPECT_FALSE(date.Valid());
  }
  ASSERT_TRUE(file.GoRecord(0));
  ZRDateTime date;
  file.DateValue(date);
  EXPECT_EQ(date, ZRDateTime(Date(1)));
}

TEST_F(EventFile, AnObjectThatWasNeverOpenedHasNothing) {
  ZREventFile file(true);
  EXPECT_EQ(file.numRecords, 0);
  EXPECT_FALSE(file.GoRecord(0));
  EXPECT_FALSE(file.NewRecord());
  EXPECT_FALSE(file.Update());
  EXPECT_EQ(file.SearchByTime(ZRDateTime(Date(1)), 1), -1);
  file.Close();
}

TEST_F(EventFile, OpenReplacesTheFileEvenIfItFails) {
  SaveAll({{1, Date(1), 1, "first"}});
  const ZRWString other = L"/data/2024/04/Boiler 04-2024.suc";
  ASSERT_TRUE(Save(other, {2, Date(2), 1, "second"}));
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(path.Text(), true) && file.GoRecord(0));
  ASSERT_TRUE(file.Open(other.Text(), true) && file.GoRecord(0));
  EXPECT_EQ(file.EventAnnotationView(), "second");
  EXPECT_FALSE(file.Open(L"/data/2024/05/Boiler 05-2024.suc", true));
  EXPECT_EQ(file.numRecords, 0);
  EXPECT_FALSE(file.GoRecord(0));
  EXPECT_EQ(folder.disk.OpenHandles(), 0);
}

TEST_F(EventFile, ACopyIsReadWhereverItLies) {
  SaveAll({{1, Date(1), 1, "first"}});
  folder.disk.Put("copy", folder.Bytes());
  ZREventFile file(true);
  const char* reason = nullptr;
  EXPECT_FALSE(file.Open(L"/data/copy", true));
  ASSERT_TRUE(file.OpenCopy(L"/data/copy", reason) && file.GoRecord(0)) << reason;
  EXPECT_EQ(file.EventAnnotationView(), "first");
  EXPECT_FALSE(file.NewRecord());
  folder.disk.Put("none", {});
  EXPECT_FALSE(file.OpenCopy(L"/data/none", reason));
  EXPECT_STREQ(reason, "shorter than its head");
  EXPECT_FALSE(file.OpenCopy(L"/data/missing", reason));
  EXPECT_STREQ(reason, "");
  EXPECT_EQ(errno, ENOENT);
  for (const wchar_t* const none : {L"", L"/", L"/data/", L"/data/.."})
    EXPECT_FALSE(file.OpenCopy(none, reason)) << Narrow(none);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(folder.disk.OpenHandles(), 0);
}

TEST_F(EventFile, AFileThatIsOpenedToBeReadTakesNoRecord) {
  SaveAll({{1, Date(1), 1, "first"}});
  const auto before = folder.Bytes();
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(path.Text(), true));
  EXPECT_FALSE(file.NewRecord());
  Fill(file, {2, Date(2), 1, ""});
  EXPECT_FALSE(file.Update());
  EXPECT_EQ(folder.Bytes(), before);
}

TEST_F(EventFile, CreateLeavesWhatIsThere) {
  SaveAll({{1, Date(1), 1, "first"}});
  const auto before = folder.Bytes();
  EXPECT_FALSE(ZREventFile::Create(path.Text(), kNewFile));
  EXPECT_EQ(folder.Bytes(), before);
  EXPECT_EQ(folder.Files(), std::vector<std::string>{DataFolder::kFile});
}

TEST_F(EventFile, CreateMakesOnlyTheFoldersOfTheYearAndTheMonth) {
  ASSERT_TRUE(ZREventFile::Create(path.Text(), kNewFile));
  std::vector<std::string> folders;
  for (const auto& found : folder.disk.Snapshot())
    if (found.isFolder) folders.push_back(found.path);
  EXPECT_EQ(folders, (std::vector<std::string>{"2024", "2024/03"}));
  EXPECT_EQ(Load(path).size(), 0u);
}

TEST_F(EventFile, ATypeHasSixteenBytesAtMost) {
  EXPECT_FALSE(ZREventFile::Create(path.Text(), {"12345678901234567", 1}));
  EXPECT_TRUE(folder.Files().empty());
  ASSERT_TRUE(ZREventFile::Create(path.Text(), {"1234567890123456", 1}));
  ZREventFile file(true);
  EXPECT_FALSE(file.Open(path.Text(), true)) << "it is of another type";
}

TEST_F(EventFile, APathIsYearMonthAndName) {
  const wchar_t* const paths[] = {L"",
                                  L"/",
                                  L"Boiler.suc",
                                  L"/data/Boiler.suc",
                                  L"/data/2024/Boiler.suc",
                                  L"/data/2024/3/Boiler.suc",
                                  L"/data/024/03/Boiler.suc",
                                  L"/data2024/03/Boiler.suc",
                                  L"/data/2024/03/",
                                  L"/data/2024/03/..",
                                  L"/data/2024/03/.",
                                  L"/data/2024/03/tank/Boiler.suc",
                                  L"/data/2024/03/\xD800 03-2024.suc"};
  for (const wchar_t* const wrong : paths) {
    EXPECT_FALSE(ZREventFile::Create(wrong, kNewFile)) << Narrow(wrong);
    ZREventFile file(true);
    EXPECT_FALSE(file.Open(wrong, true)) << Narrow(wrong);
  }
  EXPECT_TRUE(folder.disk.Snapshot().empty());
  EXPECT_TRUE(Save(L"2024/03/Calder\x00F3n \xD83D\xDD25 03-2024.suc", {1, Date(1), 1, ""}));
  EXPECT_EQ(folder.Files(),
            std::vector<std::string>{"2024/03/Calder\xC3\xB3n \xF0\x9F\x94\xA5 03-2024.suc"});
}

TEST_F(EventFile, ARecordsDateIsTheInstantInUtc) {
  ASSERT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid"));
  const ZRDateTime utc = ZRDateTime::FromUtcMilliseconds(1'711'000'000'123);
  ZRDateTime local = utc.UTC2LTC();
  ASSERT_TRUE(ZREventFile::Create(path.Text(), kNewFile));
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(path.Text(), false) && file.NewRecord());
  file.SetDateValue(local);
  ASSERT_TRUE(file.Update() && file.GoRecord(0));
  EXPECT_EQ(file.DateValue(), static_cast<double>(utc));
  EXPECT_EQ(file.SearchByTime(local, 1), 0);
  ASSERT_TRUE(ZRDateTime::SetLocalZone(""));
}

TEST_F(EventFile, AnInvalidDateLiesBeforeAllOthers) {
  SaveAll({{1, Date(1), 1, ""}, {2, Date(2), 1, ""}});
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(path.Text(), true));
  EXPECT_EQ(file.SearchByTime(ZRDateTime(), 1), 0);
}

TEST_F(EventFile, AReaderSeesWhatWasThereWhenItOpened) {
  SaveAll({{1, Date(1), 1, "first"}});
  ZREventFile reader(true);
  ASSERT_TRUE(reader.Open(path.Text(), true));
  ASSERT_TRUE(Save(path, {2, Date(2), 1, "second"}));
  EXPECT_EQ(reader.numRecords, 1);
  EXPECT_TRUE(reader.GoRecord(0));
  EXPECT_FALSE(reader.GoRecord(1));
  EXPECT_EQ(Load(path).size(), 2u);
}

TEST_F(EventFile, TheWriterReadsWhatItAppended) {
  ASSERT_TRUE(ZREventFile::Create(path.Text(), kNewFile));
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(path.Text(), false));
  for (int i = 0; i < 2000; ++i) {
    const tagTransition transition{static_cast<std::uint64_t>(i), Date(i), 1, std::string(60, 'x')};
    ASSERT_TRUE(file.NewRecord());
    Fill(file, transition);
    ASSERT_TRUE(file.Update());
    ASSERT_EQ(file.numRecords, i + 1);
    ASSERT_TRUE(file.GoRecord(i));
    ASSERT_EQ(Current(file), transition);
  }
  ASSERT_TRUE(file.GoRecord(0));
}

TEST_F(EventFile, SearchingAndCountingReadLittleOfALargeFile) {
  std::vector<tagTransition> all;
  for (std::uint64_t i = 0; i < 20'000; ++i)
    all.push_back({i, Date(static_cast<double>(i)), 1, std::string(40, 'x')});
  SaveAll(all);
  const std::uint64_t before = folder.disk.Calls();
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(path.Text(), true));
  EXPECT_EQ(file.numRecords, 20'000);
  EXPECT_LE(folder.disk.Calls() - before, 6u) << "two folders, file, size, head, tail";
  EXPECT_EQ(file.SearchByTime(ZRDateTime(Date(12'345)), 1), 12'345);
  EXPECT_LE(folder.disk.Calls() - before, 13u) << "32 blocks: 5 keys and a block";
}

TEST_F(EventFile, SearchByTimeGivesTheFirstRecordAtOrAfterWhereverTheClockWent) {
  Chance chance(2);
  for (const std::size_t count : {1u, 2u, 7u, 400u, 4000u}) {
    folder.disk.Reset(count);
    std::vector<tagTransition> all;
    double now = 1000;
    for (std::uint64_t i = 0; i < count; ++i) {
      now += chance.Happens(10) ? -static_cast<double>(chance.Below(300))
                                : static_cast<double>(chance.Below(5));
      all.push_back({i, Date(now), 1, std::string(chance.Below(200), 'x')});
    }
    SaveAll(all);
    ZREventFile file(true);
    ASSERT_TRUE(file.Open(path.Text(), true));
    for (int i = 0; i < 300; ++i) {
      const double when =
          Date(static_cast<double>(chance.Below(static_cast<std::uint64_t>(now) + 500)));
      const auto found = std::find_if(all.begin(), all.end(),
                                      [&](const tagTransition& t) { return t.date >= when; });
      const auto expected = std::min<std::ptrdiff_t>(found - all.begin(), std::ssize(all) - 1);
      ASSERT_EQ(file.SearchByTime(ZRDateTime(when), 1), expected);
    }
  }
}

}  // namespace
