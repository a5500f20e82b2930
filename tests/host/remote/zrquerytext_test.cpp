#include "host/remote/zrquerytext.h"

#include <gtest/gtest.h>

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

}  // namespace
