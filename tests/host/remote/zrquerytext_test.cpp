#include "host/remote/zrquerytext.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(QueryText, HasItsPercentsUndone) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"", ""},
      {"2026-11-21T08%3A05%3a09", "2026-11-21T08:05:09"},
      {"%41%c3%a9+", "A\xC3\xA9+"},
      {"%", "%"},
      {"%4", "%4"},
      {"%4g", "%4g"},
      {"%-1", "%-1"},
      {"% 1%31", "% 11"},
      {"%2541", "%41"},
  };
  for (const auto& [text, plain] : cases)
    EXPECT_EQ(UndoPercents(text).View(), plain) << text;
  EXPECT_EQ(UndoPercents("a%00b").View(), std::string_view("a\0b", 3));
}

TEST(QueryText, IsMadeOfAnyText) {
  EXPECT_EQ(DoPercents("Az09-._~").View(), "Az09-._~");
  EXPECT_EQ(DoPercents("a b+&=%/\xC3\xA9").View(), "a%20b%2B%26%3D%25%2F%C3%A9");
  std::string all;
  for (int byte = 0; byte < 256; ++byte)
    all += static_cast<char>(byte);
  EXPECT_EQ(UndoPercents(DoPercents(all).View()).View(), all);
}

}  // namespace
