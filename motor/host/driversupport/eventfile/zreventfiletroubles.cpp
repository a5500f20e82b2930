#include "host/driversupport/eventfile/zreventfiletroubles.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <map>
#include <string>
#include <system_error>
#include <tuple>

#include "host/base/zrlogger.h"
#include "host/platform/zrmutex.h"
#include "host/platform/zrplatform.h"

namespace {

constexpr std::uint32_t kQuietMinute = 60'000;   // ms
constexpr std::uint32_t kQuietHour = 3'600'000;  // ms
constexpr std::size_t kMostCauses = 1000;

constexpr std::array<const wchar_t*, kEventFileTroubles> kTexts = {
    L"a data file can't be made",
    L"a data file can't be opened",
    L"a data file is refused: it is damaged, of another type, or of a newer program",
    L"a record can't be written",
    L"a record can't be made durable",
    L"the end of a data file was torn, and is set aside",
    L"a data file has damaged records",
};

bool IsOfFile(ZREventFileTrouble trouble) {
  return trouble == ZREventFileTrouble::kRefused || trouble == ZREventFileTrouble::kTorn ||
         trouble == ZREventFileTrouble::kDamaged;
}

}  // namespace

class ZREventFileTroubles::CState {
 public:
  // What is told once: the trouble, the error, and the file if that is the cause.
  using tagCause = std::tuple<ZREventFileTrouble, int, ZRWString>;
  struct tagTold {
    bool isTold = false;
    bool isCured = false;
    std::uint32_t when = 0;   // ticks
    std::uint64_t times = 0;  // since then
  };

  // How often the cause came since it was told; 0 if it isn't to be told now.
  std::uint64_t TimesToTell(const tagCause& cause) ZR_REQUIRES(mutex) {
    if (told.size() >= kMostCauses && told.find(cause) == told.end()) told.clear();
    tagTold& known = told[cause];
    ++known.times;
    const std::uint32_t now = ZRPlatform::Get().TickCount();
    const std::uint32_t quiet = known.isCured ? kQuietMinute : kQuietHour;
    if (known.isTold && now - known.when < quiet) return 0;
    const std::uint64_t times = known.times;
    known = {true, false, now, 0};
    return times;
  }

  std::array<std::atomic<std::uint64_t>, kEventFileTroubles> counts{};
  std::atomic<bool> hasTrouble{false};  // of writing, since the last record that was written
  ZRMutex mutex;
  std::map<tagCause, tagTold> told ZR_GUARDED_BY(mutex);
};

ZREventFileTroubles& ZREventFileTroubles::Get() {
  static ZREventFileTroubles troubles;
  return troubles;
}

ZREventFileTroubles::ZREventFileTroubles() : state(std::make_unique<CState>()) {}

ZREventFileTroubles::~ZREventFileTroubles() = default;

void ZREventFileTroubles::Add(ZREventFileTrouble trouble, const ZRWString& path, int error) {
  const auto number = static_cast<std::size_t>(trouble);
  ++state->counts[number];
  std::uint64_t times = 0;
  {
    const ZRMutexLock lock(state->mutex);
    times = state->TimesToTell({trouble, error, IsOfFile(trouble) ? path : ZRWString()});
    if (!IsOfFile(trouble)) state->hasTrouble = true;
  }
  if (times == 0) return;
  const std::string why = error != 0 ? ": " + std::generic_category().message(error) : "";
  if (times == 1) {
    logger(kLogDelivery, L"History: %ls: %ls%s", kTexts[number], path.Text(), why.c_str());
  } else {
    logger(kLogDelivery, L"History: %ls: %ls%s (%llu times since it was told)", kTexts[number],
           path.Text(), why.c_str(), static_cast<unsigned long long>(times));
  }
}

void ZREventFileTroubles::Cured() {
  if (!state->hasTrouble.load(std::memory_order_relaxed)) return;
  const ZRMutexLock lock(state->mutex);
  state->hasTrouble = false;
  for (auto& [cause, known] : state->told)
    if (!IsOfFile(std::get<0>(cause))) known.isCured = true;
}

std::uint64_t ZREventFileTroubles::Count(ZREventFileTrouble trouble) const {
  return state->counts[static_cast<std::size_t>(trouble)];
}
