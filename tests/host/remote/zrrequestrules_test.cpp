#include "host/remote/zrrequestrules.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr std::size_t kMostHeadBytes = 1000;

ZRRequestHead GoodHead() {
  ZRRequestHead head;
  head.method = "GET";
  head.hosts = {"localhost:8080"};
  head.isKnownPath = true;
  head.headBytes = kMostHeadBytes;
  return head;
}

int Refusal(const ZRRequestHead& head) {
  return RefusalOf(head, {kMostHeadBytes, {}, false});
}

TEST(RequestRules, LetGetAndHeadPass) {
  ZRRequestHead head = GoodHead();
  EXPECT_EQ(0, Refusal(head));
  head.method = "HEAD";
  EXPECT_EQ(0, Refusal(head));
  head.contentLengths = {"0", "00"};
  EXPECT_EQ(0, Refusal(head));
}

TEST(RequestRules, RefuseOtherMethods) {
  ZRRequestHead head = GoodHead();
  for (const char* method : {"POST", "get", "GETS", "OPTIONS", "TRACE", ""}) {
    head.method = method;
    EXPECT_EQ(kStatusMethodNotAllowed, Refusal(head)) << method;
  }
}

TEST(RequestRules, RefuseInTheirOrder) {
  ZRRequestHead head;
  head.method = "POST";
  head.headBytes = kMostHeadBytes + 1;
  EXPECT_EQ(kStatusHeadersTooLarge, Refusal(head));
  head.headBytes = kMostHeadBytes;
  EXPECT_EQ(kStatusBadRequest, Refusal(head));
  head.hosts = {"localhost", "localhost"};
  EXPECT_EQ(kStatusBadRequest, Refusal(head));
  head.hosts = {"a.example"};
  EXPECT_EQ(kStatusForbidden, Refusal(head));
  head.hosts = {"localhost"};
  EXPECT_EQ(kStatusNotFound, Refusal(head));
  head.isKnownPath = true;
  EXPECT_EQ(kStatusMethodNotAllowed, Refusal(head));
  head.method = "GET";
  EXPECT_EQ(0, Refusal(head));
}

TEST(RequestRules, RefuseAMalformedHead) {
  ZRRequestHead head = GoodHead();
  head.isMalformed = true;
  EXPECT_EQ(kStatusBadRequest, Refusal(head));
}

TEST(RequestRules, TellAHeaderFromNone) {
  EXPECT_TRUE(IsHeader("X-a_1!#$%&'*+.^`|~", "with blanks,\ttabs and \xC3\xA9"));
  EXPECT_TRUE(IsHeader("x", ""));
  for (const std::string_view name : {"", " x", "x ", "x\t", "a b", "a:b", "a(b", "\xC3\xA9"})
    EXPECT_FALSE(IsHeader(name, "")) << name;
  for (const std::string_view content : {"\n", "a\rb", "\x01", "\x1F", "\x7F"})
    EXPECT_FALSE(IsHeader("x", content));
  EXPECT_FALSE(IsHeader("x", std::string_view("a\0b", 3)));
}

TEST(RequestRules, RefuseABody) {
  ZRRequestHead head = GoodHead();
  head.contentLengths = {"1"};
  EXPECT_EQ(kStatusBadRequest, Refusal(head));
  head.contentLengths = {"65536"};
  EXPECT_EQ(kStatusBadRequest, Refusal(head));
  head.contentLengths = {"65537"};
  EXPECT_EQ(kStatusContentTooLarge, Refusal(head));
  head.contentLengths = {"0", "99999999999999999999999999"};
  EXPECT_EQ(kStatusContentTooLarge, Refusal(head));
  head.contentLengths.clear();
  head.hasTransferEncoding = true;
  EXPECT_EQ(kStatusContentTooLarge, Refusal(head));
}

// --- a path that takes a body ---

ZRRequestHead GoodBodyHead() {
  ZRRequestHead head = GoodHead();
  head.method = "PUT";
  head.takesBody = true;
  head.mostBodyBytes = 100;
  head.contentLengths = {"100"};
  return head;
}

TEST(RequestRules, LetPutAndPostPassWhereABodyIsTaken) {
  ZRRequestHead head = GoodBodyHead();
  EXPECT_EQ(0, Refusal(head));
  head.method = "POST";
  EXPECT_EQ(0, Refusal(head));
  head.contentLengths.clear();
  EXPECT_EQ(0, Refusal(head)) << "an empty body is the route's to refuse";
  for (const char* method : {"GET", "HEAD", "put", "DELETE", "OPTIONS", ""}) {
    head.method = method;
    EXPECT_EQ(kStatusMethodNotAllowed, Refusal(head)) << method;
  }
}

TEST(RequestRules, RefuseABodyThatIsTooLargeForItsPathOrOfUnstatedLength) {
  ZRRequestHead head = GoodBodyHead();
  for (const char* length : {"101", "65536", "18446744073709551616", "-1", "", "1,1", "0x10"}) {
    head.contentLengths = {length};
    EXPECT_EQ(kStatusContentTooLarge, Refusal(head)) << length;
  }
  head.contentLengths.clear();
  head.hasTransferEncoding = true;
  EXPECT_EQ(kStatusContentTooLarge, Refusal(head));
}

TEST(RequestRules, RefuseABodyOfTwoLengths) {
  ZRRequestHead head = GoodBodyHead();
  head.contentLengths = {"1", "1"};
  EXPECT_EQ(kStatusBadRequest, Refusal(head));
}

TEST(RequestRules, RefuseABodyThatAPageOfAnotherSiteSends) {
  ZRRequestHead head = GoodBodyHead();
  for (const char* own : {"http://localhost:8080", "https://LOCALHOST:8080"}) {
    head.origins = {own};
    EXPECT_EQ(0, Refusal(head)) << own;
  }
  for (const char* other : {"http://a.example", "http://localhost", "http://localhost:8081", "null",
                            "", "localhost:8080", "ftp://localhost:8080", "http://localhost:8080/",
                            "http://localhost:8080.a.example"}) {
    head.origins = {"http://localhost:8080", other};
    EXPECT_EQ(kStatusForbidden, Refusal(head)) << other;
  }
  head = GoodHead();
  head.origins = {"http://a.example"};
  EXPECT_EQ(0, Refusal(head)) << "a page can't read what it asks for";
}

TEST(RequestRules, TakeNoPageThatCameOpenlyForTheirOwnWhereTheyAreSecure) {
  EXPECT_TRUE(IsOwnOrigin("https://a.example", "A.example", true));
  EXPECT_FALSE(IsOwnOrigin("http://a.example", "a.example", true));
  EXPECT_TRUE(IsOwnOrigin("http://a.example", "a.example", false));
  ZRRequestHead head = GoodBodyHead();
  head.origins = {"http://localhost:8080"};
  EXPECT_EQ(kStatusForbidden, RefusalOf(head, {kMostHeadBytes, {}, true}));
}

TEST(RequestRules, KnowTheLengthOfABody) {
  ZRRequestHead head;
  EXPECT_EQ(0u, LengthOfBody(head));
  head.contentLengths = {"16777216"};
  EXPECT_EQ(16'777'216u, LengthOfBody(head));
}

TEST(RequestRules, TakeALengthThatCannotBeReadForABody) {
  ZRRequestHead head = GoodHead();
  for (const char* length : {"", "-1", "+1", "0x0", "0 ", "0,0"}) {
    head.contentLengths = {length};
    EXPECT_EQ(ZRRequestBody::kTooLarge, BodyOf(head)) << length;
  }
}

TEST(RequestRules, KnowTheNamesOfThisMachine) {
  for (const char* host : {"localhost", "LocalHost:80", "127.0.0.1", "127.0.0.1:65535", "[::1]",
                           "[::1]:8480", "localhost:"}) {
    EXPECT_TRUE(IsOwnHost(host, {})) << host;
  }
}

TEST(RequestRules, KnowNoOtherNames) {
  for (const char* host : {"",
                           ":",
                           ":80",
                           "example.org",
                           "localhost.example.org",
                           "localhost.",
                           "xlocalhost",
                           "localhost:80:80",
                           "localhost:8x",
                           "localhost:123456",
                           "127.0.0.10",
                           "127.0.0.1.example",
                           "127.1",
                           "::1",
                           "[::1",
                           "[::1]x",
                           "[::2]",
                           "[]",
                           "localhost ",
                           "user@localhost",
                           "localhost:80@example.org",
                           "localhost, localhost"}) {
    EXPECT_FALSE(IsOwnHost(host, {})) << host;
  }
}

TEST(RequestRules, KnowTheirNamesInAnyCase) {
  const ZRHostRule rule{{"hall.example.org", "[2001:db8::1]"}, false};
  for (const char* host : {"hall.example.org", "HALL.example.org:443", "[2001:DB8::1]:80"})
    EXPECT_TRUE(IsOwnHost(host, rule)) << host;
  for (const char* host : {"", "hall", "example.org", "hall.example.org.", "hall.example.orgx",
                           "192.0.2.1", "[2001:db8::2]", "2001:db8::1"})
    EXPECT_FALSE(IsOwnHost(host, rule)) << host;
}

TEST(RequestRules, TakeAnyAddressInDigitsWhereTheyMay) {
  const ZRHostRule rule{{}, true};
  for (const char* host : {"192.0.2.1", "10.0.0.1:8480", "[2001:db8::1]", "[fd00::1]:8480"})
    EXPECT_TRUE(IsOwnHost(host, rule)) << host;
  for (const char* host :
       {"a.example", "192.0.2.1.example", "192.0.2", "1", "0x7f000001", "[192.0.2.1]",
        "[2001:db8::1", "[]", "[", "2001:db8::1", "192.0.2.1:x", "[::1]x:80", "192.0.2.256"})
    EXPECT_FALSE(IsOwnHost(host, rule)) << host;
  EXPECT_FALSE(IsOwnHost(std::string_view("1.2.3.4\0x", 9), rule));
}

}  // namespace
