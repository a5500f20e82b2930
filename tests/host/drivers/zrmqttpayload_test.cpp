#include "host/drivers/zrmqttpayload.h"

#include <gtest/gtest.h>

namespace {

using tagType = ZRMqttReading::tagType;
using tagKind = ZRMqttAnswer::tagKind;

ZRMqttReading Number() {
  return {};
}

ZRMqttReading Switch() {
  ZRMqttReading how;
  how.type = tagType::kSwitch;
  how.on = {"ON", "true", "1"};
  how.off = {"OFF", "false", "0"};
  return how;
}

ZRMqttReading Text() {
  ZRMqttReading how;
  how.type = tagType::kText;
  return how;
}

ZRMqttReading At(const std::string& pointer, ZRMqttReading how = {}) {
  how.pointer = ParseJsonPointer(pointer);
  EXPECT_TRUE(how.pointer) << pointer;
  return how;
}

// What is read, in a form to compare: a number, a text in quotes, "none", "nothing", or "bad: " and
// the cause.
std::string Said(const ZRMqttAnswer& answer) {
  switch (answer.kind) {
    case tagKind::kNumber: {
      std::string text = std::to_string(answer.number);
      text.erase(text.find_last_not_of('0') + 1);
      return text.ends_with('.') ? text.substr(0, text.size() - 1) : text;
    }
    case tagKind::kText:
      return "'" + answer.text + "'";
    case tagKind::kNone:
      return "none";
    case tagKind::kNothing:
      return "nothing";
    default:
      return "bad: " + answer.text;
  }
}

std::string Read(std::string_view payload, const ZRMqttReading& how = {}) {
  return Said(ZRMqttPayload(payload).Read(how));
}

TEST(MqttPayload, IsAPlainNumber) {
  EXPECT_EQ("21.5", Read("21.5"));
  EXPECT_EQ("-3", Read("-3"));
  EXPECT_EQ("7", Read("+7"));
  EXPECT_EQ("1200", Read("1.2e3"));
  EXPECT_EQ("5", Read(" \t5\r\n"));
}

TEST(MqttPayload, IsScaled) {
  ZRMqttReading how;
  how.scale = 0.1;
  how.offset = -4;
  EXPECT_EQ("17.5", Read("215", how));
  how.scale = 1e300;
  EXPECT_EQ("bad: is no number of this size", Read("1e300", how));
}

TEST(MqttPayload, IsBadWithoutANumberOfThisSize) {
  for (const char* text : {"ON", "21,5", "21.5 C", "0x10", "1 2", "+-1", "--1", " ", "."})
    EXPECT_EQ("bad: isn't a number", Read(text)) << text;
  for (const char* text : {"nan", "inf", "-infinity", "1e400", "-1e400"})
    EXPECT_EQ("bad: is no number of this size", Read(text)) << text;
  EXPECT_EQ("bad: isn't a number", Read(std::string_view("21\0", 3)));
}

TEST(MqttPayload, IsOneOfTheWordsOfASwitch) {
  EXPECT_EQ("1", Read("ON", Switch()));
  EXPECT_EQ("1", Read(" 1\n", Switch()));
  EXPECT_EQ("0", Read("OFF", Switch()));
  for (const char* text : {"on", "ONOFF", "2", " "})
    EXPECT_EQ("bad: isn't one of its words for on and off", Read(text, Switch())) << text;
}

TEST(MqttPayload, IsATextWithoutControls) {
  EXPECT_EQ("'idle'", Read("idle", Text()));
  EXPECT_EQ("'a b c '", Read("a\nb\x7F"
                             "c\x1B",
                             Text()));
  EXPECT_EQ("'caf\xC3\xA9'", Read("caf\xC3\xA9", Text()));
  EXPECT_EQ("'x\xEF\xBF\xBDy'", Read("x\xFFy", Text()));
}

TEST(MqttPayload, WithoutAByteIsNoValue) {
  EXPECT_EQ("none", Read("", Number()));
  EXPECT_EQ("none", Read("", Switch()));
  EXPECT_EQ("none", Read("", Text()));
  EXPECT_EQ("none", Read("", At("/a")));
}

TEST(MqttPayload, IsPointedInto) {
  constexpr const char* kDocument =
      R"({"a":{"b":[10,{"c":21.5}]},"x/y":1,"m~n":2,"":3,"~1":4,"t":"idle","on":true,"no":null,
          "text":"7.5","big":18446744073709551615,"array":[5]})";
  EXPECT_EQ("10", Read(kDocument, At("/a/b/0")));
  EXPECT_EQ("21.5", Read(kDocument, At("/a/b/1/c")));
  EXPECT_EQ("1", Read(kDocument, At("/x~1y")));
  EXPECT_EQ("2", Read(kDocument, At("/m~0n")));
  EXPECT_EQ("3", Read(kDocument, At("/")));
  EXPECT_EQ("4", Read(kDocument, At("/~01")));
  EXPECT_EQ("7.5", Read(kDocument, At("/text")));
  EXPECT_EQ("'idle'", Read(kDocument, At("/t", Text())));
  EXPECT_EQ("'21.5'", Read(kDocument, At("/a/b/1/c", Text())));
  EXPECT_EQ("1", Read(kDocument, At("/on", Switch())));
  EXPECT_EQ("bad: isn't a number", Read(kDocument, At("/on")));
  EXPECT_EQ("none", Read(kDocument, At("/no")));
  EXPECT_EQ("18446744073709551616", Read(kDocument, At("/big")));
  for (const char* container : {"", "/a", "/array"})
    EXPECT_EQ("bad: is an object or an array", Read(kDocument, At(container))) << container;
  EXPECT_EQ("42", Read("42", At("")));
}

TEST(MqttPayload, IsBadWithoutWhatThePointerMeans) {
  constexpr const char* kDocument = R"({"a":[1,2],"b":5})";
  for (const char* pointer : {"/c", "/a/2", "/a/-", "/a/00", "/a/01", "/a/x", "/a/", "/a/+1",
                              "/a/18446744073709551616", "/b/c", "/A"}) {
    EXPECT_EQ("bad: isn't in the document", Read(kDocument, At(pointer))) << pointer;
    ZRMqttReading how = At(pointer);
    how.isOptional = true;
    EXPECT_EQ("nothing", Read(kDocument, how)) << pointer;
  }
}

TEST(MqttPayload, IsBadIfItIsNoJson) {
  for (const char* text : {"{", "nope", "{\"a\":1}x", "{'a':1}", "{\"a\":NaN}", "{\"a\":1e400}",
                           "{\"a\":\"\xFF\"}", "[1,]", " "}) {
    ZRMqttReading how = At("/a");
    how.isOptional = true;
    EXPECT_EQ("bad: isn't JSON", Read(text, how)) << text;
  }
}

TEST(MqttPayload, OfAnyDepthIsParsedUpToTheBound) {
  const auto nested = [](int depth) {
    std::string pointer;
    for (int i = 1; i < depth; ++i)
      pointer += "/0";
    const auto levels = static_cast<std::size_t>(depth);
    return Read(std::string(levels, '[') + "7" + std::string(levels, ']'), At(pointer + "/0"));
  };
  EXPECT_EQ("7", nested(ZRMqttPayload::kMostDepth));
  EXPECT_EQ("bad: nests more than 32 deep", nested(ZRMqttPayload::kMostDepth + 1));
  EXPECT_EQ("bad: nests more than 32 deep",
            Read(std::string(ZRMqttPayload::kMostBytes, '['), At("/0")));
  const std::string inText = "[\"\\\"" + std::string(100, '[') + "\", 7]";
  EXPECT_EQ("7", Read(inText, At("/1")));
}

TEST(MqttPayload, IsReadUpToTheBoundOfItsSize) {
  std::string text(ZRMqttPayload::kMostBytes, ' ');
  text.back() = '7';
  EXPECT_EQ("7", Read(text));
  EXPECT_EQ("bad: has more than 262144 bytes", Read(text + " "));
  EXPECT_EQ("bad: has more than 262144 bytes", Read(text + " ", At("")));
}

TEST(MqttPayload, SaysWhatIsBadForAllThatReadItSo) {
  const auto isOfPayload = [](const std::string& text, const ZRMqttReading& how) {
    return ZRMqttPayload(text).Read(how).isOfPayload;
  };
  EXPECT_TRUE(isOfPayload("{", At("/a")));
  EXPECT_TRUE(isOfPayload(std::string(ZRMqttPayload::kMostBytes + 1, ' '), {}));
  EXPECT_FALSE(isOfPayload("{}", At("/a")));
  EXPECT_FALSE(isOfPayload("x", {}));
}

TEST(MqttPayload, ServesOneVariableAfterTheOther) {
  ZRMqttPayload payload(R"({"t":21.5,"h":"40","s":"OFF"})");
  EXPECT_EQ("21.5", Said(payload.Read(At("/t"))));
  EXPECT_EQ("40", Said(payload.Read(At("/h"))));
  EXPECT_EQ("0", Said(payload.Read(At("/s", Switch()))));
  EXPECT_EQ("'{\"t\":21.5,\"h\":\"40\",\"s\":\"OFF\"}'", Said(payload.Read(Text())));
}

TEST(JsonPointer, IsRefusedIfItIsNone) {
  for (const char* text : {"a", "a/b", "/a~", "/~2", "/~~0", "#/a"})
    EXPECT_FALSE(ParseJsonPointer(text)) << text;
  EXPECT_EQ(ZRJsonPointer{}, ParseJsonPointer(""));
  EXPECT_EQ((ZRJsonPointer{"", ""}), ParseJsonPointer("//"));
  EXPECT_EQ((ZRJsonPointer{"a/b", "~1"}), ParseJsonPointer("/a~1b/~01"));
}

}  // namespace
