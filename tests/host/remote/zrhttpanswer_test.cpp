#include "host/remote/zrhttpanswer.h"

#include <gtest/gtest.h>

#include <string>

#include "host/remote/inflated.h"

namespace {

const ZRAnswerLimits kLimits{1 << 20, 1 << 20, testing::TempDir()};

constexpr ZRContentCoding kIdentity = ZRContentCoding::kIdentity;
constexpr ZRContentCoding kGzip = ZRContentCoding::kGzip;
constexpr ZRContentCoding kDeflate = ZRContentCoding::kDeflate;

TEST(HttpAnswer, KeepsWhatIsWrittenInOrder) {
  ZRHttpAnswer answer(kLimits, kIdentity);
  answer.Begin(200, kContentXml);
  answer.Write(ZRString("<a>"));
  answer.Write("text", -1);
  answer.Write("</a>ignored", 4);
  answer.Write(nullptr, -1);
  answer.Write("", 0);
  EXPECT_FALSE(answer.IsComplete());
  ASSERT_TRUE(answer.End());
  EXPECT_TRUE(answer.IsComplete());
  EXPECT_TRUE(answer.HasBody());
  EXPECT_EQ(200, answer.Status());
  EXPECT_EQ("<a>text</a>", answer.Body().TakeMemory());
}

TEST(HttpAnswer, CompressesOnlyTheDeflatedKinds) {
  for (const int kind : {kContentText, kContentLoggerXml, kContentXml, kContentLoggerXmlDeflated,
                         kContentXmlDeflated, kContentRss}) {
    ZRHttpAnswer answer(kLimits, kGzip);
    answer.Begin(200, kind);
    answer.Write("<a/>", -1);
    ASSERT_TRUE(answer.End());
    const bool compressed = kind == kContentLoggerXmlDeflated || kind == kContentXmlDeflated;
    EXPECT_EQ(compressed ? kGzip : kIdentity, answer.Coding()) << kind;
    const std::string body = answer.Body().TakeMemory();
    EXPECT_EQ("<a/>", compressed ? Inflated(body, kInflateGzip) : body) << kind;
  }
}

TEST(HttpAnswer, CompressesInTheFormOfItsCoding) {
  std::string text;
  for (int i = 0; i < 20'000; ++i)
    text += std::to_string(i) + ",";
  for (const ZRContentCoding coding : {kGzip, kDeflate}) {
    ZRHttpAnswer answer(kLimits, coding);
    answer.Begin(200, kContentXmlDeflated);
    for (std::size_t at = 0; at < text.size(); at += 7)
      answer.Write(ZRString(text.substr(at, 7).c_str()));
    ASSERT_TRUE(answer.End());
    const std::string body = answer.Body().TakeMemory();
    EXPECT_LT(body.size(), text.size());
    EXPECT_EQ(text, Inflated(body, coding == kGzip ? kInflateGzip : kInflateZlib));
    EXPECT_EQ("", Inflated(body, coding == kGzip ? kInflateZlib : kInflateGzip));
  }
}

TEST(HttpAnswer, IsWrittenPlainForAClientThatTakesNoCompression) {
  ZRHttpAnswer answer(kLimits, kIdentity);
  answer.Begin(200, kContentXmlDeflated);
  answer.Write("<a/>", -1);
  ASSERT_TRUE(answer.End());
  EXPECT_EQ(kIdentity, answer.Coding());
  EXPECT_EQ("<a/>", answer.Body().TakeMemory());
}

TEST(HttpAnswer, HasNoBodyWithKindZero) {
  ZRHttpAnswer answer(kLimits, kGzip);
  answer.Begin(503, kContentNone);
  ASSERT_TRUE(answer.End());
  EXPECT_EQ(503, answer.Status());
  EXPECT_FALSE(answer.HasBody());
  EXPECT_EQ(0u, answer.Body().Size());
}

TEST(HttpAnswer, IsLostByTextWithoutABody) {
  ZRHttpAnswer answer(kLimits, kGzip);
  answer.Begin(503, kContentNone);
  answer.Write("text", -1);
  EXPECT_FALSE(answer.End());
  EXPECT_FALSE(answer.IsComplete());
}

TEST(HttpAnswer, IsLostByAnythingOutOfOrder) {
  ZRHttpAnswer notBegun(kLimits, kGzip);
  EXPECT_FALSE(notBegun.End());
  EXPECT_FALSE(notBegun.IsComplete());

  ZRHttpAnswer early(kLimits, kGzip);
  early.Write("text", -1);
  early.Begin(200, kContentXml);
  EXPECT_FALSE(early.End());

  ZRHttpAnswer twice(kLimits, kGzip);
  twice.Begin(200, kContentXml);
  twice.Begin(200, kContentXml);
  EXPECT_FALSE(twice.End());

  ZRHttpAnswer late(kLimits, kGzip);
  late.Begin(200, kContentXml);
  EXPECT_TRUE(late.End());
  late.Write("text", -1);
  EXPECT_FALSE(late.IsComplete());
}

TEST(HttpAnswer, IsLostByAStatusOrKindThatCannotBe) {
  struct tagCase {
    int status;
    int kind;
  };
  for (const tagCase& one : {tagCase{0, 0}, tagCase{-1, 3}, tagCase{100, 0}, tagCase{600, 3},
                             tagCase{200, 7}, tagCase{200, -3}, tagCase{204, 3}, tagCase{304, 5}}) {
    ZRHttpAnswer answer(kLimits, kGzip);
    answer.Begin(one.status, one.kind);
    EXPECT_FALSE(answer.End()) << one.status << " " << one.kind;
  }
}

TEST(HttpAnswer, IsLostBeyondItsLimit) {
  const ZRAnswerLimits limits{100'000, 40'000, testing::TempDir()};
  const std::string text(40'000, 'x');
  ZRHttpAnswer fits(limits, kIdentity);
  fits.Begin(200, kContentXml);
  fits.Write(text.c_str(), -1);
  EXPECT_TRUE(fits.End());

  ZRHttpAnswer tooLong(limits, kIdentity);
  tooLong.Begin(200, kContentXml);
  tooLong.Write(text.c_str(), -1);
  tooLong.Write("x", -1);
  tooLong.Write(text.c_str(), -1);
  EXPECT_FALSE(tooLong.End());
  EXPECT_FALSE(tooLong.IsComplete());
}

}  // namespace
