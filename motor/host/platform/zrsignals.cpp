#include "host/platform/zrsignals.h"

#include <csignal>
#include <ctime>
#include <initializer_list>

namespace {

sigset_t Requests() {
  sigset_t set;
  (void)sigemptyset(&set);
  for (const int number : {SIGINT, SIGTERM, SIGHUP})
    (void)sigaddset(&set, number);
  return set;
}

}  // namespace

void ZRSignals::Keep() {
  const sigset_t requests = Requests();
  (void)pthread_sigmask(SIG_BLOCK, &requests, nullptr);
  (void)std::signal(SIGPIPE, SIG_IGN);
}

ZRSignal ZRSignals::Wait(std::uint32_t milliseconds) {
  constexpr long kNanosecondsInMillisecond = 1'000'000;
  const sigset_t requests = Requests();
  const timespec span{static_cast<std::time_t>(milliseconds / 1000),
                      static_cast<long>(milliseconds % 1000) * kNanosecondsInMillisecond};
  switch (::sigtimedwait(&requests, nullptr, &span)) {
    case SIGINT:
    case SIGTERM:
      return ZRSignal::kStop;
    case SIGHUP:
      return ZRSignal::kReload;
    default:
      return ZRSignal::kNone;
  }
}
