#include "host/messaging/zrmessaging.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "host/messaging/zrinprocessbus.h"
#include "host/platform/zrthread.h"

namespace {

std::wstring Created(const std::wstring& name) {
  return GetPublishThatANewEventHasBeenCreatedJSON(L"e", L"i", name, L"d");
}

// The value of `name` in a message of a created event with the other fields as above.
std::wstring Escaped(const std::wstring& name) {
  const std::wstring json = Created(name);
  const std::wstring front =
      L"{\"type\":\"eventCreated\",\"engine\":\"e\",\"id\":\"i\",\"name\":\"";
  const std::wstring behind = L"\",\"description\":\"d\"}";
  EXPECT_EQ(front, json.substr(0, front.size()));
  EXPECT_EQ(behind, json.substr(json.size() - behind.size()));
  return json.substr(front.size(), json.size() - front.size() - behind.size());
}

TEST(BusMessages, CreatedEventHasItsFiveFieldsInOrder) {
  EXPECT_EQ(
      L"{\"type\":\"eventCreated\",\"engine\":\"22222222-2222-2222-2222-222222222222\","
      L"\"id\":\"pump\",\"name\":\"Pump 1\",\"description\":\"Runs dry\"}",
      GetPublishThatANewEventHasBeenCreatedJSON(L"22222222-2222-2222-2222-222222222222", L"pump",
                                                L"Pump 1", L"Runs dry"));
}

TEST(BusMessages, TriggeredEventHasItsSevenFieldsInOrder) {
  EXPECT_EQ(
      L"{\"type\":\"eventTriggered\",\"engine\":\"\",\"time\":\"2026-11-21T08:05:09.250Z\","
      L"\"id\":\"pump\",\"transition\":\"ON\",\"annotation\":\"by hand\",\"text\":\"by hand\"}",
      GetPublishTriggeredEventJSON(L"", L"2026-11-21T08:05:09.250Z", L"pump", L"ON", L"by hand"));
}

TEST(BusMessages, QuotesAndBackslashesAreEscaped) {
  EXPECT_EQ(L"a\\\"b\\\\c/d", Escaped(L"a\"b\\c/d"));
}

TEST(BusMessages, ControlsAreEscaped) {
  EXPECT_EQ(L"\\u0000\\u000a\\u001f \\u007f\\u0085",
            Escaped(std::wstring(L"\0\n\x1f \x7f\x85", 6)));
}

TEST(BusMessages, WhatIsNotAsciiIsWrittenByUnit) {
  EXPECT_EQ(L"\\u00f1\\u20ac\\ud83d\\ude00", Escaped(L"\x00f1\x20ac\xd83d\xde00"));
}

// A reader of JSON may refuse a document with half a pair.
TEST(BusMessages, SingleSurrogatesAreReplaced) {
  EXPECT_EQ(L"\\ufffdx\\ufffd", Escaped(L"\xdc00x\xd800"));
  EXPECT_EQ(L"\\ufffd\\ud83d\\ude00\\ufffd", Escaped(L"\xd83d\xd83d\xde00\xde00"));
}

// The end of a triggered event's message.
std::wstring TextOf(const std::wstring& transition, const std::wstring& annotation) {
  const std::wstring json = GetPublishTriggeredEventJSON(L"", L"", L"", transition, annotation);
  return json.substr(json.rfind(L"\"text\":"));
}

TEST(BusMessages, TextIsWhatTheBytesOfTheAnnotationSay) {
  EXPECT_EQ(L"\"text\":\"\\u00f1\\u20ac\"}", TextOf(L"OFF", L"\xc3\xb1\xe2\x82\xac"));
  EXPECT_EQ(L"\"text\":\"\\ufffd\"}", TextOf(L"OFF", L"\xc3"));
}

TEST(BusMessages, TextOfAnActivationIsntEscaped) {
  EXPECT_EQ(L"\"text\":\"a & b\"}", TextOf(L"ON", L"a &amp; b"));
  EXPECT_EQ(L"\"text\":\"a &amp; b\"}", TextOf(L"OFF", L"a &amp; b"));
}

TEST(BusMessages, WhatIsNoUnitIsReplaced) {
  EXPECT_EQ(L"\\ufffd", Escaped(std::wstring(1, static_cast<wchar_t>(0x1F600))));
}

// A UTF-8 annotation arrives as one unit for each byte, and leaves so.
TEST(BusMessages, WidenedBytesStayWidened) {
  EXPECT_EQ(L"\\u00c3\\u00b1", Escaped(L"\xc3\xb1"));
}

TEST(PublisherManagers, HoldNothingAtFirst) {
  EXPECT_EQ(nullptr, EventCreationPublisherManager::GetEventCreationPublisherFactory());
  EXPECT_EQ(nullptr, EventTriggeredPublisherManager::GetEventTriggeredPublisherManagerFactory());
  EXPECT_EQ(L"", EngineCreationPublisherManager::GetEngineUuid());
}

TEST(PublisherManagers, GiveBackTheIdentifierThatWasSet) {
  EngineCreationPublisherManager::SetEngineUuid(L"id");
  EXPECT_EQ(L"id", EngineCreationPublisherManager::GetEngineUuid());
  EngineCreationPublisherManager::SetEngineUuid(L"");
}

class InProcessBus : public testing::Test {
 protected:
  static auto CreationPublisher() {
    return EventCreationPublisherManager::GetEventCreationPublisherFactory()->Create();
  }
  static auto TriggeredPublisher() {
    return EventTriggeredPublisherManager::GetEventTriggeredPublisherManagerFactory()->Create();
  }
  std::unique_ptr<ZRInProcessBus> MakeBus() {
    return std::make_unique<ZRInProcessBus>(
        [this](const std::wstring& json) { seen.push_back(json); });
  }
  std::vector<std::wstring> seen;
};

TEST_F(InProcessBus, SubscriberSeesBothKindsOfMessages) {
  const auto bus = MakeBus();
  EXPECT_TRUE(CreationPublisher()->Publish(L"one"));
  EXPECT_TRUE(TriggeredPublisher()->Publish(L"two"));
  EXPECT_EQ((std::vector<std::wstring>{L"one", L"two"}), seen);
}

TEST_F(InProcessBus, TakesItsFactoriesAway) {
  MakeBus().reset();
  EXPECT_EQ(nullptr, EventCreationPublisherManager::GetEventCreationPublisherFactory());
  EXPECT_EQ(nullptr, EventTriggeredPublisherManager::GetEventTriggeredPublisherManagerFactory());
}

TEST_F(InProcessBus, LeavesTheFactoriesOfALaterOne) {
  auto first = MakeBus();
  const auto second = MakeBus();
  first.reset();
  EXPECT_TRUE(CreationPublisher()->Publish(L"still"));
  EXPECT_TRUE(TriggeredPublisher()->Publish(L"there"));
  EXPECT_EQ(2u, seen.size());
}

TEST_F(InProcessBus, PublisherThatOutlivesItSendsNothing) {
  auto bus = MakeBus();
  const auto publisher = CreationPublisher();
  bus.reset();
  EXPECT_FALSE(publisher->Publish(L"late"));
  EXPECT_TRUE(seen.empty());
}

// The vector of the subscriber has no lock of its own.
TEST_F(InProcessBus, MessagesOfManyThreadsArriveOneAtATime) {
  constexpr std::size_t kMessages = 500;
  const auto bus = MakeBus();
  {
    ZRThread threads[3];
    for (ZRThread& thread : threads) {
      ASSERT_TRUE(thread.Start([] {
        for (std::size_t i = 0; i < kMessages; ++i)
          EXPECT_TRUE(TriggeredPublisher()->Publish(L"message"));
      }));
    }
  }
  EXPECT_EQ(3 * kMessages, seen.size());
}

}  // namespace
