// What the tests of drivers share.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/base/zrlogger.h"
#include "host/driversupport/zrlivevalue.h"
#include "host/platform/zrvirtualtime.h"
#include "host/support/zrtessalysetup.h"
#include "host/tools/xmldocument.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zrtext.h"

// Virtual time, with files that exist in it only.
class CFakeMachine : public ZRVirtualTime {
 public:
  using ZRVirtualTime::ZRVirtualTime;

  std::map<std::string, std::string> files;
  std::map<std::string, std::vector<std::string>> folders;

  std::FILE* OpenFile(const std::string& path, const char* mode) override {
    const auto found = files.find(path);
    if (found == files.end() || mode[0] != 'r') {
      errno = ENOENT;
      return nullptr;
    }
    // A stream in memory can't be empty.
    return found->second.empty() ? ZRVirtualTime::OpenFile("/dev/null", "r")
                                 : ::fmemopen(found->second.data(), found->second.size(), "r");
  }

  bool ListFolder(const std::string& folder, std::vector<std::string>& names) override {
    const auto found = folders.find(folder);
    if (found == folders.end()) return false;
    names = found->second;
    return true;
  }
};

// The number of a variable; nothing if it has none at present.
inline std::optional<double> NumberOf(const wchar_t* fullName) {
  ZRLiveValue* const live = ZRLiveValues::Get().Find(ZRWString(fullName));
  if (live == nullptr) return std::nullopt;
  double number = 0.0;
  const bool has = live->Number(number);
  ZRLiveValues::Get().Release(live);
  return has ? std::optional(number) : std::nullopt;
}

inline std::optional<std::string> TextOf(const wchar_t* fullName) {
  ZRLiveValue* const live = ZRLiveValues::Get().Find(ZRWString(fullName));
  if (live == nullptr) return std::nullopt;
  char text[ZRLiveValue::kMaximumText];
  std::size_t length = 0;
  const bool has = live->Text(text, length);
  ZRLiveValues::Get().Release(live);
  return has ? std::optional(std::string(text, length)) : std::nullopt;
}

inline ZRQuality QualityOf(const wchar_t* fullName) {
  ZRLiveValue* const live = ZRLiveValues::Get().Find(ZRWString(fullName));
  if (live == nullptr) return ZRQuality::kUnknown;
  const ZRQuality quality = live->Quality();
  ZRLiveValues::Get().Release(live);
  return quality;
}

// A table of settings, given as elements.
class CSettings {
 public:
  explicit CSettings(const std::string& elements) {
    EXPECT_TRUE(document.Parse(("<driver>" + elements + "</driver>").c_str())) << elements;
  }
  [[nodiscard]] const XmlDocument::XmlNode& Table() const { return *document.Root(); }

 private:
  XmlDocument document;
};

inline std::string TextsOf(const std::vector<ZRSettingProblem>& problems) {
  std::string texts;
  for (const ZRSettingProblem& problem : problems)
    texts.append(problem.text.Text()).append("\n");
  return texts;
}

// Collects the lines of the log for as long as it lives.
class CLogLines {
 public:
  CLogLines() {
    SetLogLevel(kLogTrace);
    SetLogSink(&Take, this);
  }
  ~CLogLines() {
    SetLogSink(nullptr, nullptr);
    SetLogLevel(kLogDelivery);
  }
  CLogLines(const CLogLines&) = delete;
  CLogLines& operator=(const CLogLines&) = delete;

  [[nodiscard]] int Count(const std::string& piece) const {
    int count = 0;
    for (const std::string& line : lines)
      if (line.find(piece) != std::string::npos) ++count;
    return count;
  }
  std::vector<std::string> lines;

 private:
  static void Take(void* context, int, const ZRWString& line) {
    static_cast<CLogLines*>(context)->lines.emplace_back(Utf16ToUtf8(line.View()).Text());
  }
};
