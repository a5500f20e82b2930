#include "tessaly/zropenfiles.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace {

// Puts the limit back as it was.
class OpenFiles : public testing::Test {
 protected:
  OpenFiles() { EXPECT_EQ(0, ::getrlimit(RLIMIT_NOFILE, &before)); }
  ~OpenFiles() override { EXPECT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &before)); }

  static rlim_t Limit() {
    rlimit limit{};
    EXPECT_EQ(0, ::getrlimit(RLIMIT_NOFILE, &limit));
    return limit.rlim_cur;
  }
  void Lower(rlim_t to) const {
    const rlimit lower{to, before.rlim_max};
    EXPECT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &lower));
  }

  rlimit before{};
};

TEST_F(OpenFiles, AreAsManyAsWanted) {
  Lower(100);
  EXPECT_EQ(200u, AllowOpenFiles(200));
  EXPECT_EQ(200u, Limit());
}

TEST_F(OpenFiles, AreNeverFewerThanBefore) {
  Lower(200);
  EXPECT_EQ(200u, AllowOpenFiles(100));
  EXPECT_EQ(200u, Limit());
}

TEST_F(OpenFiles, AreNoMoreThanTheSystemAllows) {
  Lower(100);
  EXPECT_EQ(before.rlim_max, AllowOpenFiles(~std::uint64_t{0}));
  EXPECT_EQ(before.rlim_max, Limit());
}

}  // namespace
