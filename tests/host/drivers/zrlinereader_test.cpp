#include "host/drivers/zrlinereader.h"

#include <gtest/gtest.h>

#include "host/drivers/drivers_fixture.h"

namespace {

// All lines, each with its number: "1:a|2:b|"; "!" stands for one that is too long.
std::string Lines(ZRLineReader& reader) {
  std::string all;
  std::string line;
  for (;;) {
    const ZRLineReader::tagNext next = reader.Next(line);
    if (next == ZRLineReader::tagNext::kEnd) return all;
    if (next == ZRLineReader::tagNext::kFailed) return all + "failed";
    all += std::to_string(reader.LineNumber()) + ":";
    all += next == ZRLineReader::tagNext::kTooLong ? "!" : line;
    all += "|";
  }
}

std::string LinesOf(const std::string& content) {
  CFakeMachine machine;
  machine.files["f"] = content;
  ZRLineReader reader;
  EXPECT_TRUE(reader.Open("f"));
  return Lines(reader);
}

TEST(LineReader, TakesEitherEndOfALineAndNoneAtTheEnd) {
  EXPECT_EQ("1:a|2:b|", LinesOf("a\nb\n"));
  EXPECT_EQ("1:a|2:b|", LinesOf("a\r\nb\r\n"));
  EXPECT_EQ("1:a|2:b|", LinesOf("a\nb"));
  EXPECT_EQ("1:a|2:|3:b|", LinesOf("a\n\nb\n"));
  EXPECT_EQ("1:a\rb|", LinesOf("a\rb\n"));
  EXPECT_EQ("", LinesOf(""));
}

TEST(LineReader, PassesOverAByteOrderMark) {
  EXPECT_EQ("1:a|2:\xEF\xBB\xBF|", LinesOf("\xEF\xBB\xBF"
                                           "a\n\xEF\xBB\xBF\n"));
}

TEST(LineReader, PassesOverALineThatIsTooLongAsAWhole) {
  const std::string longest(ZRLineReader::kLongestLine, 'x');
  EXPECT_EQ("1:" + longest + "|2:b|", LinesOf(longest + "\nb\n"));
  EXPECT_EQ("1:" + longest + "|2:b|", LinesOf(longest + "\r\nb\n"));
  EXPECT_EQ("1:!|2:b|", LinesOf(longest + "x\nb\n"));
  EXPECT_EQ("1:!|2:b|", LinesOf(longest + "x\r\nb\n"));
  EXPECT_EQ("1:!|2:b|", LinesOf(longest + longest + longest + "\nb\n"));
  EXPECT_EQ("1:!|", LinesOf(longest + longest));
}

TEST(LineReader, ReadsLinesAcrossItsBlocks) {
  std::string content;
  std::string expected;
  for (int i = 1; i <= 3; ++i) {
    const std::string line(40'000, static_cast<char>('a' + i));
    content += line + "\n";
    expected += std::to_string(i) + ":" + line + "|";
  }
  EXPECT_EQ(expected, LinesOf(content));
}

TEST(LineReader, BeginsAgainAfterARewind) {
  CFakeMachine machine;
  machine.files["f"] = "a\nb\n";
  ZRLineReader reader;
  ASSERT_TRUE(reader.Open("f"));
  EXPECT_EQ("1:a|2:b|", Lines(reader));
  ASSERT_TRUE(reader.Rewind());
  EXPECT_EQ("1:a|2:b|", Lines(reader));
}

TEST(LineReader, TellsOfAFileThatCantBeOpenedOrRead) {
  CFakeMachine machine;
  ZRLineReader reader;
  EXPECT_FALSE(reader.Open("missing"));
  EXPECT_EQ("failed", Lines(reader));
  EXPECT_FALSE(reader.Rewind());
}

TEST(LineReader, AFolderCantBeRead) {
  ZRLineReader reader;
  if (reader.Open("/")) {
    EXPECT_EQ("failed", Lines(reader));
  }
}

}  // namespace
