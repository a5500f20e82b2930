// A file of dated readings: one in each line, its fields in columns.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/drivers/zrdateformat.h"
#include "host/drivers/zrlinereader.h"

// How such a file is written.
struct ZRReadingsForm {
  char delimiter = ',';
  char decimal = '.';                    // "." or ","
  bool header = true;                    // the first line names the columns, else C1, C2...
  std::vector<std::string> dateColumns;  // one, or two that are joined by a blank
  ZRDateFormat dateFormat;
  bool isUtc = false;                         // dates without a zone are UTC, else local time
  std::vector<std::string> columns;           // to be read; empty for all but the dates
  std::vector<std::string> missing{"", "?"};  // texts that stand for no value
};

// How much a file holds.
struct ZRReadingsSpan {
  std::int64_t first = 0;  // UTC, ms since 1970
  std::int64_t last = 0;
  std::int64_t readings = 0;
};

// Splits a line into fields, with blanks around them taken away. A field that begins with a
// double quote goes to the closing one, two of them standing for one. The fields are parts of
// `line`, which is changed. False if a quote isn't closed or there are more than `most` fields.
[[nodiscard]] bool SplitFields(std::string& line, char delimiter, std::size_t most,
                               std::vector<std::string_view>& fields);

// Reads it from the front to the end, a reading at a time.
//
// Lines that can't be read are passed over and counted: those with another number of fields than
// the first one, with a date that doesn't fit or lies before the one above, and too long ones. A
// field that isn't a number has no value, and is counted too. Empty lines are nothing.
//
// Threads   one.
// Promise   as ZRLineReader: the size of the file doesn't matter.
class ZRReadingFile {
 public:
  static constexpr std::size_t kMostColumns = 1000;
  static constexpr std::size_t kMostReported = 5;  // of what was passed over

  enum class tagNext { kReading, kEnd, kFailed };

  // What was passed over, and the first of it in words.
  struct tagFaults {
    std::int64_t lines = 0;      // that can't be read
    std::int64_t backwards = 0;  // with a date before the one above
    std::int64_t fields = 0;     // that aren't numbers
    std::vector<std::string> reported;
  };

  // False, with a reason, if the file can't be opened or doesn't have the columns.
  [[nodiscard]] bool Open(const std::string& path, const ZRReadingsForm& formOfFile,
                          std::string& reason);
  // Back to the first reading. The faults go on counting.
  [[nodiscard]] bool Rewind();

  // The names of the columns that are read, each fit for the name of a variable.
  [[nodiscard]] const std::vector<std::string>& Columns() const { return names; }

  [[nodiscard]] tagNext Next();
  // Of the reading that Next found: its date (UTC, ms since 1970), and its values in the order of
  // Columns.
  [[nodiscard]] std::int64_t Utc() const { return utc; }
  [[nodiscard]] const std::vector<std::optional<double>>& Values() const { return values; }

  [[nodiscard]] const tagFaults& Faults() const { return faults; }

  // Reads all that is left and tells what it was. False if the file fails.
  [[nodiscard]] bool Measure(ZRReadingsSpan& span);

 private:
  [[nodiscard]] bool ReadHeader(std::string& reason);
  [[nodiscard]] bool ChooseColumns(const std::vector<std::string>& header, std::string& reason);
  [[nodiscard]] bool AddColumn(const std::vector<std::string>& header, std::size_t column,
                               std::string& reason);
  // False if the line isn't a reading; the faults say why.
  [[nodiscard]] bool ReadLine();
  [[nodiscard]] bool ReadDate(std::int64_t& date);
  void ReadValues();
  [[nodiscard]] std::optional<double> ReadValue(std::string_view field, std::size_t place);
  void Report(std::int64_t& count, const std::string& what);

  ZRReadingsForm form;
  ZRLineReader reader;
  std::string line;
  std::vector<std::string_view> fields;  // of `line`
  std::size_t columnsOfFile = 0;
  std::vector<std::size_t> dateIndexes;   // columns of the file
  std::vector<std::size_t> valueIndexes;  // columns of the file
  std::vector<std::string> names;
  std::int64_t utc = 0;
  std::optional<std::int64_t> previous;
  std::vector<std::optional<double>> values;
  tagFaults faults;
};
