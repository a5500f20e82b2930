#include <cctype>
#include <charconv>
#include <filesystem>
#include <system_error>
#include <utility>

#include "host/drivers/zrdriverfactory.h"
#include "host/tools/zrtext.h"

namespace {

constexpr double kSlowest = 0.001;
constexpr double kFastest = 1e6;
constexpr int kDefaultStep = 1000;  // ms

bool IsForbiddenDelimiter(char delimiter) {
  return std::string_view("\"\r\n\0", 4).find(delimiter) != std::string_view::npos;
}

void ReadSpeed(ZRDriverSettings& settings, ZRReplaySettings& replay) {
  const std::string speed = settings.Text("speed", "true");
  replay.isStep = speed == "step";
  if (replay.isStep) {
    replay.step =
        settings.Integer("step_ms", kDefaultStep, static_cast<int>(ZRPolledDriver::kShortestPeriod),
                         static_cast<int>(ZRPolledDriver::kLongestPeriod));
  } else if (speed != "true" && speed != "T") {
    replay.factor = settings.Number("speed", 1.0, kSlowest, kFastest);
  }
}

void ReadSeparators(ZRDriverSettings& settings, ZRReadingsForm& form) {
  form.delimiter = settings.Character("delimiter", ',');
  form.decimal = settings.Character("decimal", '.');
  if (form.decimal != '.' && form.decimal != ',')
    settings.Error("decimal", "must be \".\" or \",\"");
  if (IsForbiddenDelimiter(form.delimiter) || form.delimiter == form.decimal) {
    settings.Error("delimiter",
                   "must be another character than the decimal separator, a quote "
                   "and the end of a line");
  }
}

void ReadColumns(ZRDriverSettings& settings, ZRReadingsForm& form) {
  form.header = settings.Flag("header", true);
  form.dateColumns = settings.Texts("date_columns");
  if (form.dateColumns.empty() || form.dateColumns.size() > 2) {
    settings.Error("date_columns",
                   form.dateColumns.empty() ? "is missing" : "must be one column or two");
  }
  form.columns = settings.Texts("columns");
  if (form.columns.size() > ZRReadingFile::kMostColumns) {
    settings.Error("columns",
                   "must be " + std::to_string(ZRReadingFile::kMostColumns) + " columns at most");
  }
  if (settings.Has("missing")) form.missing = settings.Texts("missing");
}

void ReadDates(ZRDriverSettings& settings, ZRReadingsForm& form) {
  std::string reason;
  const std::string dates = settings.RequiredText("date_format");
  if (!dates.empty() && !form.dateFormat.Set(dates, reason)) settings.Error("date_format", reason);
  const std::string zone = settings.Text("zone", "local");
  form.isUtc = zone == "utc";
  if (!form.isUtc && zone != "local")
    settings.Error("zone", "must be \"local\" or \"utc\", not \"" + zone + "\"");
}

void ReadPath(ZRDriverSettings& settings, ZRReplaySettings& replay) {
  std::string reason;
  replay.title = settings.RequiredText("file");
  const bool outside = settings.Flag("outside", false);
  if (replay.title.empty()) return;
  const ZRString site = Utf16ToUtf8(ZRTessalySetup::Get().SitePath().View());
  replay.path = PathBelowSite(site.Text(), replay.title, outside, reason);
  if (replay.path.empty()) settings.Error("file", reason);
}

bool IsBelow(const std::filesystem::path& folder, const std::filesystem::path& file) {
  const std::filesystem::path relative = file.lexically_relative(folder);
  return !relative.empty() && *relative.begin() != "..";
}

}  // namespace

std::string PathBelowSite(const std::string& site, const std::string& file, bool outside,
                          std::string& reason) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path folder = fs::weakly_canonical(site.empty() ? "." : site, error);
  const fs::path wanted = folder / file;  // an absolute `file` takes the place of the folder
  const fs::path real = error ? fs::path() : fs::weakly_canonical(wanted, error);
  const bool named = file.find('\0') == std::string::npos;
  if (error || !named || real.empty()) {
    reason = "can't be followed to a file";
    return {};
  }
  if (!outside && (fs::path(file).is_absolute() || !IsBelow(folder, real))) {
    reason = "must lie below the site's folder, or \"outside\" be true";
    return {};
  }
  const fs::file_status status = fs::status(real, error);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    reason = "isn't a file";
    return {};
  }
  return real.string();
}

ZRReplaySettings ZRDriverFactory::ReadReplay(ZRDriverSettings& settings) {
  ZRReplaySettings replay;
  ReadPath(settings, replay);
  ReadSeparators(settings, replay.form);
  ReadColumns(settings, replay.form);
  ReadDates(settings, replay.form);
  ReadSpeed(settings, replay);
  replay.loop = settings.Flag("loop", false);
  return replay;
}

std::unique_ptr<ZRDriver> ZRDriverFactory::MakeReplay(ZRDriverSettings& settings) {
  ZRWString id;
  ZRWString name;
  const bool identified = ReadIdentity(settings, id, name);
  ZRReplaySettings replay = ReadReplay(settings);
  if (!identified || settings.HasErrors()) return nullptr;
  return std::make_unique<ZRReplayDriver>(id, name, std::move(replay));
}

bool ZRDriverFactory::MeasureReplay(const XmlDocument::XmlNode& settings, ZRReadingsSpan& span,
                                    std::vector<ZRSettingProblem>& problems) {
  ZRDriverSettings reader(settings, SubjectOf(settings), problems);
  if (reader.RequiredText("type") != "replay") {
    reader.Error("type", "must be \"replay\"");
    return false;
  }
  const ZRReplaySettings replay = ReadReplay(reader);
  std::string reason;
  if (reader.HasErrors()) return false;
  if (ZRReplayDriver::Measure(replay, span, reason)) return true;
  reader.Error("file", reason);
  return false;
}
