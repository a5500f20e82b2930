#include "tessaly/zropenfiles.h"

#include <sys/resource.h>

#include <algorithm>

std::uint64_t AllowOpenFiles(std::uint64_t wanted) {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return 0;
  const rlim_t before = limit.rlim_cur;
  if (before >= wanted) return before;
  limit.rlim_cur = std::min<rlim_t>(wanted, limit.rlim_max);
  return ::setrlimit(RLIMIT_NOFILE, &limit) == 0 ? limit.rlim_cur : before;
}
