#include "host/systemevents/zrsystemeventsserver.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <thread>

#include "host/platform/zrvirtualtime.h"
#include "host/tools/zrdatetime.h"
#include "support/logcapture.h"
#include "support/sitefolder.h"

namespace {

// An event that tells when it goes.
class Watched final : public SystemEvent {
 public:
  explicit Watched(int& toCount) : gone(toCount) {}
  ~Watched() override { ++gone; }
  Watched(const Watched&) = delete;
  Watched& operator=(const Watched&) = delete;
  [[nodiscard]] std::string_view ClassName() const override { return "Watched"; }

 private:
  int& gone;
};

// "time class text" of each row; the reason alone if they can't be read.
std::vector<std::string> RowsOf(const ZRWString& file) {
  std::vector<std::string> rows;
  std::string reason;
  ZRSystemEventsDatabase database;
  const auto take = [&rows](auto time, auto className, auto text) {
    rows.push_back(std::string(time) + " " + std::string(className) + " " + std::string(text));
  };
  if (database.OpenToRead(file, reason) && database.ForEach(take, reason)) return rows;
  return {reason};
}

// Another program that has the database open.
class Other {
 public:
  explicit Other(const std::string& path) { EXPECT_EQ(0, sqlite3_open(path.c_str(), &database)); }
  ~Other() { (void)sqlite3_close(database); }
  Other(const Other&) = delete;
  Other& operator=(const Other&) = delete;
  void Run(const std::string& text) {
    EXPECT_EQ(SQLITE_OK, sqlite3_exec(database, text.c_str(), nullptr, nullptr, nullptr));
  }

 private:
  sqlite3* database = nullptr;
};

class SystemEventsServer : public ::testing::Test {
 protected:
  [[nodiscard]] std::string Path() const { return (site.path / "data/events.sqlite").string(); }
  [[nodiscard]] ZRWString File() const { return Wide(Path()); }
  void Use() {
    std::string reason;
    ASSERT_TRUE(server.UseDatabase(File(), reason)) << reason;
  }
  void Save(const std::string& text = "text") {
    server.saveSystemEvent(std::make_unique<Watched>(gone).release(), Wide(text).View());
  }

  ZRVirtualTime time;
  SiteFolder site;
  LogCapture log;
  ZRSystemEventsServer server;
  int gone = 0;
};

TEST_F(SystemEventsServer, KeepsTimeInUtcClassAndText) {
  ASSERT_TRUE(ZRDateTime::SetLocalZone("Asia/Tokyo"));
  Use();
  Save("avería de \xF0\x9F\x94\xA5");
  time.Advance(61'234);
  server.saveSystemEvent(std::make_unique<SystemEventEMailSendMessageError>().release(), L"'); --");
  EXPECT_EQ((std::vector<std::string>{
                "2026-01-01T00:00:00.000Z Watched avería de \xF0\x9F\x94\xA5",
                "2026-01-01T00:01:01.234Z SystemEventEMailSendMessageError '); --"}),
            RowsOf(File()));
  EXPECT_EQ(1, gone);
  (void)ZRDateTime::SetLocalZone("");
}

TEST_F(SystemEventsServer, GoesOnInTheSameFile) {
  Use();
  Save("one");
  server.Close();
  Use();
  Save("two");
  EXPECT_EQ(2u, RowsOf(File()).size());
}

TEST_F(SystemEventsServer, ForgetsEventsWithoutADatabase) {
  Save();
  EXPECT_EQ(1, gone);
  Use();
  server.Close();
  Save();
  EXPECT_EQ(2, gone);
  EXPECT_TRUE(RowsOf(File()).empty());
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(SystemEventsServer, SaysWhetherItKeepsEvents) {
  EXPECT_FALSE(server.isSaveEventsEnabled());
  Use();
  EXPECT_TRUE(server.isSaveEventsEnabled());
  server.Close();
  EXPECT_FALSE(server.isSaveEventsEnabled());
}

TEST_F(SystemEventsServer, ABrokenDatabaseIsALineOfTheLogAndNothingElse) {
  site.Write("data/events.sqlite", std::string(5000, 'x'));
  std::string reason;
  EXPECT_FALSE(server.UseDatabase(File(), reason));
  EXPECT_EQ("file is not a database", reason);
  Save("lost");
  EXPECT_EQ(1, gone);
  EXPECT_TRUE(log.Has(kLogConfiguration,
                      "a system event can't be saved: Watched: lost (file is not a database)"));
}

TEST_F(SystemEventsServer, TriesAgainWithTheNextEvent) {
  std::filesystem::remove_all(site.path / "data");
  std::string reason;
  EXPECT_FALSE(server.UseDatabase(File(), reason));
  Save("lost");
  EXPECT_EQ(1u, log.Lines().size());
  std::filesystem::create_directory(site.path / "data");
  Save("kept");
  EXPECT_EQ((std::vector<std::string>{"2026-01-01T00:00:00.000Z Watched kept"}), RowsOf(File()));
}

TEST_F(SystemEventsServer, WaitsHalfASecondForWhoHasLockedTheFile) {
  Use();
  Other other(Path());
  other.Run("BEGIN EXCLUSIVE");
  const std::uint32_t begun = time.TickCount();
  Save("lost");
  EXPECT_EQ(500u, time.TickCount() - begun);
  ASSERT_EQ(1u, log.Lines().size());
  EXPECT_EQ("a system event can't be saved: Watched: lost (database is locked)",
            log.Lines()[0].text);
  other.Run("ROLLBACK");
  Save("kept");
  EXPECT_EQ(1u, RowsOf(File()).size());
}

TEST_F(SystemEventsServer, KeepsTheNewest) {
  Use();
  Save("oldest");
  Save("older");
  Other(Path()).Run("UPDATE systemEvents SET id = id + " +
                    std::to_string(ZRSystemEventsDatabase::kMost - 3) + " WHERE id = 2");
  Save("still there");
  EXPECT_EQ(3u, RowsOf(File()).size());
  Save("one too many");
  EXPECT_EQ(3u, RowsOf(File()).size());
  EXPECT_EQ(std::string::npos, RowsOf(File()).front().find("oldest"));
}

TEST(SystemEventsDatabase, ReadingMakesNoFile) {
  const SiteFolder site;
  EXPECT_EQ(std::vector<std::string>{"unable to open database file"},
            RowsOf(Wide((site.path / "none.sqlite").string())));
  EXPECT_FALSE(std::filesystem::exists(site.path / "none.sqlite"));
}

TEST(SystemEventsDatabase, TableOfAnotherShapeIsAFailure) {
  const SiteFolder site;
  const std::string path = (site.path / "other.sqlite").string();
  Other(path).Run("CREATE TABLE systemEvents(a)");
  std::string reason;
  ZRSystemEventsDatabase database;
  ASSERT_TRUE(database.Open(Wide(path), reason));
  EXPECT_FALSE(database.Append("t", "c", "x", reason));
  EXPECT_EQ("table systemEvents has no column named time", reason);
  EXPECT_EQ(std::vector<std::string>{"no such column: time"}, RowsOf(Wide(path)));
}

TEST(SystemEventsThreads, SaveAtOnce) {
  const SiteFolder site;
  ZRSystemEventsServer server;
  std::string reason;
  const ZRWString file = Wide((site.path / "events.sqlite").string());
  ASSERT_TRUE(server.UseDatabase(file, reason));
  const auto save = [&server] {
    for (int index = 0; index < 3; ++index)
      server.saveSystemEvent(std::make_unique<SystemEventModemPortEmpty>().release(), L"x");
  };
  std::thread other(save);
  save();
  other.join();
  EXPECT_EQ(6u, RowsOf(file).size());
}

}  // namespace
