#include "host/drivers/zrreadingfile.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <system_error>

#include "host/drivers/zrdriversettings.h"
#include "host/tools/zrdatetime.h"

namespace {

constexpr char kQuote = '"';

bool IsBlank(char character) {
  return character == ' ' || character == '\t';
}

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && IsBlank(text.front()))
    text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back()))
    text.remove_suffix(1);
  return text;
}

std::string Shown(std::string_view field) {
  constexpr std::size_t kShown = 40;
  std::string shown = "\"";
  shown += field.substr(0, kShown);
  return shown + (field.size() > kShown ? "...\"" : "\"");
}

// Takes the quoted field that begins at `at`, squeezing it in place; `at` is then behind it and
// the blanks that follow. False if it isn't closed.
bool TakeQuoted(std::string& line, std::size_t& at, std::string_view& field) {
  const std::size_t start = ++at;
  std::size_t end = start;
  while (at < line.size()) {
    if (line[at] == kQuote) {
      if (at + 1 >= line.size() || line[at + 1] != kQuote) break;
      ++at;
    }
    line[end++] = line[at++];
  }
  if (at >= line.size()) return false;
  field = std::string_view(line).substr(start, end - start);
  ++at;
  return true;
}

void SkipBlanks(const std::string& line, char delimiter, std::size_t& at) {
  while (at < line.size() && IsBlank(line[at]) && line[at] != delimiter)
    ++at;
}

// The name of a column that has none.
std::string NumberedColumn(std::size_t index) {
  return std::string(1, 'C').append(std::to_string(index + 1));
}

// A name of a column made fit for a variable.
std::string VariableName(std::string_view column, std::size_t index) {
  std::string name(column);
  for (char& character : name)
    if (!ZRDriverSettings::IsName(std::string_view(&character, 1))) character = '_';
  return ZRDriverSettings::IsName(name) ? name : NumberedColumn(index);
}

bool ReadNumber(std::string_view text, char decimal, double& number) {
  constexpr std::size_t kLongest = 64;
  char buffer[kLongest];
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  if (text.empty() || text.size() > kLongest || text.front() == '+') return false;
  if (decimal != '.' && text.find('.') != std::string_view::npos) return false;
  std::replace_copy(text.begin(), text.end(), buffer, decimal, '.');
  const auto [stop, error] = std::from_chars(buffer, buffer + text.size(), number);
  return error == std::errc() && stop == buffer + text.size() && std::isfinite(number);
}

std::int64_t UtcOf(const ZRReadDate& date, bool isUtc) {
  constexpr std::int64_t kMinute = 60'000;
  if (date.isInstant) return date.utc;
  ZRDateTime reading;
  reading.SetDateTime(date.year, date.month, date.day, date.hour, date.minute, date.second,
                      date.millisecond, 0);
  if (date.hasZone) return reading.UtcMilliseconds() - date.zoneMinutes * kMinute;
  return (isUtc ? reading : reading.LTC2UTC()).UtcMilliseconds();
}

}  // namespace

bool SplitFields(std::string& line, char delimiter, std::size_t most,
                 std::vector<std::string_view>& fields) {
  fields.clear();
  std::size_t at = 0;
  for (;;) {
    std::string_view field;
    SkipBlanks(line, delimiter, at);
    const bool quoted = at < line.size() && line[at] == kQuote && delimiter != kQuote;
    if (quoted) {
      if (!TakeQuoted(line, at, field)) return false;
      SkipBlanks(line, delimiter, at);
      if (at < line.size() && line[at] != delimiter) return false;
    } else {
      const std::size_t end = std::min(line.find(delimiter, at), line.size());
      field = Trimmed(std::string_view(line).substr(at, end - at));
      at = end;
    }
    if (fields.size() == most) return false;
    fields.push_back(field);
    if (at >= line.size()) return true;
    ++at;
  }
}

bool ZRReadingFile::Open(const std::string& path, const ZRReadingsForm& formOfFile,
                         std::string& reason) {
  form = formOfFile;
  faults = tagFaults();
  if (!reader.Open(path)) {
    reason = std::generic_category().message(errno);
    return false;
  }
  if (!ReadHeader(reason)) return false;
  if (Rewind()) return true;
  reason = "the file can't be read again from its start";
  return false;
}

bool ZRReadingFile::Rewind() {
  previous.reset();
  if (!reader.Rewind()) return false;
  return !form.header || reader.Next(line) == ZRLineReader::tagNext::kLine;
}

bool ZRReadingFile::ReadHeader(std::string& reason) {
  if (reader.Next(line) != ZRLineReader::tagNext::kLine ||
      !SplitFields(line, form.delimiter, kMostColumns, fields)) {
    reason = "its first line isn't a row of at most " + std::to_string(kMostColumns) + " fields";
    return false;
  }
  columnsOfFile = fields.size();
  std::vector<std::string> header;
  for (std::size_t i = 0; i < columnsOfFile; ++i)
    header.push_back(form.header ? std::string(fields[i]) : NumberedColumn(i));
  return ChooseColumns(header, reason);
}

bool ZRReadingFile::ChooseColumns(const std::vector<std::string>& header, std::string& reason) {
  const auto find = [&](const std::string& name, std::size_t& column) {
    column =
        static_cast<std::size_t>(std::find(header.begin(), header.end(), name) - header.begin());
    if (column == header.size()) reason = "it has no column " + Shown(name);
    return column < header.size();
  };
  std::size_t column = 0;
  dateIndexes.clear();
  valueIndexes.clear();
  names.clear();
  for (const std::string& name : form.dateColumns) {
    if (!find(name, column)) return false;
    dateIndexes.push_back(column);
  }
  for (const std::string& name : form.columns)
    if (!find(name, column) || !AddColumn(header, column, reason)) return false;
  for (column = 0; form.columns.empty() && column < header.size(); ++column) {
    const bool isDate =
        std::find(dateIndexes.begin(), dateIndexes.end(), column) != dateIndexes.end();
    if (!isDate && !AddColumn(header, column, reason)) return false;
  }
  values.resize(names.size());
  if (names.empty()) reason = "it has no column besides the dates";
  return !names.empty();
}

bool ZRReadingFile::AddColumn(const std::vector<std::string>& header, std::size_t column,
                              std::string& reason) {
  std::string name = VariableName(header[column], column);
  if (std::find(names.begin(), names.end(), name) != names.end()) {
    reason = "two of its columns would be called " + Shown(name);
    return false;
  }
  valueIndexes.push_back(column);
  names.push_back(std::move(name));
  return true;
}

ZRReadingFile::tagNext ZRReadingFile::Next() {
  for (;;) {
    switch (reader.Next(line)) {
      case ZRLineReader::tagNext::kEnd:
        return tagNext::kEnd;
      case ZRLineReader::tagNext::kFailed:
        return tagNext::kFailed;
      case ZRLineReader::tagNext::kTooLong:
        Report(faults.lines, "it is too long");
        break;
      case ZRLineReader::tagNext::kLine:
        if (ReadLine()) return tagNext::kReading;
        break;
    }
  }
}

bool ZRReadingFile::ReadLine() {
  if (line.empty()) return false;
  if (!SplitFields(line, form.delimiter, kMostColumns, fields) || fields.size() != columnsOfFile) {
    Report(faults.lines, "it doesn't have " + std::to_string(columnsOfFile) + " fields");
    return false;
  }
  std::int64_t date = 0;
  if (!ReadDate(date)) {
    Report(faults.lines, "its date doesn't fit: " + Shown(fields[dateIndexes.front()]));
    return false;
  }
  if (previous && date < *previous) {
    Report(faults.backwards, "its date lies before the one above");
    return false;
  }
  previous = utc = date;
  ReadValues();
  return true;
}

bool ZRReadingFile::ReadDate(std::int64_t& date) {
  constexpr std::size_t kLongest = 128;
  std::string_view text = fields[dateIndexes.front()];
  std::string joined;
  if (dateIndexes.size() > 1) {
    const std::string_view second = fields[dateIndexes.back()];
    if (text.size() + second.size() > kLongest) return false;
    joined.append(text).append(" ").append(second);
    text = joined;
  }
  ZRReadDate read;
  if (!form.dateFormat.Read(text, read)) return false;
  date = UtcOf(read, form.isUtc);
  return true;
}

void ZRReadingFile::ReadValues() {
  for (std::size_t i = 0; i < valueIndexes.size(); ++i)
    values[i] = ReadValue(fields[valueIndexes[i]], i);
}

std::optional<double> ZRReadingFile::ReadValue(std::string_view field, std::size_t place) {
  if (std::find(form.missing.begin(), form.missing.end(), field) != form.missing.end())
    return std::nullopt;
  double number = 0.0;
  if (ReadNumber(field, form.decimal, number)) return number;
  Report(faults.fields, Shown(field) + " in column \"" + names[place] + "\" isn't a number");
  return std::nullopt;
}

void ZRReadingFile::Report(std::int64_t& count, const std::string& what) {
  ++count;
  if (faults.reported.size() < kMostReported) {
    faults.reported.push_back(
        std::string("line ").append(std::to_string(reader.LineNumber())).append(": ").append(what));
  }
}

bool ZRReadingFile::Measure(ZRReadingsSpan& span) {
  span = ZRReadingsSpan();
  tagNext next = Next();
  for (; next == tagNext::kReading; next = Next()) {
    if (span.readings++ == 0) span.first = utc;
    span.last = utc;
  }
  return next == tagNext::kEnd;
}
