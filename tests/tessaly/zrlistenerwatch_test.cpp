#include "tessaly/zrlistenerwatch.h"

#include <gtest/gtest.h>

#include "host/base/zrlogger.h"
#include "host/platform/zrvirtualtime.h"
#include "support/logcapture.h"
#include "support/text.h"

namespace {

class ListenerWatch : public ::testing::Test {
 protected:
  static ZRListenerBoard::tagRow Row(const std::string& driverId, int status) {
    ZRListenerBoard::tagRow row;
    row.driverId = Wide(driverId);
    row.host = "10.0.0.7";
    row.port = 8480;
    row.lastStatus = status;
    return row;
  }
  std::vector<std::string> Said() const { return log.Starting("listener '"); }

  ZRVirtualTime time;
  LogCapture log{kLogDelivery};
  ZRListenerWatch watch;
};

TEST_F(ListenerWatch, SaysWhoIsDroppedAndWithWhatStatus) {
  watch.Look({Row("a", 204), Row("b", 500)});
  watch.Look({Row("a", 204)});
  EXPECT_EQ(Said(), (std::vector<std::string>{"listener 'b' at 10.0.0.7:8480 doesn't take its "
                                              "events and is dropped: last status 500"}));
}

TEST_F(ListenerWatch, SaysNothingOfThoseWhoStay) {
  watch.Look({});
  watch.Look({Row("a", -1)});
  watch.Look({Row("a", 500)});
  watch.Look({Row("a", 204), Row("b", -1)});
  EXPECT_TRUE(Said().empty());
}

TEST_F(ListenerWatch, SaysTheSameOnceAnHour) {
  for (int i = 0; i < 5; ++i) {
    watch.Look({Row("a", 0)});
    watch.Look({});
  }
  EXPECT_EQ(Said().size(), 1u);
  watch.Look({Row("a", 401)});
  watch.Look({});
  EXPECT_EQ(Said().size(), 2u);
  time.Advance(ZRToldCauses::kMemory);
  watch.Look({Row("a", 401)});
  watch.Look({});
  EXPECT_EQ(Said().size(), 3u);
}

}  // namespace
