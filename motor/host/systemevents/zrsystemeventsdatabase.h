#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "host/tools/zrbasicstring.h"

// The file that system events are kept in: an SQLite database with the table
//
//   systemEvents(id INTEGER PRIMARY KEY, time TEXT, class TEXT, text TEXT)
//
// whose times are UTC, "2026-11-21T10:00:05.123Z". The newest kMost are kept.
//
// Threads   one at a time.
// Promise   what Append has said true to survives a power cut. Whoever has the file locked is
//           waited for 500 ms at most, through the platform.
class ZRSystemEventsDatabase {
 public:
  static constexpr std::int64_t kMost = 100'000;

  ZRSystemEventsDatabase();
  ~ZRSystemEventsDatabase();
  ZRSystemEventsDatabase(const ZRSystemEventsDatabase&) = delete;
  ZRSystemEventsDatabase& operator=(const ZRSystemEventsDatabase&) = delete;

  // The first makes the file if there is none. False with a reason.
  [[nodiscard]] bool Open(const ZRWString& file, std::string& reason);
  [[nodiscard]] bool OpenToRead(const ZRWString& file, std::string& reason);
  void Close();
  [[nodiscard]] bool IsOpen() const { return connection != nullptr; }

  // One row, `text` in UTF-8. False with a reason, and nothing is saved.
  [[nodiscard]] bool Append(std::string_view time, std::string_view className,
                            std::string_view text, std::string& reason);

  // Calls `visit` for each row, the oldest first. False with a reason.
  using tagVisit =
      std::function<void(std::string_view time, std::string_view className, std::string_view text)>;
  [[nodiscard]] bool ForEach(const tagVisit& visit, std::string& reason);

 private:
  class CConnection;

  [[nodiscard]] bool OpenAs(const ZRWString& file, int flags, std::string& reason);
  [[nodiscard]] bool Insert(std::string_view time, std::string_view className,
                            std::string_view text);
  [[nodiscard]] bool Forget();

  std::unique_ptr<CConnection> connection;  // null while it is closed
};
