#include "host/driversupport/zrlivevalue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <string>

#include "host/platform/zrthread.h"

namespace {

std::string TextOf(const ZRLiveValue& value) {
  char buffer[ZRLiveValue::kMaximumText];
  std::size_t length = 0;
  return value.Text(buffer, length) ? std::string(buffer, length) : "(none)";
}

bool HasNumber(const ZRLiveValue& value) {
  double number = 0.0;
  return value.Number(number);
}

TEST(LiveValue, IsUnknownAtFirst) {
  const ZRLiveValue value;
  EXPECT_EQ(ZRQuality::kUnknown, value.Quality());
  EXPECT_FALSE(HasNumber(value));
  EXPECT_EQ("(none)", TextOf(value));
  EXPECT_EQ(0, value.LastGood());
}

TEST(LiveValue, HoldsTheLastNumberAndItsTime) {
  ZRLiveValue value;
  value.SetNumber(0.0, 10);
  value.SetNumber(-2.5, 20);
  double number = 1.0;
  ASSERT_TRUE(value.Number(number));
  EXPECT_EQ(-2.5, number);
  EXPECT_EQ(ZRQuality::kGood, value.Quality());
  EXPECT_EQ(20, value.LastGood());
}

TEST(LiveValue, ANumberThatIsntFiniteIsNoValue) {
  for (const double bad :
       {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
        std::numeric_limits<double>::quiet_NaN()}) {
    ZRLiveValue value;
    value.SetNumber(1.0, 10);
    value.SetNumber(bad, 20);
    EXPECT_EQ(ZRQuality::kUnavailable, value.Quality());
    EXPECT_FALSE(HasNumber(value));
    EXPECT_EQ(10, value.LastGood());
  }
}

TEST(LiveValue, UnavailableKeepsTheTimeAndUnknownForgetsIt) {
  ZRLiveValue value;
  value.SetNumber(1.0, 10);
  value.SetUnavailable();
  EXPECT_EQ(10, value.LastGood());
  value.SetUnknown();
  EXPECT_EQ(ZRQuality::kUnknown, value.Quality());
  EXPECT_EQ(0, value.LastGood());
}

TEST(LiveValue, ATextIsGoodAndNoNumber) {
  ZRLiveValue value;
  value.SetNumber(1.0, 10);
  value.SetText("running", 20);
  EXPECT_TRUE(value.HoldsText());
  EXPECT_EQ("running", TextOf(value));
  EXPECT_FALSE(HasNumber(value));
  EXPECT_EQ(ZRQuality::kGood, value.Quality());
  EXPECT_EQ(20, value.LastGood());
  value.SetText("", 30);
  EXPECT_EQ("", TextOf(value));
  value.SetNumber(3.0, 40);
  EXPECT_FALSE(value.HoldsText());
  EXPECT_EQ("(none)", TextOf(value));
}

TEST(LiveValue, ALongTextIsCutBetweenCharacters) {
  ZRLiveValue value;
  value.SetText(std::string(255, 'a'), 1);
  EXPECT_EQ(std::string(255, 'a'), TextOf(value));
  value.SetText(std::string(254, 'a') + "\xC3\xA9 and more", 1);  // é would end at byte 256
  EXPECT_EQ(std::string(254, 'a'), TextOf(value));
  value.SetText(std::string(300, '\x80'), 1);  // no character begins there at all
  EXPECT_EQ("", TextOf(value));
}

// A live text, and threads that write and read it.
struct tagTexts {
  // A long one, and two that are written in less time than it takes to read that.
  const std::string texts[3] = {std::string(250, 'a'), "b", "cc"};
  ZRLiveValue value;
  std::atomic<int> torn{0};
  std::atomic<bool> isOver{false};

  tagTexts() { value.SetText(texts[0], 1); }
  // Counts what nobody has written.
  void Read() {
    const std::string seen = TextOf(value);
    if (seen != texts[0] && seen != texts[1] && seen != texts[2]) ++torn;
  }
  void Write(int turns, int first, int readEvery) {
    for (int turn = 0; turn < turns; ++turn) {
      value.SetText(texts[(turn + first) % 3], turn);
      if (turn % readEvery == 0) Read();
    }
    isOver = true;
  }
};

TEST(LiveValue, ReadersNeverSeeAPartOfAText) {
  tagTexts shared;
  {
    ZRThread writer;
    ASSERT_TRUE(writer.Start([&] { shared.Write(30'000, 0, 100); }));
    while (!shared.isOver)
      shared.Read();
  }
  EXPECT_EQ(0, shared.torn);
}

TEST(LiveValue, WritersNeverMixTheirTexts) {
  tagTexts shared;
  {
    ZRThread writer;
    ASSERT_TRUE(writer.Start([&] { shared.Write(20'000, 0, 1); }));
    shared.Write(20'000, 1, 1);
  }
  EXPECT_EQ(0, shared.torn);
}

TEST(LiveValue, ANumberIsNeverSeenWithAnotherOnesQuality) {
  ZRLiveValue value;
  value.SetUnavailable();
  std::atomic<bool> done{false};
  int wrong = 0;
  {
    ZRThread writer;
    ASSERT_TRUE(writer.Start([&] {
      for (int turn = 0; turn < 20'000; ++turn) {
        value.SetNumber(7.5, 1);
        value.SetUnavailable();
      }
      done = true;
    }));
    while (!done) {
      double number = 0.0;
      if (value.Number(number) && number != 7.5) ++wrong;
    }
  }
  EXPECT_EQ(0, wrong);
}

}  // namespace
