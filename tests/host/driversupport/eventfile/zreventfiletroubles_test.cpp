#include "host/driversupport/eventfile/zreventfiletroubles.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "host/platform/zrvirtualtime.h"
#include "support/logcapture.h"

namespace {

constexpr std::uint64_t kMinute = 60'000;
constexpr std::uint64_t kHour = 60 * kMinute;

class EventFileTroubles : public testing::Test {
 protected:
  EventFileTroubles() {
    // What other tests have told is over by now.
    troubles.Cured();
    time.Advance(2 * kHour);
    time.SetTickCount(time.TickCount() + static_cast<std::uint32_t>(20 * kHour) * ++begun);
  }
  // How many lines of the log a trouble makes.
  std::size_t Lines(ZREventFileTrouble trouble, const wchar_t* path, int error) {
    log.Clear();
    troubles.Add(trouble, path, error);
    return log.Lines().size();
  }

  static inline std::uint32_t begun = 0;
  ZRVirtualTime time;
  LogCapture log;
  ZREventFileTroubles& troubles = ZREventFileTroubles::Get();
};

TEST_F(EventFileTroubles, ACauseIsToldOnceWhateverTheFile) {
  EXPECT_EQ(Lines(ZREventFileTrouble::kWrite, L"/data/a", EDQUOT), 1u);
  EXPECT_EQ(log.Lines().front(),
            (LogCapture::tagLine{
                kLogDelivery, "History: a record can't be written: /data/a: Disk quota exceeded"}));
  EXPECT_EQ(Lines(ZREventFileTrouble::kWrite, L"/data/a", EDQUOT), 0u);
  EXPECT_EQ(Lines(ZREventFileTrouble::kWrite, L"/data/b", EDQUOT), 0u);
  EXPECT_EQ(Lines(ZREventFileTrouble::kWrite, L"/data/a", EIO), 1u);
  EXPECT_EQ(Lines(ZREventFileTrouble::kSync, L"/data/a", EDQUOT), 1u);
}

TEST_F(EventFileTroubles, ItIsToldAgainAfterAnHourWithItsNumber) {
  EXPECT_EQ(Lines(ZREventFileTrouble::kWrite, L"/data/a", EROFS), 1u);
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(Lines(ZREventFileTrouble::kWrite, L"/data/a", EROFS), 0u);
  time.Advance(kHour);
  EXPECT_EQ(Lines(ZREventFileTrouble::kWrite, L"/data/a", EROFS), 1u);
  EXPECT_NE(log.Lines().front().text.find("(5 times since it was told)"), std::string::npos);
}

TEST_F(EventFileTroubles, ItIsToldAgainAfterTheCureButNotEachTime) {
  EXPECT_EQ(Lines(ZREventFileTrouble::kOpen, L"/data/a", EMFILE), 1u);
  time.Advance(2 * kMinute);
  EXPECT_EQ(Lines(ZREventFileTrouble::kOpen, L"/data/a", EMFILE), 0u);
  troubles.Cured();
  EXPECT_EQ(Lines(ZREventFileTrouble::kOpen, L"/data/a", EMFILE), 1u);
  troubles.Cured();
  EXPECT_EQ(Lines(ZREventFileTrouble::kOpen, L"/data/a", EMFILE), 0u);
  time.Advance(kMinute);
  EXPECT_EQ(Lines(ZREventFileTrouble::kOpen, L"/data/a", EMFILE), 1u);
}

TEST_F(EventFileTroubles, ADamagedFileIsToldByItsNameAndNotCuredByOthers) {
  EXPECT_EQ(Lines(ZREventFileTrouble::kDamaged, L"/data/a", 0), 1u);
  EXPECT_EQ(Lines(ZREventFileTrouble::kDamaged, L"/data/b", 0), 1u);
  troubles.Cured();
  time.Advance(2 * kMinute);
  EXPECT_EQ(Lines(ZREventFileTrouble::kDamaged, L"/data/a", 0), 0u);
}

TEST_F(EventFileTroubles, EachIsCounted) {
  const std::uint64_t before = troubles.Count(ZREventFileTrouble::kTorn);
  troubles.Add(ZREventFileTrouble::kTorn, L"/data/a", 0);
  troubles.Add(ZREventFileTrouble::kTorn, L"/data/a", 0);
  EXPECT_EQ(troubles.Count(ZREventFileTrouble::kTorn), before + 2);
}

}  // namespace
