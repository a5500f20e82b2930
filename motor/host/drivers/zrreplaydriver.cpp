#include "host/drivers/zrreplaydriver.h"

#include <cmath>
#include <utility>

#include "host/base/zrlogger.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zrtext.h"

namespace {

constexpr int kMostReadingsInAPass = 10'000;      // then others get their turn
constexpr std::int64_t kDefaultDistance = 1'000;  // ms, where a file has a single reading
constexpr std::int64_t kReportEvery = 10'000;     // ms at least between two lines of progress
constexpr std::int64_t kPercent = 100;

ZRString LocalText(std::int64_t utc) {
  ZRString text;
  (void)DateTime2String(text, ZRDateTime::FromUtcMilliseconds(utc).UTC2LTC(), false, false);
  return text;
}

}  // namespace

ZRReplayDriver::ZRReplayDriver(const ZRWString& ofId, const ZRWString& ofName,
                               ZRReplaySettings settingsToUse)
    : ZRPolledDriver(ofId, ofName, kShortestPeriod), settings(std::move(settingsToUse)) {}

bool ZRReplayDriver::Measure(const ZRReplaySettings& ofFile, ZRReadingsSpan& held,
                             std::string& reason) {
  ZRReadingFile measured;
  if (!measured.Open(ofFile.path, ofFile.form, reason)) return false;
  if (!measured.Measure(held)) {
    reason = "it can't be read to its end";
    return false;
  }
  if (held.readings > 0) return true;
  reason = "it holds no reading";
  if (!measured.Faults().reported.empty()) reason += "; " + measured.Faults().reported.front();
  return false;
}

bool ZRReplayDriver::Prepare() {
  std::string reason;
  if (!OpenFile(reason)) {
    logger(kLogConfiguration, L"replay '%ls': '%s': %s", Name().Text(), settings.title.c_str(),
           reason.c_str());
    return false;
  }
  AddVariables();
  LogFaults();
  logger(kLogNotice, L"replay '%ls': %lld readings from %s to %s", Name().Text(),
         static_cast<long long>(span.readings), LocalText(span.first).Text(),
         LocalText(span.last).Text());
  state = tagState::kPlaying;
  now = due = runStart = shown = reportedAt = reportedPercent = 0;
  distance = kDefaultDistance;
  lastUtc = span.first;
  Fetch();
  due = 0;
  return true;
}

bool ZRReplayDriver::OpenFile(std::string& reason) {
  if (!file.Open(settings.path, settings.form, reason)) return false;
  if (!file.Measure(span)) {
    reason = "it can't be read to its end";
  } else if (span.readings == 0) {
    reason = "it holds no reading";
  } else if (!file.Rewind()) {
    reason = "it can't be read again from its start";
  }
  if (!reason.empty()) LogFaults();
  return reason.empty();
}

void ZRReplayDriver::AddVariables() {
  columns.clear();
  for (const std::string& column : file.Columns())
    columns.push_back(AddPolled(Utf8ToUtf16(column)));
}

void ZRReplayDriver::LogFaults() const {
  const ZRReadingFile::tagFaults& faults = file.Faults();
  for (const std::string& fault : faults.reported) {
    logger(kLogConfiguration, L"replay '%ls': '%s', %s", Name().Text(), settings.title.c_str(),
           fault.c_str());
  }
  if (faults.reported.empty()) return;
  logger(kLogConfiguration,
         L"replay '%ls': passed over: %lld lines that can't be read, %lld that go back in time, "
         L"%lld fields that aren't numbers",
         Name().Text(), static_cast<long long>(faults.lines),
         static_cast<long long>(faults.backwards), static_cast<long long>(faults.fields));
}

void ZRReplayDriver::Poll(std::int64_t utc) {
  now = Elapsed();
  int readings = 0;
  while (state == tagState::kPlaying && due <= now && readings < kMostReadingsInAPass &&
         !IsStopping()) {
    Show(utc);
    Fetch();
    ++readings;
  }
  if (state == tagState::kEnding && due <= now) End(L"is over");
  if (readings > 0) LogProgress();
}

std::int64_t ZRReplayDriver::NextDue(std::int64_t dueNow) const {
  return state == tagState::kOver ? dueNow + kLongestPeriod : due;
}

void ZRReplayDriver::Show(std::int64_t utc) {
  if (shown > 0 && shown % span.readings == 0)
    logger(kLogTrace, L"replay '%ls': begins again", Name().Text());
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const std::optional<double>& value = file.Values()[i];
    ZRLiveValue& live = Variable(columns[i]);
    if (value) {
      live.SetNumber(*value, utc);
    } else {
      live.SetUnavailable();
    }
  }
  ++shown;
  shownUtc = lastUtc;
}

std::int64_t ZRReplayDriver::Scaled(std::int64_t recorded) const {
  return std::llround(std::ceil(static_cast<double>(recorded) / settings.factor));
}

void ZRReplayDriver::Fetch() {
  switch (file.Next()) {
    case ZRReadingFile::tagNext::kFailed:
      End(L"ends early: the file can't be read");
      return;
    case ZRReadingFile::tagNext::kEnd:
      FetchAfterEnd();
      return;
    case ZRReadingFile::tagNext::kReading:
      break;
  }
  if (file.Utc() > lastUtc) distance = file.Utc() - lastUtc;
  lastUtc = file.Utc();
  due = settings.isStep ? now + settings.step : runStart + Scaled(lastUtc - span.first);
}

void ZRReplayDriver::FetchAfterEnd() {
  // Some time behind the start of this run, so that a loop can't turn on the spot.
  due = settings.isStep ? now + settings.step : runStart + Scaled(lastUtc - span.first + distance);
  if (!settings.loop) {
    state = tagState::kEnding;
    return;
  }
  if (!file.Rewind() || file.Next() != ZRReadingFile::tagNext::kReading) {
    End(L"ends: the file can't be read again");
    return;
  }
  runStart = due;
  lastUtc = file.Utc();
}

void ZRReplayDriver::End(const wchar_t* why) {
  state = tagState::kOver;
  GoOffline();
  logger(kLogNotice, L"replay '%ls' %ls after %lld readings", Name().Text(), why,
         static_cast<long long>(shown));
}

void ZRReplayDriver::LogProgress() {
  const std::int64_t ofThisRun = (shown - 1) % span.readings + 1;
  const std::int64_t percent = ofThisRun * kPercent / span.readings;
  if (now - reportedAt < kReportEvery || percent == reportedPercent) return;
  reportedAt = now;
  reportedPercent = percent;
  logger(kLogNotice, L"replay '%ls': %lld of %lld readings (%lld %%), at %s", Name().Text(),
         static_cast<long long>(ofThisRun), static_cast<long long>(span.readings),
         static_cast<long long>(percent), LocalText(shownUtc).Text());
}
