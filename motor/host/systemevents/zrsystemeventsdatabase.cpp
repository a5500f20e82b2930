#include "host/systemevents/zrsystemeventsdatabase.h"

#include <sqlite3.h>

#include "host/platform/zrplatform.h"
#include "host/tools/zrtext.h"

namespace {

constexpr int kBusyPause = 10;   // ms
constexpr int kBusyPauses = 50;  // then the lock of somebody else is a failure

constexpr const char* kMakeTable =
    "CREATE TABLE IF NOT EXISTS systemEvents"
    "(id INTEGER PRIMARY KEY, time TEXT NOT NULL, class TEXT NOT NULL, text TEXT NOT NULL)";
constexpr const char* kInsert = "INSERT INTO systemEvents(time, class, text) VALUES(?, ?, ?)";
constexpr const char* kForget =
    "DELETE FROM systemEvents WHERE id <= (SELECT max(id) FROM systemEvents) - ?";
constexpr const char* kSelect = "SELECT time, class, text FROM systemEvents ORDER BY id";

// A statement that goes with the object.
class CStatement {
 public:
  CStatement(sqlite3* database, const char* text) {
    (void)sqlite3_prepare_v2(database, text, -1, &statement, nullptr);
  }
  ~CStatement() { (void)sqlite3_finalize(statement); }
  CStatement(const CStatement&) = delete;
  CStatement& operator=(const CStatement&) = delete;

  void Bind(int place, std::string_view text) const {
    (void)sqlite3_bind_text64(statement, place, text.data(), text.size(), SQLITE_TRANSIENT,
                              SQLITE_UTF8);
  }
  void Bind(int place, std::int64_t number) const {
    (void)sqlite3_bind_int64(statement, place, number);
  }
  // SQLITE_ROW, SQLITE_DONE, or a failure; that of a text that couldn't be prepared too.
  [[nodiscard]] int Step() const {
    return statement == nullptr ? SQLITE_ERROR : sqlite3_step(statement);
  }
  [[nodiscard]] std::string_view Text(int column) const {
    const auto* const text = sqlite3_column_text(statement, column);
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
    return text == nullptr ? std::string_view()
                           : std::string_view(reinterpret_cast<const char*>(text), size);
  }

 private:
  sqlite3_stmt* statement = nullptr;
};

int WaitForOthers(void*, int pauses) {
  if (pauses >= kBusyPauses) return 0;
  ZRPlatform::Get().Sleep(kBusyPause);
  return 1;
}

}  // namespace

class ZRSystemEventsDatabase::CConnection {
 public:
  CConnection(const ZRString& file, int flags) {
    opened = sqlite3_open_v2(file.Text(), &database, flags, nullptr) == SQLITE_OK;
    if (database == nullptr) return;
    (void)sqlite3_extended_result_codes(database, 1);
    (void)sqlite3_busy_handler(database, WaitForOthers, nullptr);
  }
  ~CConnection() { (void)sqlite3_close(database); }
  CConnection(const CConnection&) = delete;
  CConnection& operator=(const CConnection&) = delete;

  [[nodiscard]] bool IsOpened() const { return opened; }
  [[nodiscard]] bool Run(const char* text) const {
    return CStatement(database, text).Step() == SQLITE_DONE;
  }
  // "database disk image is malformed"
  [[nodiscard]] std::string Failure() const {
    return database == nullptr ? "out of memory" : sqlite3_errmsg(database);
  }
  [[nodiscard]] sqlite3* Handle() const { return database; }

 private:
  sqlite3* database = nullptr;
  bool opened = false;
};

ZRSystemEventsDatabase::ZRSystemEventsDatabase() = default;
ZRSystemEventsDatabase::~ZRSystemEventsDatabase() = default;

bool ZRSystemEventsDatabase::Open(const ZRWString& file, std::string& reason) {
  if (!OpenAs(file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, reason)) return false;
  if (connection->Run(kMakeTable)) return true;
  reason = connection->Failure();
  Close();
  return false;
}

bool ZRSystemEventsDatabase::OpenToRead(const ZRWString& file, std::string& reason) {
  return OpenAs(file, SQLITE_OPEN_READONLY, reason);
}

bool ZRSystemEventsDatabase::OpenAs(const ZRWString& file, int flags, std::string& reason) {
  Close();
  auto fresh = std::make_unique<CConnection>(Utf16ToUtf8(file.View()), flags);
  if (fresh->IsOpened()) {
    connection = std::move(fresh);
    return true;
  }
  reason = fresh->Failure();
  return false;
}

void ZRSystemEventsDatabase::Close() {
  connection.reset();
}

bool ZRSystemEventsDatabase::Append(std::string_view time, std::string_view className,
                                    std::string_view text, std::string& reason) {
  const bool saved = connection->Run("BEGIN IMMEDIATE") && Insert(time, className, text) &&
                     Forget() && connection->Run("COMMIT");
  if (saved) return true;
  reason = connection->Failure();
  (void)connection->Run("ROLLBACK");
  return false;
}

bool ZRSystemEventsDatabase::Insert(std::string_view time, std::string_view className,
                                    std::string_view text) {
  const CStatement insert(connection->Handle(), kInsert);
  insert.Bind(1, time);
  insert.Bind(2, className);
  insert.Bind(3, text);
  return insert.Step() == SQLITE_DONE;
}

bool ZRSystemEventsDatabase::Forget() {
  const CStatement forget(connection->Handle(), kForget);
  forget.Bind(1, kMost);
  return forget.Step() == SQLITE_DONE;
}

bool ZRSystemEventsDatabase::ForEach(const tagVisit& visit, std::string& reason) {
  const CStatement rows(connection->Handle(), kSelect);
  int result = rows.Step();
  for (; result == SQLITE_ROW; result = rows.Step())
    visit(rows.Text(0), rows.Text(1), rows.Text(2));
  if (result == SQLITE_DONE) return true;
  reason = connection->Failure();
  return false;
}
