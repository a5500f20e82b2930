#include "tessaly/zrsitelock.h"

#include <gtest/gtest.h>

#include "support/sitefolder.h"

namespace {

using Answer = ZRSiteLock::tagAnswer;

TEST(SiteLock, IsHeldByOneAtATime) {
  const SiteFolder site;
  {
    ZRSiteLock first;
    EXPECT_EQ(first.Take(site.path.string()), Answer::kTaken);
    EXPECT_EQ(first.Reason(), "");
    ZRSiteLock second;
    EXPECT_EQ(second.Take(site.path.string()), Answer::kBusy);
    ZRSiteLock third;
    EXPECT_EQ(third.Take(site.path.string()), Answer::kBusy) << "whatever became of the second";
  }
  ZRSiteLock next;
  EXPECT_EQ(next.Take(site.path.string()), Answer::kTaken);
}

TEST(SiteLock, IsOfItsSiteAlone) {
  const SiteFolder one;
  const SiteFolder other;
  ZRSiteLock first;
  ZRSiteLock second;
  EXPECT_EQ(first.Take(one.path.string()), Answer::kTaken);
  EXPECT_EQ(second.Take(other.path.string()), Answer::kTaken);
}

TEST(SiteLock, ThatCannotBeMadeHasAReason) {
  const SiteFolder site;
  ZRSiteLock nowhere;
  EXPECT_EQ(nowhere.Take((site.path / "none").string()), Answer::kImpossible);
  EXPECT_EQ(nowhere.Reason(), "No such file or directory");
  std::filesystem::create_directory(site.path / ZRSiteLock::kFileName);
  ZRSiteLock folder;
  EXPECT_EQ(folder.Take(site.path.string()), Answer::kImpossible);
  EXPECT_NE(folder.Reason(), "");
}

}  // namespace
