// What the history costs: appending a transition, and asking for a month, beside SQLite.
//
// SQLite holds the same records in one table with an index on the time, in WAL mode, and its rows
// are put together into occurrences by the same objects. Files and database lie in the folder that
// TMPDIR names, /tmp otherwise; all of them are in the system's cache when they are read.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/driversupport/eventfile/zreventfile.h"
#include "host/driversupport/eventfile/zreventfilesync.h"
#include "host/support/zrtessalysetup.h"
#include "host/tools/xmldocument.h"
#include "host/tools/zrtext.h"
#include "zrevents/history/zreventloggerdata.h"
#include "zrevents/history/zreventloggerinfo.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventserver.h"
#include "zrevents/zreventsystem.h"

namespace {

constexpr int kRepetitions = 5;
constexpr int kYear = 2026;
constexpr int kMonth = 3;
constexpr double kActivation = 1;
constexpr double kDeactivation = 2;
constexpr std::int64_t kMillisecondsOfMonth = 31LL * 24 * 3600 * 1000;

// --- the folder of the run ---

class CFolder {
 public:
  CFolder() {
    const char* const base = std::getenv("TMPDIR");
    std::string pattern = std::string(base != nullptr ? base : "/tmp") + "/history-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    path = pattern;
    std::filesystem::create_directory(path + "/data");
    std::vector<ZRSettingProblem> problems, warnings;
    ZRWString wide;
    Utf8ToUtf16(wide, ZRString(path.c_str()));
    if (!ZRTessalySetup::Get().LoadText("", wide, problems, warnings)) std::abort();
    ZREventFileSync::Get().Start();  // as the host does
  }
  ~CFolder() {
    ZREventFileSync::Get().Stop();
    std::filesystem::remove_all(path);
  }
  CFolder(const CFolder&) = delete;
  CFolder& operator=(const CFolder&) = delete;

  [[nodiscard]] const std::string& Path() const { return path; }

 private:
  std::string path;
};

const std::string& Folder() {
  static const CFolder folder;
  return folder.Path();
}

// --- the records: each occurrence an activation and a deactivation ---

struct tagRecord {
  uuid occurrence;
  ZRDateTime date;
  double value = 0;
  ZRString annotation;
};

ZRDateTime At(std::int64_t millisecondsOfMonth) {
  ZRDateTime first;
  first.SetDate(kYear, kMonth, 1);
  return ZRDateTime::FromUtcMilliseconds(first.UtcMilliseconds() + millisecondsOfMonth);
}

ZRString Annotation(int event, int step) {
  const std::string text = "Pump " + std::to_string(event % 1000) + " of hall B: pressure " +
                           std::to_string(step % 97) + ".5 bar";
  return ZRString(text.c_str());
}

// The records of one event over the month, in their order: `count` of them, evenly spread, each
// event a little later than the one before.
template <typename Use>
void ForEachRecord(int event, int count, Use use) {
  tagRecord record;
  const std::int64_t step = (kMillisecondsOfMonth - 3'600'000) / count;
  for (int i = 0; i < count; ++i) {
    const bool isActivation = i % 2 == 0;
    if (isActivation) NewGUID(&record.occurrence);
    record.date = At(i * step + event * 37LL % 3'600'000);
    record.value = isActivation ? kActivation : kDeactivation;
    record.annotation = Annotation(event, i);
    use(record);
  }
}

bool Append(ZREventFile& file, tagRecord& record) {
  (void)file.NewRecord();
  file.SetEventId(record.occurrence);
  file.SetDateValue(record.date);
  file.SetEventValue(record.value);
  file.SetEventAnnotation(record.annotation);
  return file.Update();
}

bool OpenOrCreate(ZREventFile& file, const wchar_t* path) {
  const ZREventFile::CNewFileTemplate newFile(ZREventFile::kType, ZREventFile::kCapacity);
  return file.Open(path, false) || (ZREventFile::Create(path, newFile) && file.Open(path, false));
}

// --- the peer ---

void Check(bool isWell, const char* what) {
  if (isWell) return;
  std::fprintf(stderr, "%s failed\n", what);
  std::abort();
}

class CDatabase {
 public:
  CDatabase(const std::string& name, const char* synchronous) {
    Check(::sqlite3_open((Folder() + "/" + name).c_str(), &database) == SQLITE_OK, "sqlite3_open");
    Run("PRAGMA journal_mode=WAL");
    Run((std::string("PRAGMA synchronous=") + synchronous).c_str());
    Run("CREATE TABLE record (event BLOB, occurrence BLOB, date REAL, value REAL, annotation "
        "TEXT)");
    Run("CREATE INDEX record_date ON record (date)");
    insert = Prepared("INSERT INTO record VALUES (?1, ?2, ?3, ?4, ?5)");
    select = Prepared(
        "SELECT event, occurrence, date, value, annotation FROM record "
        "WHERE date >= ?1 AND date < ?2 ORDER BY date");
  }
  ~CDatabase() {
    ::sqlite3_finalize(insert);
    ::sqlite3_finalize(select);
    ::sqlite3_close(database);
  }
  CDatabase(const CDatabase&) = delete;
  CDatabase& operator=(const CDatabase&) = delete;

  void Run(const char* statement) {
    Check(::sqlite3_exec(database, statement, nullptr, nullptr, nullptr) == SQLITE_OK, statement);
  }
  void Insert(const uuid& event, const tagRecord& record) {
    ::sqlite3_bind_blob(insert, 1, event.bytes.data(), 16, SQLITE_STATIC);
    ::sqlite3_bind_blob(insert, 2, record.occurrence.bytes.data(), 16, SQLITE_STATIC);
    ::sqlite3_bind_double(insert, 3, static_cast<double>(record.date));
    ::sqlite3_bind_double(insert, 4, record.value);
    ::sqlite3_bind_text(insert, 5, record.annotation.Text(),
                        static_cast<int>(record.annotation.Length()), SQLITE_STATIC);
    Check(::sqlite3_step(insert) == SQLITE_DONE, "insert");
    ::sqlite3_reset(insert);
  }
  void Load(ZREventLoggerData& data, const ZRDateTime& from, const ZRDateTime& to) {
    ::sqlite3_bind_double(select, 1, static_cast<double>(from));
    ::sqlite3_bind_double(select, 2, static_cast<double>(to));
    uuid event, occurrence;
    const ZRString none;
    while (::sqlite3_step(select) == SQLITE_ROW) {
      Copy(event, 0);
      Copy(occurrence, 1);
      const ZRString annotation(reinterpret_cast<const char*>(::sqlite3_column_text(select, 4)),
                                static_cast<std::size_t>(::sqlite3_column_bytes(select, 4)));
      (void)data.AddRecord(event, occurrence, ZRDateTime(::sqlite3_column_double(select, 2)),
                           static_cast<int>(::sqlite3_column_double(select, 3)), annotation, none,
                           none, false);
    }
    ::sqlite3_reset(select);
  }

 private:
  sqlite3_stmt* Prepared(const char* statement) {
    sqlite3_stmt* made = nullptr;
    Check(::sqlite3_prepare_v2(database, statement, -1, &made, nullptr) == SQLITE_OK, statement);
    return made;
  }
  void Copy(uuid& to, int column) {
    std::memcpy(to.bytes.data(), ::sqlite3_column_blob(select, column), to.bytes.size());
  }

  sqlite3* database = nullptr;
  sqlite3_stmt* insert = nullptr;
  sqlite3_stmt* select = nullptr;
};

// --- months: each a number of events, here and in a database of its own ---

// All months lie in the one store of the process, under names of their own.
ZREventServer& Server() {
  static ZREventServer server;
  return server;
}

class CMonth {
 public:
  CMonth(int events, int recordsOfEach)
      : name(std::to_string(events) + "x" + std::to_string(recordsOfEach)),
        records(static_cast<double>(events) * recordsOfEach),
        database("month-" + name, "OFF") {
    LoadEvents(events);
    ZREventFileSync::Get().SetDurability(ZRDurability::kOff);
    std::vector<tagOccurred> all;
    for (int i = 0; i < events; ++i)
      Fill(i, recordsOfEach, all);
    // The database gets them in the order in which they happened, which is the best for it.
    std::stable_sort(all.begin(), all.end(), [](const tagOccurred& a, const tagOccurred& b) {
      return a.record.date < b.record.date;
    });
    database.Run("BEGIN");
    for (const tagOccurred& each : all)
      database.Insert(ids[static_cast<std::size_t>(each.event)], each.record);
    database.Run("COMMIT");
    database.Run("PRAGMA wal_checkpoint(TRUNCATE)");
    // Files that have just changed are read anew each time.
    std::this_thread::sleep_for(std::chrono::milliseconds(2100));
  }

  static CMonth& Of(int events, int recordsOfEach) {
    static std::map<std::pair<int, int>, std::unique_ptr<CMonth>> months;
    std::unique_ptr<CMonth>& month = months[{events, recordsOfEach}];
    if (month == nullptr) month = std::make_unique<CMonth>(events, recordsOfEach);
    return *month;
  }

  [[nodiscard]] ZREventLoggerInfo Info() const {
    ZREventLoggerInfo info;
    for (const uuid& id : ids)
      info.AddVariable(id);
    return info;
  }
  [[nodiscard]] std::wstring PathOf(int event) const {
    wchar_t path[kPathSize];
    ZREventSystem::Get()
        .LockEvent(ids[static_cast<std::size_t>(event)])
        ->EventFileName(path, kPathSize, At(0), 0);
    return path;
  }

  const std::string name;
  const double records;
  CDatabase database;
  std::vector<uuid> ids;

 private:
  static constexpr int kPathSize = 260;

  void LoadEvents(int events) {
    (void)Server();
    std::string xml = "<main><events>";
    for (int i = 0; i < events; ++i) {
      NewGUID(&ids.emplace_back());
      char text[kUuidTextLength + 1];
      guidtoc(ids.back(), text);
      xml += "<event><id>" + std::string(text) + "</id><name>" + name + " " + std::to_string(i) +
             "</name><condition>1 = 0</condition><record>T</record></event>";
    }
    xml += "</events></main>";
    document = std::make_unique<XmlDocument>();
    Check(document->Parse(xml, SIZE_MAX, nullptr), "the document");
    const int before = ZREventSystem::Get().EventsSize();
    ZREventSystem::Get().LoadXml(*document);
    ZREventSystem::Get().Sort();
    Check(ZREventSystem::Get().EventsSize() == before + events, "loading");
  }
  struct tagOccurred {
    int event;
    tagRecord record;
  };

  void Fill(int event, int count, std::vector<tagOccurred>& all) {
    const std::wstring path = PathOf(event);
    ZREventFile file(true);
    Check(OpenOrCreate(file, path.c_str()), "creating");
    ForEachRecord(event, count, [&](tagRecord& record) {
      Check(Append(file, record), "appending");
      all.push_back({event, record});
    });
  }

  std::unique_ptr<XmlDocument> document;
};

void SetEach(benchmark::State& state, double count) {
  state.counters["each"] = benchmark::Counter(
      count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// --- queries ---

struct tagPeriod {
  ZRDateTime from, to;
};
tagPeriod WholeMonth() {
  return {At(0), At(kMillisecondsOfMonth)};
}
tagPeriod OneHour() {
  constexpr std::int64_t kHour = 3'600'000;
  return {At(400 * kHour), At(401 * kHour)};
}

// What a query found; held against the other contender's.
struct tagFound {
  std::size_t occurrences = 0;
  std::uint64_t digest = 0;
  bool operator==(const tagFound&) const = default;
};
tagFound Walk(ZREventLoggerData& data) {
  tagFound found;
  const auto& group = data.RecordGroup();
  for (auto record = group.Begin(); record != group.End(); ++record) {
    ++found.occurrences;
    found.digest += std::hash<uuid>()((*record)->RecordId()) ^ (*record)->DisableOffset();
  }
  return found;
}
tagFound AskFiles(CMonth& month, const ZREventLoggerInfo& info, const tagPeriod& period) {
  (void)month;
  ZREventLoggerData data;
  data.Setup(info);
  (void)data.SelectData(period.from, period.to, false);
  return Walk(data);
}
// The same by a process that hasn't asked before.
tagFound AskFilesAnew(CMonth& month, const ZREventLoggerInfo& info, const tagPeriod& period) {
  ZREventFileSync::Get().Stop();
  ZREventFileSync::Get().Start();
  return AskFiles(month, info, period);
}
tagFound AskDatabase(CMonth& month, const ZREventLoggerInfo& info, const tagPeriod& period) {
  ZREventLoggerData data;
  data.Setup(info);
  month.database.Load(data, period.from, period.to);
  return Walk(data);
}

using tagAsk = tagFound (*)(CMonth&, const ZREventLoggerInfo&, const tagPeriod&);

// Another contender may have had the caches, and small files are kept when they are read again.
void AskBefore(CMonth& month, const ZREventLoggerInfo& info, const tagPeriod& period, tagAsk ask) {
  for (int i = 0; i < 3; ++i)
    (void)ask(month, info, period);
}

void Query(benchmark::State& state, int events, int recordsOfEach, tagPeriod period, tagAsk ask) {
  CMonth& month = CMonth::Of(events, recordsOfEach);
  const ZREventLoggerInfo info = month.Info();
  const tagFound expected = AskDatabase(month, info, period);
  if (ask(month, info, period) != expected || expected.occurrences == 0) {
    state.SkipWithError("the contenders don't agree");
    return;
  }
  AskBefore(month, info, period, ask);
  for (auto _ : state)
    benchmark::DoNotOptimize(ask(month, info, period));
  SetEach(state, month.records);
}

// Every record of every file, without anything made of it.
void Scan(benchmark::State& state, int events, int recordsOfEach) {
  CMonth& month = CMonth::Of(events, recordsOfEach);
  std::vector<std::wstring> paths;
  for (int i = 0; i < events; ++i)
    paths.push_back(month.PathOf(i));
  for (auto _ : state) {
    double sum = 0;
    ZREventFile file(true);
    for (const std::wstring& path : paths) {
      Check(file.Open(path.c_str(), true), "opening");
      for (int i = 0; i < file.numRecords; ++i)
        if (file.GoRecord(i)) sum += file.DateValue();
    }
    benchmark::DoNotOptimize(sum);
  }
  SetEach(state, month.records);
}

void Totals(benchmark::State& state, int events, int recordsOfEach) {
  CMonth& month = CMonth::Of(events, recordsOfEach);
  const ZREventLoggerInfo info = month.Info();
  const tagPeriod period = WholeMonth();
  if (AskFiles(month, info, period).occurrences == 0) {
    state.SkipWithError("there are no records");
    return;
  }
  AskBefore(month, info, period, AskFiles);
  for (auto _ : state) {
    ZREventLoggerData data;
    data.Setup(info);
    (void)data.SelectData(period.from, period.to, false);
    benchmark::DoNotOptimize(data.RecordGroupTotalized().Begin());
  }
  SetEach(state, month.records);
}

// --- appending ---

// Makes it another record, and costs next to nothing.
void Renew(tagRecord& record, std::int64_t number) {
  std::memcpy(record.occurrence.bytes.data(), &number, sizeof number);
  record.date = At(number);
}

// One transition as an event saves it: open, append, close.
void AppendOurs(benchmark::State& state, ZRDurability durability) {
  CMonth& month = CMonth::Of(1, 2);
  const std::wstring path = month.PathOf(0);
  ZREventFileSync::Get().SetDurability(durability);
  tagRecord record;
  record.annotation = Annotation(1, 1);
  record.value = kActivation;
  std::int64_t at = 0;
  for (auto _ : state) {
    Renew(record, ++at);
    ZREventFile file(true);
    Check(file.Open(path.c_str(), false) && Append(file, record), "appending");
  }
  ZREventFileSync::Get().SetDurability(ZRDurability::kOff);
}

void AppendBare(benchmark::State& state, bool synced) {
  const std::string path = Folder() + "/bare";
  const char bytes[104] = {};
  for (auto _ : state) {
    const int file = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0640);
    Check(::write(file, bytes, sizeof bytes) == sizeof bytes, "write");
    if (synced) Check(::fdatasync(file) == 0, "fdatasync");
    ::close(file);
  }
}

void AppendDatabase(benchmark::State& state, const char* synchronous) {
  static int number = 0;
  CDatabase database("append-" + std::to_string(++number), synchronous);
  tagRecord record;
  record.annotation = Annotation(1, 1);
  record.value = kActivation;
  uuid event;
  NewGUID(&event);
  std::int64_t at = 0;
  for (auto _ : state) {
    Renew(record, ++at);
    database.Insert(event, record);
  }
}

// A transition of each of many events, one behind the other, as in a pass that changes all.
void AppendPass(benchmark::State& state, int events) {
  CMonth& month = CMonth::Of(events, 4);  // that no query asks for
  std::vector<std::wstring> paths;
  for (int i = 0; i < events; ++i)
    paths.push_back(month.PathOf(i));
  tagRecord record;
  record.annotation = Annotation(1, 1);
  record.value = kActivation;
  ZREventFileSync::Get().SetDurability(ZRDurability::kAdaptive);
  std::int64_t at = kMillisecondsOfMonth;
  for (auto _ : state) {
    record.date = At(++at);
    for (const std::wstring& path : paths) {
      NewGUID(&record.occurrence);
      ZREventFile file(true);
      Check(file.Open(path.c_str(), false) && Append(file, record), "appending");
    }
  }
  Check(ZREventFileSync::Get().Flush(), "flushing");
  ZREventFileSync::Get().SetDurability(ZRDurability::kOff);
  SetEach(state, events);
}

// --- the list ---

template <typename Measure>
auto* Register(const std::string& name, Measure measure) {
  return benchmark::RegisterBenchmark(name.c_str(), measure)
      ->Repetitions(kRepetitions)
      ->MeasureProcessCPUTime();
}

void RegisterQueries(const std::string& shape, int events, int recordsOfEach) {
  const auto query = [=](const char* contender, tagPeriod period, tagAsk ask) {
    Register("month/" + shape + "/" + contender, [=](benchmark::State& state) {
      Query(state, events, recordsOfEach, period, ask);
    })->Unit(benchmark::kMillisecond);
  };
  query("ours", WholeMonth(), AskFiles);
  query("ours, for the first time", WholeMonth(), AskFilesAnew);
  query("sqlite", WholeMonth(), AskDatabase);
  Register("month/" + shape + "/scan", [=](benchmark::State& state) {
    Scan(state, events, recordsOfEach);
  })->Unit(benchmark::kMillisecond);
  Register("month/" + shape + "/totals", [=](benchmark::State& state) {
    Totals(state, events, recordsOfEach);
  })->Unit(benchmark::kMillisecond);
}

void RegisterAll() {
  RegisterQueries("one event", 1, 1'000'000);
  RegisterQueries("1,000 events", 1000, 1000);
  RegisterQueries("10,000 events", 10'000, 8);
  for (const auto& [contender, ask] : {std::pair<const char*, tagAsk>{"ours", AskFiles},
                                       std::pair<const char*, tagAsk>{"sqlite", AskDatabase}}) {
    Register(std::string("hour/one event/") + contender, [ask = ask](benchmark::State& state) {
      Query(state, 1, 1'000'000, OneHour(), ask);
    })->Unit(benchmark::kMicrosecond);
  }
  // What the number of events does to a query, at the same number of records and at more of them.
  for (const int events : {1, 10, 100, 1000, 10'000}) {
    for (const int all : {2000, 20'000, 200'000}) {
      if (all / events < 2) continue;
      Register("growth/" + std::to_string(events) + "/" + std::to_string(all),
               [=](benchmark::State& state) {
                 Query(state, events, all / events, WholeMonth(), AskFiles);
               })
          ->Unit(benchmark::kMillisecond);
    }
  }
  using State = benchmark::State;
  Register("append/ours", [](State& state) { AppendOurs(state, ZRDurability::kOff); });
  Register("append/bare", [](State& state) { AppendBare(state, false); });
  Register("append/sqlite, NORMAL", [](State& state) { AppendDatabase(state, "NORMAL"); });
  Register("append synced/ours", [](State& state) {
    AppendOurs(state, ZRDurability::kStrict);
  })->UseRealTime();
  Register("append synced/bare", [](State& state) { AppendBare(state, true); })->UseRealTime();
  Register("append synced/sqlite, FULL", [](State& state) {
    AppendDatabase(state, "FULL");
  })->UseRealTime();
  Register("pass of transitions/10,000", [](State& state) { AppendPass(state, 10'000); })
      ->UseRealTime()
      ->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argumentCount, char** arguments) {
  RegisterAll();
  // The repetitions of all contenders take turns, so that what else the machine does meets all.
  std::string interleaved = "--benchmark_enable_random_interleaving=true";
  std::string aggregates = "--benchmark_report_aggregates_only=true";
  std::vector<char*> all = {arguments[0], interleaved.data(), aggregates.data()};
  all.insert(all.end(), arguments + 1, arguments + argumentCount);
  int count = static_cast<int>(all.size());
  benchmark::Initialize(&count, all.data());
  if (benchmark::ReportUnrecognizedArguments(count, all.data())) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
