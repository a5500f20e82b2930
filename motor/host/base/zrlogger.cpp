#include "host/base/zrlogger.h"

#include <spdlog/details/null_mutex.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <memory>
#include <system_error>
#include <utility>

#include "host/base/zrlogfile.h"
#include "host/base/zrlogtext.h"
#include "host/platform/zrmutex.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zrtext.h"

namespace {

// Lines come to the sinks complete: no text is ever read as a pattern.
constexpr const char* kWholeLine = "%v";

// Our files as a sink.
class CFileSink final : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
 public:
  explicit CFileSink(std::unique_ptr<ZRLogFile> toWrite) : file(std::move(toWrite)) {}

 private:
  void sink_it_(const spdlog::details::log_msg& message) override {
    spdlog::memory_buf_t line;
    formatter_->format(message, line);
    file->Write(std::string_view(line.data(), line.size()));
  }
  void flush_() override { file->Flush(); }

  const std::unique_ptr<ZRLogFile> file;
};

spdlog::level::level_enum ToSpdlog(int level) {
  constexpr spdlog::level::level_enum kLevels[] = {spdlog::level::debug, spdlog::level::warn,
                                                   spdlog::level::info, spdlog::level::err,
                                                   spdlog::level::critical};
  return kLevels[level];
}

std::shared_ptr<spdlog::logger> MakeWriter(spdlog::sink_ptr sink) {
  auto writer = std::make_shared<spdlog::logger>("log", std::move(sink));
  writer->set_pattern(kWholeLine);
  writer->set_level(spdlog::level::trace);               // levels are ours: see wantedLevel
  writer->flush_on(spdlog::level::info);                 // all but the trace
  writer->set_error_handler([](const std::string&) {});  // a lost line stops nobody
  return writer;
}

std::shared_ptr<spdlog::logger> MakeTerminalWriter() {
  return MakeWriter(std::make_shared<spdlog::sinks::stderr_sink_st>());
}

// What lines are written with. The lock comes behind all others.
class CLog {
 public:
  void Write(int level, const ZRWString& text) {
    const ZRDateTime now = ZRDateTime::LTC();
    const ZRMutexLock lock(mutex);
    if (sink != nullptr) {
      sink(sinkContext, level, text);
      return;
    }
    const ZRString line = MakeLogLine(target, level, now, text);
    const spdlog::log_clock::time_point time{std::chrono::milliseconds(now.UtcMilliseconds())};
    writer->log(time, spdlog::source_loc{}, ToSpdlog(level),
                spdlog::string_view_t(line.Text(), line.Length()));
  }

  void Replace(ZRLogTarget newTarget, std::shared_ptr<spdlog::logger> newWriter) {
    const ZRMutexLock lock(mutex);
    target = newTarget;
    writer.swap(newWriter);
  }

  void SetSink(ZRLogSink newSink, void* context) {
    const ZRMutexLock lock(mutex);
    sink = newSink;
    sinkContext = context;
  }

  void Flush() {
    const ZRMutexLock lock(mutex);
    writer->flush();
  }

 private:
  ZRMutex mutex;
  ZRLogTarget target ZR_GUARDED_BY(mutex) = ZRLogTarget::kTerminal;
  std::shared_ptr<spdlog::logger> writer ZR_GUARDED_BY(mutex) = MakeTerminalWriter();
  ZRLogSink sink ZR_GUARDED_BY(mutex) = nullptr;
  void* sinkContext ZR_GUARDED_BY(mutex) = nullptr;
};

std::atomic<int> wantedLevel{kLogDelivery};

// Lives until the process is gone: whatever is destroyed at its end may still log.
CLog& Log() {
  static CLog& log = *std::make_unique<CLog>().release();
  return log;
}

}  // namespace

void logger(int level, const wchar_t* format, ...) {
  if (!IsLogged(level)) return;
  std::va_list arguments;
  va_start(arguments, format);
  try {
    ZRWString text;
    FormatWide(text, format, arguments);
    Log().Write(std::clamp(level, kLogTrace, kLogInvariant), EscapeLogText(text));
  } catch (const std::exception&) {  // no memory, or a text beyond all measure
    (void)level;
  }
  va_end(arguments);
}

bool IsLogged(int level) {
  return std::clamp(level, kLogTrace, kLogInvariant) >= wantedLevel.load(std::memory_order_relaxed);
}

bool SetupLog(const ZRLogSettings& settings, ZRString& reason) {
  if (settings.target == ZRLogTarget::kFile) {
    const ZRString path = Utf16ToUtf8(settings.file.View());
    auto file = std::make_unique<ZRLogFile>(path.Text(), settings.fileSize, settings.files);
    if (!file->Open()) {
      const std::string why = std::generic_category().message(errno);
      reason = ZRString("the log file can't be opened: ") + path + ": " + why.c_str();
      return false;
    }
    Log().Replace(settings.target, MakeWriter(std::make_shared<CFileSink>(std::move(file))));
  } else {
    Log().Replace(settings.target, MakeTerminalWriter());
  }
  SetLogLevel(settings.level);
  return true;
}

void FlushLog() {
  Log().Flush();
}

void SetLogSink(ZRLogSink sink, void* context) {
  Log().SetSink(sink, context);
}

void SetLogLevel(int level) {
  wantedLevel.store(level, std::memory_order_relaxed);
}
